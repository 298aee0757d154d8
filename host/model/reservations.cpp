#include "reservations.h"

#include "access.h"
#include "change.h"
#include "failure.h"
#include "known_sites.h"
#include "object_id.h"
#include "ork/access.h"
#include "ork/rsv.h"
#include "os.h"
#include "site.h"

namespace host {

namespace {

void refuse_checked_out(tag object, tag user) {
  refuse(RSV_not_modifiable,
         object_id_text(store(), object) + " is checked out by " + store().text(user, "user_id"));
}

void set_checkout(tag object, tag user, const date_s& since) {
  Change change(store());
  change.set(object, "checked_out_user", user);
  change.set(object, "checked_out_date", since);
  change.commit();
}

}  // namespace

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

tag checkout_user(Store& store, tag object) {
  return store.is_a(object, "WorkspaceObject") ? store.reference(object, "checked_out_user")
                                               : NULLTAG;
}

void check_out(tag object) {
  require_workspace_object(store(), object);
  require_privilege(object, ACCESS_privilege_write);
  store().bring_up_to_date(object);
  refuse_replica(store(), object);
  refuse_released(store(), object);
  if (const tag user = checkout_user(store(), object); user != NULLTAG) {
    refuse_checked_out(object, user);
  }
  set_checkout(object, session().user, os::local_time());
}

void check_in(tag object) {
  require_workspace_object(store(), object);
  store().bring_up_to_date(object);
  const tag user = checkout_user(store(), object);
  if (user == NULLTAG) {
    refuse(ORK_invalid_argument, object_id_text(store(), object) + " is not checked out");
  }
  if (user != session().user && !session().is_administrator) {
    refuse_checked_out(object, user);
  }
  set_checkout(object, NULLTAG, {});
}

}  // namespace host
