/**
 * @file
 * Workspace objects: what users see and name (items, revisions, datasets, forms, folders).
 */
#ifndef ORK_WSO_H
#define ORK_WSO_H

#include "ork/date.h"
#include "ork/org.h"
#include "ork/ork.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Codes of the workspace object operations. */
enum { WSO_not_a_workspace_object = 26001 /**< the object is no workspace object */ };

/**
 * The text under which users see an object: "id-name" for an item, "id/revision-name" for an item
 * revision, the name for everything else.
 * @param[in] object a workspace object.
 * @param[out] id the text, freed by the caller with `MEM_free`; null on failure.
 * @return #ORK_ok, #STORE_unknown_tag, #STORE_deleted_tag or #WSO_not_a_workspace_object.
 */
ORK_API int WSO_get_object_id_string(tag object, char** id);

/** Longest name of a workspace object, in bytes; a buffer needs one byte more. */
#define WSO_name_size 128

/**
 * Name of a workspace object.
 * @param[in] object the object.
 * @param[out] name caller's buffer of #WSO_name_size + 1 bytes.
 * @return 0 or an error code.
 */
ORK_API int WSO_get_name(tag object, char* name);

/**
 * Name of a workspace object's type.
 * @param[in] object the object.
 * @param[out] type caller's buffer of #WSO_name_size + 1 bytes.
 * @return 0 or an error code.
 */
ORK_API int WSO_get_object_type(tag object, char* type);

/** Longest description of a workspace object, in bytes. */
#define WSO_description_size 240

/** What `WSO_describe` tells about a workspace object. Texts are cut where they do not fit. */
typedef struct WSO_description_s {
  char object_name[WSO_name_size + 1];         /**< name of the object */
  char object_type[WSO_name_size + 1];         /**< name of its type */
  char description[WSO_description_size + 1];  /**< its description; "" for none */
  char owners_name[ORG_name_size + 1];         /**< user id of the owner */
  char owning_group_name[ORG_name_size + 1];   /**< name of the owner's group */
  char last_modifying_user[ORG_name_size + 1]; /**< user id of who saved it last */
  date_s date_created;                         /**< when it was made */
  date_s date_modified;                        /**< when it was saved last */
  date_s date_released;                        /**< the null date when it was not released */
} WSO_description_s;

/**
 * Describes a workspace object.
 * @param[in] object the object; it is loaded if need be.
 * @param[out] description caller's record; all 0 on failure.
 * @return #ORK_ok, #STORE_unknown_tag, #STORE_deleted_tag, #WSO_not_a_workspace_object or
 *   #ACCESS_denied without the privilege "READ".
 */
ORK_API int WSO_describe(tag object, WSO_description_s* description);

/**
 * Sets how many versions the site keeps of an object.
 * @param[in] object an object that this process has locked or made.
 * @param[in] limit the number, from 1 on.
 * @return #ORK_ok, #WSO_not_a_workspace_object, #STORE_not_locked or #ORK_invalid_argument.
 */
ORK_API int WSO_set_revision_limit(tag object, int limit);

/**
 * Finds workspace objects by name or by the text under which users see them, release statuses
 * excepted. It finds what is saved, in the order in which it was created.
 * @param[in] pattern the text, with the wildcards "*" (any text) and "?" (one character); ASCII
 *   letters match in either case.
 * @param[out] count number of objects.
 * @param[out] objects the objects, freed by the caller with `MEM_free`; null for none.
 * @return 0 or an error code.
 */
ORK_API int WSO_find(const char* pattern, int* count, tag** objects);

#ifdef __cplusplus
}
#endif

#endif
