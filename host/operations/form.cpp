// FORM_: forms. Their fields are what their class and those above it add to the class Form.

#include "ork/form.h"

#include "forms.h"
#include "handout.h"
#include "operation.h"
#include "types.h"

namespace host {

namespace {

void require_form(tag form) {
  if (!store().is_a(form, "Form")) {
    refuse(FORM_not_a_form, "object " + std::to_string(form));
  }
}

void initialize(tag form, const char* name, const char* description, const std::string& type) {
  require_form(form);
  const std::string& own_type = store().text(form, "object_type");
  if (own_type != type) {
    refuse(FORM_wrong_type, "type " + own_type + ", not " + type);
  }
  store().set(form, "object_name", std::string(name));
  if (description != nullptr) {
    store().set(form, "object_desc", std::string(description));
  }
  for (const Attribute* field : form_fields(store(), store().class_of(form))) {
    store().set_values(form, field->name, {});
  }
}

}  // namespace

}  // namespace host

using host::Needs;
using host::operation;

int FORM_create(const char* name, const char* description, const char* type, tag* form) {
  host::clear(form);
  return operation("FORM_create", Needs::session, [&] {
    host::require_all(name, type, form);
    *form = host::make_workspace_object(
        host::type_of_class(type, "Form"), name,
        {{"object_desc", std::string(description != nullptr ? description : "")}});
  });
}

int FORM_initialize(tag form, const char* name, const char* description, const char* type) {
  return operation("FORM_initialize", Needs::session, [&] {
    host::require_all(name, type);
    host::initialize(form, name, description, type);
  });
}

int FORM_list_fields(tag form, int* count, char*** names) {
  host::clear(count);
  host::clear(names);
  return operation("FORM_list_fields", Needs::session, [&] {
    host::require_all(count, names);
    host::require_form(form);
    std::vector<std::string> found;
    for (const host::Attribute* field :
         host::form_fields(host::store(), host::store().class_of(form))) {
      found.push_back(field->name);
    }
    *names = host::hand_out(found);
    *count = static_cast<int>(found.size());
  });
}
