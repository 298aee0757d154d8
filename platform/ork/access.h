/**
 * @file
 * Access: who may do what with an object.
 */
#ifndef ORK_ACCESS_H
#define ORK_ACCESS_H

#include "ork/ork.h"

#ifdef __cplusplus
extern "C" {
#endif

/** The privilege to read an object. */
#define ACCESS_privilege_read "READ"
/** The privilege to change it. */
#define ACCESS_privilege_write "WRITE"
/** The privilege to delete it. */
#define ACCESS_privilege_delete "DELETE"

/** Codes of the access operations. */
enum {
  ACCESS_unknown_privilege = 28001, /**< there is no such privilege */
  ACCESS_denied = 28002             /**< the session's user may not do this */
};

/**
 * Asks whether the session's user, in the session's group and role, has a privilege on an object.
 * While bypass is on, that user has them all.
 * @param[in] object the object.
 * @param[in] privilege one of the privileges above.
 * @param[out] granted 1 if so.
 * @return #ORK_ok, #ACCESS_unknown_privilege, #STORE_unknown_tag or #STORE_deleted_tag.
 */
ORK_API int ACCESS_check_privilege(tag object, const char* privilege, logical* granted);

/**
 * Asks whether certain accessors together have a privilege on an object.
 * @param[in] count number of accessors.
 * @param[in] accessors users, groups and roles.
 * @param[in] object the object.
 * @param[in] privilege one of the privileges above.
 * @param[out] granted 1 if so.
 * @return as `ACCESS_check_privilege`, or #ORK_invalid_argument for an accessor that is none.
 */
ORK_API int ACCESS_check_accessors_privilege(int count, const tag* accessors, tag object,
                                             const char* privilege, logical* granted);

#ifdef __cplusplus
}
#endif

#endif
