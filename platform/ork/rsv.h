/**
 * @file
 * Reservation: objects that a user has checked out.
 */
#ifndef ORK_RSV_H
#define ORK_RSV_H

#include "ork/ork.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Codes of the reservation operations. */
enum { RSV_not_modifiable = 29001 /**< the object may not be changed now */ };

/**
 * Asks whether an object may be changed now, whoever asks: it is no replica and not frozen by a
 * release.
 * @param[in] object the object.
 * @return #ORK_ok if so, otherwise #RSV_not_modifiable, #STORE_unknown_tag or #STORE_deleted_tag.
 */
ORK_API int RSV_assert_object_modifiable(tag object);

/**
 * Asks whether an object is checked out.
 * @param[in] object the object.
 * @param[out] checked_out 1 if so, by whomever.
 * @return 0 or an error code.
 */
ORK_API int RSV_is_checked_out(tag object, logical* checked_out);

/**
 * Who has checked an object out.
 * @param[in] object the object.
 * @param[out] user the user, or #NULLTAG when it is not checked out.
 * @return 0 or an error code.
 */
ORK_API int RSV_get_checkout_user(tag object, tag* user);

#ifdef __cplusplus
}
#endif

#endif
