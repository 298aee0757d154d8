/**
 * @file
 * Release lists and item lists, the text tables of a CAD clone run: cleaning them, and reading them
 * into an assembly tree.
 *
 * @code
 * int clean(const char* list, int count, char** ids) {
 *   int status = ZOLP_clean_list(list, "cleaned.txt");
 *   return status == 0 ? ZOLP_scan_usage("cleaned.txt", "used_elsewhere.txt", count, ids) : status;
 * }
 * @endcode
 */
#ifndef ZOLP_ORKTOOL_RELEASE_LISTS_H
#define ZOLP_ORKTOOL_RELEASE_LISTS_H

#include "ork/ork.h"
#include "zolp_orktool/api.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Longest text of a field in a list, in bytes; a buffer needs one byte more. */
#define ZOLP_LIST_FIELD_SIZE 128

/**
 * One record of an assembly tree: an item line of a release list, or one of its dataset lines.
 * Records are blocks of the C heap (`malloc`). The whole tree is the caller's and is freed record
 * by record with `free`. An item's `child` leads to its newest child only (see
 * `read_dataset_basic_data`), so of several datasets of an item the earlier ones are out of reach.
 */
typedef struct assy_entry {
  int level;                               /**< level of the line; of a dataset: its item's + 1 */
  char type[ZOLP_LIST_FIELD_SIZE + 1];     /**< "ItemRev", "QNMASTER", "QNPART" or "ALTREP" */
  char item_id[ZOLP_LIST_FIELD_SIZE + 1];  /**< of a dataset: its item's */
  char item_rev[ZOLP_LIST_FIELD_SIZE + 1]; /**< of a dataset: its item's */
  char dataset_name[ZOLP_LIST_FIELD_SIZE + 1]; /**< empty for an item */
  char new_item_id[ZOLP_LIST_FIELD_SIZE + 1];  /**< of a dataset: its item's */
  char new_item_rev[ZOLP_LIST_FIELD_SIZE + 1]; /**< of a dataset: its item's */
  char new_name[ZOLP_LIST_FIELD_SIZE + 1];     /**< text of the column "New Name" */
  char mode[133];                              /**< "RETAIN" or "CLONE" */
  struct assy_entry* next;                     /**< next sibling, or null */
  struct assy_entry* child;                    /**< child, or null */
  struct assy_entry* parent;                   /**< parent, or null */
  struct assy_entry* prev;                     /**< previous sibling, or null */
} assy_entry;

/**
 * Reads an item list: the level in characters 1 to 6 of a line, the item id from the seventh
 * character onward. Needs no session.
 * @param[in] file path of the list, which must be writable.
 * @param[out] count number of lines with a level of at least 1.
 * @param[out] item_ids their item ids, up to 128 bytes each, with the line end as read.
 * @param[out] levels their levels as text, six characters each.
 * @param[out] counts how often each one's item id stands in the list.
 *   The three arrays and the texts are blocks of the C heap, freed by the caller with `free`; null
 *   for a list without such lines.
 * @return 0, or 1 when the file cannot be opened, and then the outputs are untouched.
 */
ZOLP_API int ZOLP_read_itemrevlist(const char* file, int* count, char*** item_ids, char*** levels,
                                   int** counts);

/**
 * Copies a release list without its empty "Where" blocks. Needs no session.
 * @param[in] in_file path of the list, which must be writable.
 * @param[in] out_file path of the copy; an existing file is replaced.
 * @return 0; 1 when a file cannot be opened, read or written to its end, when both are one file, or
 *   when memory is exhausted.
 */
ZOLP_API int ZOLP_clean_list(const char* in_file, const char* out_file);

/**
 * Copies a release list and keeps of each item only the first line, with the lines below it.
 * Needs no session, but the column positions from `ZOLP_create_clonelogheader`.
 * @param[in] in_file path of the list, which must be writable.
 * @param[in] out_file path of the copy; an existing file is replaced.
 * @return as for `ZOLP_clean_list`.
 */
ZOLP_API int ZOLP_remove_doubles_from_list(const char* in_file, const char* out_file);

/**
 * Copies a release list and drops from its "Where" blocks the lines that contain one of several
 * texts, the "Where" lines among them. Needs no session.
 * @param[in] in_file path of the list, which must be writable.
 * @param[in] out_file path of the copy; an existing file is replaced.
 * @param[in] n_patterns number of texts.
 * @param[in] patterns the texts.
 * @return as for `ZOLP_clean_list`.
 */
ZOLP_API int ZOLP_scan_usage(const char* in_file, const char* out_file, int n_patterns,
                             char** patterns);

/**
 * Reads a release list into an assembly tree. Needs the column positions from
 * `ZOLP_create_clonelogheader` and the preference "FLColumnCatIVFSeparatorPref", which holds the
 * separator between item id and revision.
 * @param[in] file path of the list, which must be writable.
 * @param[in,out] entry address of the record to go on from, or of null for a new tree; afterwards
 *   the last record that was made from an item line. The root is reached through `prev` and
 *   `parent`. The records are the caller's, also after a failure.
 * @return 0; 1 when the file cannot be opened or an item line cannot be split; or the platform's
 *   status.
 */
ZOLP_API int ZOLP_read_assylist(const char* file, assy_entry** entry);

/**
 * Splits the cells "Item Revision" and "New Item ID" of a release list's line. Needs no session,
 * but the column positions from `ZOLP_create_clonelogheader`.
 * @param[in] line the line, NUL-terminated.
 * @param[in] separator text between item id and revision.
 * @param[out] item_id, item_rev, new_item_id, new_item_rev caller's buffers of 129 bytes each. A
 *   cell is taken with its padding and what follows it, up to 128 bytes. Without a separator in
 *   "New Item ID" the new revision is "----"; without one in "Item Revision" the whole cell is the
 *   item id and the revision is empty.
 * @return 0; 1, with an error line, when "Item Revision" has no separator.
 */
ZOLP_API int read_item_basic_data(const char* line, const char* separator, char* item_id,
                                  char* item_rev, char* new_item_id, char* new_item_rev);

/**
 * Makes a dataset record from a release list's line and links it to a record. Below an item it
 * becomes the item's child in place of any earlier one; next to a dataset it becomes that one's
 * next sibling. Needs no session, but the column positions from `ZOLP_create_clonelogheader`.
 * @param[in] line the line, NUL-terminated.
 * @param[in] dataset_type type for the record; longer texts are cut at 128 bytes.
 * @param[in] ignored pass 0.
 * @param[in,out] current the record to link to; null makes no record.
 * @return always 0; when memory is exhausted no record is made.
 */
ZOLP_API int read_dataset_basic_data(const char* line, const char* dataset_type, int ignored,
                                     assy_entry* current);

#ifdef __cplusplus
}
#endif

#endif
