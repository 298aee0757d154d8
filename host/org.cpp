// ORG_: users, groups and roles.

#include "ork/org.h"

#include <cstring>

#include "operation.h"

using host::Needs;
using host::operation;

int ORG_init_module(void) {
  return operation("ORG_init_module", Needs::session, [] {});
}

int ORG_find_user(const char* user_id, tag* user) {
  host::clear(user);
  return operation("ORG_find_user", Needs::session, [&] {
    host::require_all(user_id, user);
    *user = host::store().find_one("User", {{"user_id", std::string(user_id)}});
  });
}

int ORG_find_group(const char* group_name, tag* group) {
  host::clear(group);
  return operation("ORG_find_group", Needs::session, [&] {
    host::require_all(group_name, group);
    *group = host::store().find_one("Group", {{"group_name", std::string(group_name)}});
  });
}

int ORG_get_current_role(tag* role) {
  host::clear(role);
  return operation("ORG_get_current_role", Needs::session, [&] {
    host::require_all(role);
    *role = host::session().role;
  });
}

int ORG_get_role_name(tag role, char* name) {
  host::clear(name);
  return operation("ORG_get_role_name", Needs::session, [&] {
    host::require_all(name);
    if (!host::store().is_a(role, "Role")) {
      host::refuse(ORG_not_a_role, "object " + std::to_string(role));
    }
    // The attribute takes no more than the buffer does.
    const std::string& text = host::store().text(role, "role_name");
    std::memcpy(name, text.c_str(), text.size() + 1);
  });
}
