/**
 * @file
 * The persistent store: instances, their classes, and the session's identity in the store.
 */
#ifndef ORK_STORE_H
#define ORK_STORE_H

#include "ork/ork.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Codes of the store. */
enum {
  STORE_unknown_tag = 24001,       /**< no object has this tag */
  STORE_deleted_tag = 24002,       /**< the object of this tag was deleted */
  STORE_unknown_class = 24003,     /**< there is no such class */
  STORE_unknown_attribute = 24004, /**< the object's class has no such attribute */
  STORE_wrong_value_type = 24005,  /**< the attribute holds values of another type */
  STORE_value_too_long = 24006,    /**< the text is longer than the attribute allows */
  STORE_not_locked = 24007,        /**< a change needs the object's lock */
  STORE_locked_by_other = 24008,   /**< another session holds the object's lock */
  STORE_key_taken = 24009,         /**< another object has the same id, name or other key */
  STORE_referenced = 24010,        /**< other objects refer to the object, so it stays */
  STORE_refers_to_unsaved = 24011  /**< the object refers to one that was never saved */
};

/**
 * The session's user.
 * @param[out] name the user's name, freed by the caller with `MEM_free`.
 * @param[out] user the user.
 */
ORK_API int STORE_get_user(char** name, tag* user);

/**
 * The session's group.
 * @param[out] name the group's name, freed by the caller with `MEM_free`.
 * @param[out] group the group.
 */
ORK_API int STORE_get_group(char** name, tag* group);

/**
 * Id of the session's user.
 * @param[out] user_id the id, freed by the caller with `MEM_free`.
 */
ORK_API int STORE_get_user_id(char** user_id);

/**
 * Asks whether the session's user is a system administrator.
 * @param[out] verdict 1 if so.
 */
ORK_API int STORE_is_user_sa(logical* verdict);

#ifdef __cplusplus
}
#endif

#endif
