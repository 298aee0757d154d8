/** @file Whether an object may be changed now, and who has reserved it for himself. */
#pragma once

#include "store.h"

namespace host {

/** These refuse with RSV_not_modifiable what another site owns, and what has a release status. */
void refuse_replica(Store& store, tag object);
void refuse_released(Store& store, tag object);

/** The user who has checked an object out, or NULLTAG. Only workspace objects are checked out. */
tag checkout_user(Store& store, tag object);

/** Checks an object out for the session's user. */
void check_out(tag object);

/** Checks an object in that the session's user has checked out; administrators may for others. */
void check_in(tag object);

}  // namespace host
