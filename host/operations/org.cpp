// ORG_: users, groups and roles.

#include "ork/org.h"

#include "handout.h"
#include "operation.h"

namespace host {

namespace {

/** Copies the name of an object of a class to a caller's buffer. */
void name_out(tag object, const char* class_name, int not_of_class, const char* attribute,
              char* buffer) {
  require_all(buffer);
  if (!store().is_a(object, class_name)) {
    refuse(not_of_class, "object " + std::to_string(object));
  }
  copy_out(store().text(object, attribute), buffer, ORG_name_size + 1);
}

void reference_out(tag member, const char* attribute, tag* object) {
  require_all(object);
  if (!store().is_a(member, "GroupMember")) {
    refuse(ORG_not_a_groupmember, "object " + std::to_string(member));
  }
  *object = store().reference(member, attribute);
}

}  // namespace

}  // namespace host

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
  return operation("ORG_get_role_name", Needs::session,
                   [&] { host::name_out(role, "Role", ORG_not_a_role, "role_name", name); });
}

int ORG_get_user_identifier(tag user, char* user_id) {
  host::clear(user_id);
  return operation("ORG_get_user_identifier", Needs::session,
                   [&] { host::name_out(user, "User", ORG_not_a_user, "user_id", user_id); });
}

int ORG_get_group_name(tag group, char* name) {
  host::clear(name);
  return operation("ORG_get_group_name", Needs::session,
                   [&] { host::name_out(group, "Group", ORG_not_a_group, "group_name", name); });
}

int ORG_get_current_groupmember(tag* member) {
  host::clear(member);
  return operation("ORG_get_current_groupmember", Needs::session, [&] {
    host::require_all(member);
    const host::Session& session = host::session();
    *member = host::store().find_one("GroupMember", {{"member_user", session.user},
                                                     {"member_group", session.group},
                                                     {"member_role", session.role}});
  });
}

int ORG_get_groupmember_user(tag member, tag* user) {
  host::clear(user);
  return operation("ORG_get_groupmember_user", Needs::session,
                   [&] { host::reference_out(member, "member_user", user); });
}

int ORG_get_groupmember_group(tag member, tag* group) {
  host::clear(group);
  return operation("ORG_get_groupmember_group", Needs::session,
                   [&] { host::reference_out(member, "member_group", group); });
}

int ORG_get_groupmember_role(tag member, tag* role) {
  host::clear(role);
  return operation("ORG_get_groupmember_role", Needs::session,
                   [&] { host::reference_out(member, "member_role", role); });
}
