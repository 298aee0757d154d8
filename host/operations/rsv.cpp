// RSV_: reservation of objects.

#include "ork/rsv.h"

#include "known_sites.h"
#include "object_id.h"
#include "operation.h"

namespace host {

namespace {

void refuse_replica(Store& store, tag object) {
  const tag owner = owning_site(store, object);
  if (owner == find_site(store, local_site_number(store))) {
    return;
  }
  refuse(RSV_not_modifiable, "object " + std::to_string(object) + " is a replica of site " +
                                 store.text(owner, "site_name"));
}

void refuse_released(Store& store, tag object) {
  if (!store.is_a(object, "WorkspaceObject")) {
    return;
  }
  const Values& statuses = store.values(object, "release_status_list");
  if (statuses.empty()) {
    return;
  }
  const tag latest = std::get<tag>(statuses.back());
  const std::string id = object_id_text(store, object);
  refuse(RSV_not_modifiable, id + " is frozen by its status " + store.text(latest, "name"));
}

/** The user who has checked an object out, or NULLTAG. Only workspace objects are checked out. */
tag checkout_user(tag object) {
  Store& objects = store();
  return objects.is_a(object, "WorkspaceObject") ? objects.reference(object, "checked_out_user")
                                                 : NULLTAG;
}

}  // namespace

}  // namespace host

using host::Needs;
using host::operation;

int RSV_assert_object_modifiable(tag object) {
  return operation("RSV_assert_object_modifiable", Needs::session, [&] {
    host::refuse_replica(host::store(), object);
    host::refuse_released(host::store(), object);
  });
}

int RSV_is_checked_out(tag object, logical* checked_out) {
  host::clear(checked_out);
  return operation("RSV_is_checked_out", Needs::session, [&] {
    host::require_all(checked_out);
    *checked_out = host::checkout_user(object) != NULLTAG;
  });
}

int RSV_get_checkout_user(tag object, tag* user) {
  host::clear(user);
  return operation("RSV_get_checkout_user", Needs::session, [&] {
    host::require_all(user);
    *user = host::checkout_user(object);
  });
}
