/**
 * @file
 * What holds for objects of all kinds: owners, access, locks, relations, attributes, and names for
 * files with their data.
 *
 * @code
 * int count_specifications(tag revision, int* count) {
 *   tag* specifications = 0;
 *   *count = 0; // stays so where the site does not know the relation
 *   int status = ZOLP_GetAttachedObjs(revision, "VELO_specification", count, &specifications, 0);
 *   MEM_free(specifications);
 *   return status;
 * }
 * @endcode
 */
#ifndef ZOLP_ORKTOOL_OBJECTS_H
#define ZOLP_ORKTOOL_OBJECTS_H

#include "ork/mem.h"
#include "ork/ork.h"
#include "zolp_orktool/api.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Asks whether a user in a group has a privilege on an object.
 * @param[in] user, group the accessors.
 * @param[in] object the object.
 * @param[in] privilege name of the privilege, for example "WRITE".
 * @return 0 when it is granted, 1 when it is refused or cannot be asked for.
 */
ZOLP_API int ZOLP_check_access(tag user, tag group, tag object, const char* privilege);

/**
 * Loads and locks an object unless it is loaded and locked. Failures show in the trace only.
 * @param[in] object the object.
 * @return always 0.
 */
ZOLP_API int ZOLP_verify_state_and_lock_of_object(tag object);

/**
 * Asks whether an object carries a release status.
 * @param[in] object the object.
 * @param[out] has_status 1 if so, otherwise 0; untouched on failure.
 * @return 0, the platform's status, or 1 when memory is exhausted.
 */
ZOLP_API int ZOLP_checkObjectStatus(tag object, logical* has_status);

/**
 * User and group who own an object.
 * @param[in] object the object.
 * @param[out] owner the user, or 0.
 * @param[out] group the group, or 0.
 * @return 0 or the platform's status.
 */
ZOLP_API int ZOLP_ask_ownership(tag object, tag* owner, tag* group);

/**
 * The same as text.
 * @param[in] object the object.
 * @param[out] user_id caller's buffer of 33 bytes for the owner's user id; empty on failure.
 * @param[out] group_name caller's buffer of 33 bytes for the group's name; empty on failure.
 * @return the status of looking up the owners; a name that cannot be read is no failure.
 */
ZOLP_API int ZOLP_ask_ownership_names(tag object, char* user_id, char* group_name);

/**
 * Lists the objects related to an object.
 * @param[in] obj the object.
 * @param[in] relation_name name of the relation type; null or "" takes all.
 * @param[out] count number of objects.
 * @param[out] list the objects, freed by the caller with `MEM_free`; null for none, and after a
 *   failure of listing them. Both are untouched when the relation type is not known, which is no
 *   failure, or cannot be looked up: set them before.
 * @param[in] reverse 0 for the objects attached to it, 1 for those that it is attached to.
 * @return 0, the platform's status, or 1 when memory is exhausted.
 */
ZOLP_API int ZOLP_GetAttachedObjs(tag obj, const char* relation_name, int* count, tag** list,
                                  logical reverse);

/**
 * The first of these objects.
 * @param[in] obj, relation_name, reverse as for `ZOLP_GetAttachedObjs`.
 * @param[out] first the object, or 0.
 * @return 0, the platform's status, or 1 when memory is exhausted.
 */
ZOLP_API int ZOLP_GetFirstAttachedObj(tag obj, const char* relation_name, tag* first,
                                      logical reverse);

/**
 * Asks whether an object is a workspace object.
 * @param[in] obj the object.
 * @param[out] answer 1 if so, otherwise 0; untouched on failure.
 * @return 0 or the platform's status.
 */
ZOLP_API int ZOLP_isWorkspaceObject(tag obj, logical* answer);

/**
 * Collects the attributes of a class and of its superclasses, up to the root.
 * @param[in] class_id the class.
 * @param[in,out] attr_count number of attributes in the array; new ones are appended.
 * @param[in,out] attr_ids their identifiers, a block freed by the caller with `MEM_free`; it may
 *   move.
 * @param[in,out] max_count number of identifiers that the array has room for; below 1 a new array
 * is made.
 * @return always 0; a failure ends the collecting and shows in the trace.
 */
ZOLP_API int ListAllClassAttributes(tag class_id, int* attr_count, tag** attr_ids, int* max_count);

/** Size of the buffer for a file name, in bytes. */
#define ZOLP_FILE_NAME_SIZE 256

/**
 * Makes a file name for data of an item revision: path, backslash, item id, revision id, local time
 * to the second, the clock in milliseconds, extension.
 * @param[in] item_rev the revision; ids that cannot be read are left empty.
 * @param[in] path the folder.
 * @param[out] file_name caller's buffer of #ZOLP_FILE_NAME_SIZE bytes; untouched on failure.
 * @param[in] extension the extension without its dot.
 * @return 0; 1 when the name would have 256 characters or more.
 */
ZOLP_API int ZOLP_buildFileName(tag item_rev, const char* path, char* file_name,
                                const char* extension);

#ifdef __cplusplus
}
#endif

#endif
