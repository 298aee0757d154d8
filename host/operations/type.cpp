// TYPE_: types of objects.

#include "ork/type.h"

#include "handout.h"
#include "operation.h"
#include "types.h"

namespace host {

namespace {

void require_type(tag type) {
  if (!store().is_a(type, "Type")) {
    refuse(TYPE_not_a_type, "object " + std::to_string(type));
  }
}

}  // namespace

}  // namespace host

using host::Needs;
using host::operation;

int TYPE_find_type(const char* name, const char* class_name, tag* type) {
  host::clear(type);
  return operation("TYPE_find_type", Needs::session, [&] {
    host::require_all(name, type);
    const tag found = host::store().find_type(name);
    if (found == NULLTAG) {
      host::refuse(TYPE_unknown_type, name);
    }
    if (class_name != nullptr && host::store().text(found, "type_class") != class_name) {
      host::refuse(TYPE_unknown_type, std::string(name) + " of class " + class_name);
    }
    *type = found;
  });
}

int TYPE_get_object_type(tag object, tag* type) {
  host::clear(type);
  return operation("TYPE_get_object_type", Needs::session, [&] {
    host::require_all(type);
    const tag found = host::type_of(host::store(), object);
    if (found == NULLTAG) {
      host::refuse(TYPE_unknown_type, "object " + std::to_string(object) + " of class " +
                                          host::store().class_of(object).name + " has none");
    }
    *type = found;
  });
}

int TYPE_is_type_of(tag type, tag ancestor, logical* verdict) {
  host::clear(verdict);
  return operation("TYPE_is_type_of", Needs::session, [&] {
    host::require_all(verdict);
    host::require_type(type);
    host::require_type(ancestor);
    *verdict = host::is_type_of(host::store(), type, ancestor);
  });
}

int TYPE_get_name2(tag type, char** name) {
  host::clear(name);
  return operation("TYPE_get_name2", Needs::session, [&] {
    host::require_all(name);
    host::require_type(type);
    *name = host::hand_out(host::store().text(type, "type_name"));
  });
}

int TYPE_get_class_name(tag type, char* name) {
  host::clear(name);
  return operation("TYPE_get_class_name", Needs::session, [&] {
    host::require_all(name);
    host::require_type(type);
    host::copy_out(host::store().text(type, "type_class"), name, TYPE_name_size + 1);
  });
}
