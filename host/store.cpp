// STORE_: the session's identity in the store.

#include "ork/store.h"

#include "handout.h"
#include "operation.h"

using host::Needs;
using host::operation;

int STORE_get_user(char** name, tag* user) {
  host::clear(name);
  host::clear(user);
  return operation("STORE_get_user", Needs::session, [&] {
    host::require_all(name, user);
    *name = host::hand_out(host::session().user_name);
    *user = host::session().user;
  });
}

int STORE_get_group(char** name, tag* group) {
  host::clear(name);
  host::clear(group);
  return operation("STORE_get_group", Needs::session, [&] {
    host::require_all(name, group);
    *name = host::hand_out(host::session().group_name);
    *group = host::session().group;
  });
}

int STORE_get_user_id(char** user_id) {
  host::clear(user_id);
  return operation("STORE_get_user_id", Needs::session, [&] {
    host::require_all(user_id);
    *user_id = host::hand_out(host::session().user_id);
  });
}

int STORE_is_user_sa(logical* verdict) {
  host::clear(verdict);
  return operation("STORE_is_user_sa", Needs::session, [&] {
    host::require_all(verdict);
    *verdict = host::session().is_administrator;
  });
}
