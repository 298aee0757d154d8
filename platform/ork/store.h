/**
 * @file
 * The persistent store: instances, their classes, and the session's identity in the store.
 */
#ifndef ORK_STORE_H
#define ORK_STORE_H

#include "ork/date.h"
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
  STORE_refers_to_unsaved = 24011, /**< the object refers to one that was never saved */
  STORE_not_saved = 24012,         /**< the object has changes that were not saved */
  STORE_unknown_lock = 24013,      /**< there is no such lock */
  STORE_not_stored = 24014         /**< the object lives in this process only, as BOM lines do */
};

/**
 * The date that stands for none.
 * @return a date of which all members are 0.
 */
ORK_API date_s STORE_null_date(void);

/** Longest value of a text attribute that users see, in bytes. */
#define STORE_max_string_length 4000

/**
 * The text that stands for an object outside of a session: it stays the same, as long as the site
 * keeps its number, and is never used again.
 * @param[in] object the object.
 * @param[out] uid the text of 14 characters, freed by the caller with `MEM_free`.
 * @return #ORK_ok, #STORE_unknown_tag or #STORE_deleted_tag.
 */
ORK_API int STORE_tag_to_uid(tag object, char** uid);

/**
 * The object that such a text stands for.
 * @param[in] uid the text.
 * @param[out] object the object; #NULLTAG on failure.
 * @return #ORK_ok, #STORE_unknown_tag or #STORE_deleted_tag.
 */
ORK_API int STORE_uid_to_tag(const char* uid, tag* object);

/**
 * The session's user.
 * @param[out] name the user's name, freed by the caller with `MEM_free`.
 * @param[out] user the user.
 * @return 0 or an error code.
 */
ORK_API int STORE_get_user(char** name, tag* user);

/**
 * The session's group.
 * @param[out] name the group's name, freed by the caller with `MEM_free`.
 * @param[out] group the group.
 * @return 0 or an error code.
 */
ORK_API int STORE_get_group(char** name, tag* group);

/**
 * Id of the session's user.
 * @param[out] user_id the id, freed by the caller with `MEM_free`.
 * @return 0 or an error code.
 */
ORK_API int STORE_get_user_id(char** user_id);

/**
 * Asks whether the session's user is a system administrator.
 * @param[out] verdict 1 if so.
 * @return 0 or an error code.
 */
ORK_API int STORE_is_user_sa(logical* verdict);

/** States of an instance in this process. */
enum {
  STORE_instance_not_loaded = 7001, /**< its values have not been read */
  STORE_instance_loaded = 7002,     /**< its values are in memory */
  STORE_instance_new = 7003         /**< it was made by this process and never saved */
};

/** Lock states of an instance, as this process sees them. */
enum {
  STORE_no_lock = 0,    /**< this process may not change it */
  STORE_modify_lock = 1 /**< this process has locked it for a change */
};

/**
 * Asks whether a tag stands for an object.
 * @param[in] object any value.
 * @param[out] valid 1 if so; 0 for an unknown tag and for that of a deleted object.
 * @return 0 or an error code.
 */
ORK_API int STORE_is_tag_valid(tag object, logical* valid);

/**
 * Asks whether an instance exists, in memory or in the site.
 * @param[in] object any value.
 * @param[out] exists 1 if so; 0 for an unknown tag and for that of a deleted object.
 * @return 0 or an error code.
 */
ORK_API int STORE_instance_exists(tag object, logical* exists);

/**
 * Brings instances up to date and locks them, or gives their locks back.
 * @param[in] count number of instances.
 * @param[in] objects the instances.
 * @param[in] class_id pass #NULLTAG.
 * @param[in] lock #STORE_modify_lock locks them for a change; #STORE_no_lock drops changes that
 *   were not saved and gives the locks back.
 * @return #ORK_ok, #STORE_unknown_lock, or as `OBJ_refresh`. After a failure none is locked that
 *   was not before.
 */
ORK_API int STORE_refresh_instances(int count, const tag* objects, tag class_id, int lock);

/**
 * State of an instance in this process.
 * @param[in] object the instance.
 * @param[out] state one of the states above.
 * @return 0 or an error code.
 */
ORK_API int STORE_get_instance_state(tag object, int* state);

/**
 * Lock state of an instance.
 * @param[in] object the instance.
 * @param[out] lock #STORE_modify_lock when this process holds the lock, otherwise #STORE_no_lock.
 * @return 0 or an error code.
 */
ORK_API int STORE_get_instance_lock(tag object, int* lock);

/**
 * Who holds the lock of an instance.
 * @param[in] object the instance.
 * @param[out] user_id id of the holder, freed by the caller with `MEM_free`; null when nobody holds
 *   it.
 * @param[out] login_date when the lock was taken; the null date when nobody holds it.
 * @param[out] node_name name of the holder's machine, freed by the caller with `MEM_free`; null
 * when nobody holds it.
 * @return 0 or an error code.
 */
ORK_API int STORE_who_locked_instance(tag object, char** user_id, date_s* login_date,
                                      char** node_name);

/**
 * Finds a class.
 * @param[in] class_name its name.
 * @param[out] class_id the class.
 * @return #ORK_ok or #STORE_unknown_class.
 */
ORK_API int STORE_class_id_of_class(const char* class_name, tag* class_id);

/**
 * Class of an instance.
 * @param[in] object the instance.
 * @param[out] class_id its class.
 * @return 0 or an error code.
 */
ORK_API int STORE_class_of_instance(tag object, tag* class_id);

/**
 * Name of a class.
 * @param[in] class_id the class.
 * @param[out] name its name, freed by the caller with `MEM_free`.
 * @return #ORK_ok or #STORE_unknown_class.
 */
ORK_API int STORE_name_of_class(tag class_id, char** name);

/**
 * Asks whether a class descends from another one.
 * @param[in] ancestor the class that may be above.
 * @param[in] descendant the class that may be below.
 * @param[out] verdict 1 if so; a class does not descend from itself.
 * @return 0 or an error code.
 */
ORK_API int STORE_is_descendant(tag ancestor, tag descendant, logical* verdict);

/**
 * Describes a class.
 * @param[in] class_id the class.
 * @param[in] option pass 0.
 * @param[in] reserved pass null.
 * @param[out] application name of the application that defined it, freed by the caller with
 *   `MEM_free`.
 * @param[out] descriptor 1 for a class that cannot have instances, otherwise 0.
 * @param[out] count number of attributes that the class itself adds.
 * @param[out] attributes their identifiers, freed by the caller with `MEM_free`; null for none.
 * @return 0 or an error code.
 */
ORK_API int STORE_describe_class(tag class_id, int option, const char* reserved, char** application,
                                 int* descriptor, int* count, tag** attributes);

/**
 * The classes right above a class.
 * @param[in] class_id the class.
 * @param[out] count their number; 0 for the root.
 * @param[out] parents the classes, freed by the caller with `MEM_free`; null for none.
 * @return 0 or an error code.
 */
ORK_API int STORE_superclasses_of_class(tag class_id, int* count, tag** parents);

/**
 * Number of the local site.
 * @param[out] site_id the number; 0 when the site has none.
 * @return 0 or an error code.
 */
ORK_API int STORE_site_id(int* site_id);

/**
 * The object that stands for a site.
 * @param[in] site_id number of the site.
 * @param[out] site the object, or #NULLTAG when the site is not known here.
 * @return 0 or an error code.
 */
ORK_API int STORE_lookup_imc(int site_id, tag* site);

/**
 * The site that owns an instance.
 * @param[in] object the instance.
 * @param[out] site the owning site's object; #NULLTAG when that is not known.
 * @return 0 or an error code.
 */
ORK_API int STORE_location_of_instance(tag object, tag* site);

#ifdef __cplusplus
}
#endif

#endif
