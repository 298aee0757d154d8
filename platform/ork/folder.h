/**
 * @file
 * Folders: workspace objects that hold others, in an order.
 */
#ifndef ORK_FOLDER_H
#define ORK_FOLDER_H

#include "ork/ork.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Codes of the folder operations. */
enum {
  FOLDER_not_a_folder = 36001,    /**< the object is not a folder */
  FOLDER_no_such_position = 36002 /**< the folder does not reach that far */
};

/**
 * Makes a folder. It becomes permanent with `OBJ_save`.
 * @param[in] name, description name and description of the folder.
 * @param[out] folder the folder; #NULLTAG on failure.
 * @return #ORK_ok or #STORE_value_too_long.
 */
ORK_API int FOLDER_create(const char* name, const char* description, tag* folder);

/**
 * Puts objects into a folder, in their order. Those that are inside already are moved. The change
 * is private to the process until the folder is saved.
 * @param[in] folder a folder that this process has locked or made.
 * @param[in] count number of objects.
 * @param[in] objects the objects.
 * @param[in] position where the first of them goes, from 0 to the number of objects inside.
 * @return #ORK_ok, #FOLDER_not_a_folder, #FOLDER_no_such_position, #WSO_not_a_workspace_object,
 *   #STORE_unknown_tag, #STORE_deleted_tag or #STORE_not_locked.
 */
ORK_API int FOLDER_insert_instances(tag folder, int count, const tag* objects, int position);

/**
 * Lists what is in a folder, in its order.
 * @param[in] folder the folder.
 * @param[out] count number of objects.
 * @param[out] objects the objects, freed by the caller with `MEM_free`; null for none.
 * @return #ORK_ok or #FOLDER_not_a_folder.
 */
ORK_API int FOLDER_list_instances(tag folder, int* count, tag** objects);

#ifdef __cplusplus
}
#endif

#endif
