/**
 * @file
 * Datasets: objects that hold files, and forms, under the named references of their type.
 *
 * A dataset type has a default tool, and named references, each with templates of file names
 * ("*.txt") and the formats of their files ("TEXT", "BINARY"). A tool has output formats. A type
 * that defines no tool has that of the type above it, and so with named references. Where no named
 * references are defined at all, a dataset takes any names.
 */
#ifndef ORK_DSET_H
#define ORK_DSET_H

#include "ork/ork.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Longest name of a named reference, a tool or a format, in bytes; a buffer needs one more. */
#define DSET_name_size 32

/** Codes of the dataset operations. */
enum {
  DSET_no_named_reference = 9037,      /**< the dataset has no reference of this name */
  DSET_not_a_dataset = 32001,          /**< the object is not a dataset */
  DSET_not_a_dataset_type = 32002,     /**< the object is not a dataset type */
  DSET_not_a_tool = 32003,             /**< the object is not a tool */
  DSET_unknown_reference_name = 32004, /**< the dataset type has no such named reference */
  DSET_no_default_tool = 32005,        /**< the dataset type has no default tool */
  DSET_no_such_reference = 32006,      /**< the dataset has no reference at this place, or not this
                                            object */
  DSET_unknown_reference_type = 32007  /**< the type of reference is none of the below */
};

/** How a dataset holds what a named reference refers to. */
enum {
  DSET_PART_OF = 1,    /**< as a part of its own: it is deleted with the dataset */
  DSET_ASSOCIATION = 2 /**< as a link to something that stands on its own */
};

/**
 * Starts the dataset module. Needs a session.
 * @return 0 or an error code.
 */
ORK_API int DSET_init_module(void);

/**
 * Finds a dataset type.
 * @param[in] name its name.
 * @param[out] type the type; #NULLTAG when there is none of that name.
 * @return 0 or an error code.
 */
ORK_API int DSET_find_datasettype(const char* name, tag* type);

/**
 * Default tool of a dataset type.
 * @param[in] type the dataset type.
 * @param[out] tool the tool.
 * @return #ORK_ok, #DSET_not_a_dataset_type or #DSET_no_default_tool.
 */
ORK_API int DSET_get_datasettype_def_tool(tag type, tag* tool);

/**
 * Named references that a dataset type defines.
 * @param[in] type the dataset type.
 * @param[out] count number of names.
 * @param[out] names the names in one block, freed by the caller with one `MEM_free`; null for none.
 * @return #ORK_ok or #DSET_not_a_dataset_type.
 */
ORK_API int DSET_get_datasettype_refs(tag type, int* count, char*** names);

/**
 * Files that a dataset type takes under a named reference.
 * @param[in] type the dataset type.
 * @param[in] reference_name the named reference.
 * @param[out] count number of templates; 0 for a reference that is not for files.
 * @param[out] templates templates of their names, for example "*.txt".
 * @param[out] formats their formats, for example "TEXT" or "BINARY", one for each template. Each
 *   array is one block, freed by the caller with one `MEM_free`; null for none.
 * @return #ORK_ok, #DSET_not_a_dataset_type or #DSET_unknown_reference_name.
 */
ORK_API int DSET_get_datasettype_file_refs(tag type, const char* reference_name, int* count,
                                           char*** templates, char*** formats);

/**
 * Formats that a tool writes.
 * @param[in] tool the tool.
 * @param[out] count number of formats.
 * @param[out] formats their names in one block, freed by the caller with one `MEM_free`; null for
 *   none.
 * @return #ORK_ok or #DSET_not_a_tool.
 */
ORK_API int DSET_get_tool_output_formats(tag tool, int* count, char*** formats);

/**
 * Name of a tool.
 * @param[in] tool the tool.
 * @param[out] name caller's buffer of #DSET_name_size + 1 bytes.
 * @return #ORK_ok or #DSET_not_a_tool.
 */
ORK_API int DSET_get_tool_name(tag tool, char* name);

/**
 * Makes a dataset. It becomes permanent with `OBJ_save`.
 * @param[in] type its type.
 * @param[in] name its name.
 * @param[in] description its description; null for none.
 * @param[in] dataset_id, revision_id ids for sites that number datasets; null for none. This
 *   platform takes none.
 * @param[out] dataset the new dataset; #NULLTAG on failure.
 * @return #ORK_ok, #DSET_not_a_dataset_type or #STORE_value_too_long.
 */
ORK_API int DSET_create_dataset_with_id(tag type, const char* name, const char* description,
                                        const char* dataset_id, const char* revision_id,
                                        tag* dataset);

/**
 * Makes a dataset of the same type, description, tool, format and revision limit, with the same
 * named references: files and other objects are shared. It becomes permanent with `OBJ_save`.
 * @param[in] dataset the dataset to copy.
 * @param[in] name name of the copy.
 * @param[in] dataset_id, revision_id as for `DSET_create_dataset_with_id`.
 * @param[out] copy the copy; #NULLTAG on failure.
 * @return #ORK_ok, #DSET_not_a_dataset, #ACCESS_denied without the privilege "READ" or
 *   #STORE_value_too_long.
 */
ORK_API int DSET_copy_dataset_with_id(tag dataset, const char* name, const char* dataset_id,
                                      const char* revision_id, tag* copy);

/**
 * Finds a saved dataset by its name.
 * @param[in] name the name, in the case in which it is written.
 * @param[out] dataset the first dataset of that name; #NULLTAG when there is none.
 * @return 0 or an error code.
 */
ORK_API int DSET_find_dataset(const char* name, tag* dataset);

/**
 * Sets a dataset's tool.
 * @param[in] dataset a dataset that this process has locked or made.
 * @param[in] tool the tool.
 * @return #ORK_ok, #DSET_not_a_dataset, #DSET_not_a_tool, #STORE_unknown_tag or
 *   #STORE_not_locked.
 */
ORK_API int DSET_set_dataset_tool(tag dataset, tag tool);

/**
 * Tool of a dataset.
 * @param[in] dataset the dataset.
 * @param[out] tool the tool; #NULLTAG when none is set.
 * @return #ORK_ok or #DSET_not_a_dataset.
 */
ORK_API int DSET_get_dataset_tool(tag dataset, tag* tool);

/**
 * Sets the format in which a dataset's tool works.
 * @param[in] dataset a dataset that this process has locked or made.
 * @param[in] format name of the format, at most #DSET_name_size bytes.
 * @return #ORK_ok, #DSET_not_a_dataset, #STORE_not_locked or #STORE_value_too_long.
 */
ORK_API int DSET_set_dataset_format(tag dataset, const char* format);

/**
 * Format in which a dataset's tool works.
 * @param[in] dataset the dataset.
 * @param[out] format caller's buffer of #DSET_name_size + 1 bytes.
 * @return #ORK_ok or #DSET_not_a_dataset.
 */
ORK_API int DSET_get_dataset_format(tag dataset, char* format);

/**
 * Number of versions that the site keeps of a new dataset: the value of the preference
 * "DSET_default_revision_limit", or 3.
 * @param[out] limit the number.
 * @return #ORK_ok, or #ORK_invalid_argument when the preference is no number from 1 on.
 */
ORK_API int DSET_get_dataset_def_rev_limit(int* limit);

/**
 * Adds a named reference to a dataset, behind those that it has.
 * @param[in] dataset a dataset that this process has locked or made.
 * @param[in] reference_name name of the reference, one that the dataset's type defines.
 * @param[in] reference_type #DSET_PART_OF or #DSET_ASSOCIATION.
 * @param[in] object what it refers to: a file, a form or another object.
 * @return #ORK_ok, #DSET_not_a_dataset, #DSET_unknown_reference_name,
 *   #DSET_unknown_reference_type, #STORE_not_locked, #STORE_unknown_tag, #STORE_deleted_tag or
 *   #STORE_value_too_long.
 */
ORK_API int DSET_add_dataset_named_ref(tag dataset, const char* reference_name, int reference_type,
                                       tag object);

/**
 * Puts another object in the place of one that a dataset refers to.
 * @param[in] dataset a dataset that this process has locked or made.
 * @param[in] old_object what the reference refers to now.
 * @param[in] reference_name name of the reference.
 * @param[in] reference_type #DSET_PART_OF or #DSET_ASSOCIATION.
 * @param[in] new_object what it is to refer to.
 * @return as `DSET_add_dataset_named_ref`, or #DSET_no_such_reference when the dataset does not
 *   refer to the old object under that name.
 */
ORK_API int DSET_replace_dataset_named_ref(tag dataset, tag old_object, const char* reference_name,
                                           int reference_type, tag new_object);

/**
 * What a dataset refers to under a name; the first of several.
 * @param[in] dataset the dataset.
 * @param[in] reference_name name of the reference.
 * @param[out] reference_type #DSET_PART_OF or #DSET_ASSOCIATION.
 * @param[out] object the object; #NULLTAG on failure.
 * @return #ORK_ok, #DSET_not_a_dataset or #DSET_no_named_reference.
 */
ORK_API int DSET_get_dataset_named_ref(tag dataset, const char* reference_name, int* reference_type,
                                       tag* object);

/**
 * Number of a dataset's named references.
 * @param[in] dataset the dataset.
 * @param[out] count the number.
 * @return #ORK_ok or #DSET_not_a_dataset.
 */
ORK_API int DSET_get_dataset_ref_count(tag dataset, int* count);

/**
 * One of a dataset's named references, in the order in which they were added.
 * @param[in] dataset the dataset.
 * @param[in] index its place, counted from 0.
 * @param[out] reference_name caller's buffer of #DSET_name_size + 1 bytes.
 * @param[out] reference_type #DSET_PART_OF or #DSET_ASSOCIATION.
 * @param[out] object what it refers to; #NULLTAG on failure.
 * @return #ORK_ok, #DSET_not_a_dataset or #DSET_no_such_reference.
 */
ORK_API int DSET_find_dataset_named_ref(tag dataset, int index, char* reference_name,
                                        int* reference_type, tag* object);

#ifdef __cplusplus
}
#endif

#endif
