// WSO_: workspace objects.

#include "ork/wso.h"

#include "access.h"
#include "handout.h"
#include "object_id.h"
#include "operation.h"
#include "ork/access.h"

namespace host {

namespace {

std::string name_in(Store& store, tag object, const char* attribute) {
  return object != NULLTAG ? store.text(object, attribute) : std::string();
}

WSO_description_s describe_object(Store& store, tag object) {
  WSO_description_s described{};
  const auto take = [](const std::string& text, auto& buffer) {
    copy_out(text, buffer, sizeof(buffer));
  };
  take(store.text(object, "object_name"), described.object_name);
  take(store.text(object, "object_type"), described.object_type);
  take(store.text(object, "object_desc"), described.description);
  take(name_in(store, store.reference(object, "owning_user"), "user_id"), described.owners_name);
  take(name_in(store, store.reference(object, "owning_group"), "group_name"),
       described.owning_group_name);
  take(name_in(store, store.reference(object, "last_mod_user"), "user_id"),
       described.last_modifying_user);
  described.date_created = store.date(object, "creation_date");
  described.date_modified = store.date(object, "last_mod_date");
  described.date_released = store.date(object, "date_released");
  return described;
}

}  // namespace

}  // namespace host

using host::Needs;
using host::operation;

int WSO_get_object_id_string(tag object, char** id) {
  host::clear(id);
  return operation("WSO_get_object_id_string", Needs::session, [&] {
    host::require_all(id);
    *id = host::hand_out(host::object_id_text(host::store(), object));
  });
}

int WSO_get_name(tag object, char* name) {
  host::clear(name);
  return operation("WSO_get_name", Needs::session, [&] {
    host::require_all(name);
    host::require_workspace_object(host::store(), object);
    host::copy_out(host::store().text(object, "object_name"), name, WSO_name_size + 1);
  });
}

int WSO_get_object_type(tag object, char* type) {
  host::clear(type);
  return operation("WSO_get_object_type", Needs::session, [&] {
    host::require_all(type);
    host::require_workspace_object(host::store(), object);
    host::copy_out(host::store().text(object, "object_type"), type, WSO_name_size + 1);
  });
}

int WSO_describe(tag object, WSO_description_s* description) {
  host::clear(description);
  return operation("WSO_describe", Needs::session, [&] {
    host::require_all(description);
    host::require_workspace_object(host::store(), object);
    host::require_privilege(object, ACCESS_privilege_read);
    *description = host::describe_object(host::store(), object);
  });
}

int WSO_set_revision_limit(tag object, int limit) {
  return operation("WSO_set_revision_limit", Needs::session, [&] {
    host::require_workspace_object(host::store(), object);
    host::require(limit >= 1, "the limit");
    host::store().set(object, "revision_limit", limit);
  });
}

int WSO_find(const char* pattern, int* count, tag** objects) {
  host::clear(count);
  host::clear(objects);
  return operation("WSO_find", Needs::session, [&] {
    host::require_all(pattern, count, objects);
    host::hand_out(host::find_by_text(host::store(), pattern), count, objects);
  });
}
