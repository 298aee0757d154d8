/**
 * @file
 * Application objects.
 */
#ifndef ORK_OBJ_H
#define ORK_OBJ_H

#include "ork/date.h"
#include "ork/ork.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Codes of the application object operations. */
enum { OBJ_value_not_understood = 39001 /**< the text is no value of the attribute's kind */ };

/**
 * Starts the application object module. Needs a session.
 * @return 0 or an error code.
 */
ORK_API int OBJ_init_module(void);

/**
 * Reads an object's values into memory. Does nothing for an object that is loaded or new.
 * @param[in] object the object.
 * @return #ORK_ok, #ACCESS_denied without the privilege "READ", #STORE_unknown_tag or
 *   #STORE_deleted_tag.
 */
ORK_API int OBJ_load(tag object);

/**
 * Locks an object for a change and brings its values up to date.
 * @param[in] object the object.
 * @return #ORK_ok, #STORE_locked_by_other, #ACCESS_denied without the privilege "WRITE",
 *   #STORE_unknown_tag or #STORE_deleted_tag.
 */
ORK_API int OBJ_lock(tag object);

/**
 * Brings an object's values up to date; changes that were not saved are dropped.
 * @param[in] object the object.
 * @param[in] for_change 1 locks the object, 0 gives its lock back.
 * @return as `OBJ_lock`.
 */
ORK_API int OBJ_refresh(tag object, logical for_change);

/**
 * Saves an object. Its lock stays.
 * @param[in] object an object that this process has locked or made.
 * @return #ORK_ok, #STORE_not_locked, #ACCESS_denied without the privilege "WRITE",
 *   #STORE_key_taken when another object has the same key, or #STORE_refers_to_unsaved.
 */
ORK_API int OBJ_save(tag object);

/**
 * Drops an object's values from memory; the next use reads them again.
 * @param[in] object the object, without unsaved changes; a lock on it stays.
 * @return #ORK_ok, #STORE_unknown_tag, #STORE_deleted_tag, or #STORE_not_saved for a new object or
 *   one with unsaved changes.
 */
ORK_API int OBJ_unload(tag object);

/**
 * Deletes an object; with a dataset those of its parts that no other saved object refers to.
 * @param[in] object an object that this process has locked or made.
 * @return #ORK_ok, #STORE_not_locked, #STORE_locked_by_other, #ACCESS_denied without the privilege
 *   "DELETE" on all that is deleted, or #STORE_referenced when others refer to it.
 */
ORK_API int OBJ_delete(tag object);

/**
 * User who owns an object.
 * @param[in] object the object.
 * @param[out] owner the user.
 * @return 0 or an error code.
 */
ORK_API int OBJ_get_owner(tag object, tag* owner);

/**
 * Group that owns an object.
 * @param[in] object the object.
 * @param[out] group the group.
 * @return 0 or an error code.
 */
ORK_API int OBJ_get_group(tag object, tag* group);

/**
 * Values of an attribute that refers to objects.
 * @param[in] object the object; it is loaded if need be.
 * @param[in] attribute name of the attribute.
 * @param[out] count number of values.
 * @param[out] values the objects, freed by the caller with `MEM_free`; null for none.
 * @return #ORK_ok, #STORE_unknown_attribute, #STORE_wrong_value_type or #ACCESS_denied without the
 *   privilege "READ".
 */
ORK_API int OBJ_get_value_tags(tag object, const char* attribute, int* count, tag** values);

/**
 * Value of a text attribute.
 * @param[in] object the object.
 * @param[in] attribute name of the attribute.
 * @param[out] value the text, freed by the caller with `MEM_free`; null on failure.
 * @return as `OBJ_get_value_tags`.
 */
ORK_API int OBJ_get_value_string(tag object, const char* attribute, char** value);

/**
 * Value of a date attribute.
 * @param[in] object the object.
 * @param[in] attribute name of the attribute.
 * @param[out] value the date; the null date when none is set.
 * @return as `OBJ_get_value_tags`.
 */
ORK_API int OBJ_get_value_date(tag object, const char* attribute, date_s* value);

/**
 * Sets a text attribute. The change is private to the process until the object is saved.
 * @param[in] object an object that this process has locked or made.
 * @param[in] attribute name of the attribute.
 * @param[in] value the text.
 * @return #ORK_ok, #STORE_unknown_attribute, #STORE_wrong_value_type, #STORE_not_locked or
 *   #STORE_value_too_long.
 */
ORK_API int OBJ_set_value_string(tag object, const char* attribute, const char* value);

/**
 * Value of an attribute as users see it: text as it stands, numbers and logicals as text, dates in
 * the site's default format (`text.h`), at midnight without the time of day where that comes last,
 * objects under the text that names them, lists with ", " between.
 * @param[in] object the object; it is loaded if need be.
 * @param[in] attribute name of the attribute.
 * @param[out] value the text, freed by the caller with `MEM_free`; "" for no value, null on
 * failure.
 * @return #ORK_ok, #STORE_unknown_attribute or #ACCESS_denied without the privilege "READ".
 */
ORK_API int OBJ_UIF_get_value(tag object, const char* attribute, char** value);

/**
 * Sets an attribute from a text as users write it: text, numbers with a decimal point whatever the
 * locale, "True" and "False", dates in the site's default format with or without the time of day.
 * Nothing may stand before or behind a value. "" takes the value away. The change is private to the
 * process until the object is saved.
 * @param[in] object an object that this process has locked or made.
 * @param[in] attribute name of the attribute, which holds one value and no object.
 * @param[in] value the text.
 * @return #ORK_ok, #OBJ_value_not_understood, #STORE_unknown_attribute, #STORE_wrong_value_type for
 *   lists and objects, #STORE_not_locked or #STORE_value_too_long.
 */
ORK_API int OBJ_UIF_set_value(tag object, const char* attribute, const char* value);

#ifdef __cplusplus
}
#endif

#endif
