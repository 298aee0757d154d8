// RSV_: reservation of objects.

#include "ork/rsv.h"

#include "operation.h"
#include "reservations.h"

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
    *checked_out = host::checkout_user(host::store(), object) != NULLTAG;
  });
}

int RSV_get_checkout_user(tag object, tag* user) {
  host::clear(user);
  return operation("RSV_get_checkout_user", Needs::session, [&] {
    host::require_all(user);
    *user = host::checkout_user(host::store(), object);
  });
}
