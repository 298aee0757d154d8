/**
 * @file
 * The files that start a CAD clone run: the clone log's head, the batch file, and the clone entries
 * from the site's templates.
 *
 * @code
 * int prepare(const char* list, FILE* entries) {
 *   assy_entry* last = 0;
 *   assy_entry* top;
 *   int status = ZOLP_create_clonelogheader(list, "clone.log", "VPD_clone_header");
 *   if (status == 0) {
 *     status = ZOLP_read_assylist(list, &last);
 *   }
 *   for (top = last; top != 0 && (top->parent != 0 || top->prev != 0);) {
 *     top = top->prev != 0 ? top->prev : top->parent;
 *   }
 *   if (status == 0 && top != 0) {
 *     status = ZOLP_write_startbat("clone.bat", top);
 *   }
 *   return status == 0 ? ZOLP_write_assylist(entries, top) : status;
 * }
 * @endcode
 */
#ifndef ZOLP_ORKTOOL_CLONE_RUNS_H
#define ZOLP_ORKTOOL_CLONE_RUNS_H

#include <stdio.h>

#include "ork/file.h"
#include "ork/ork.h"
#include "zolp_orktool/api.h"
#include "zolp_orktool/release_lists.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Fixes the column positions for the list functions and writes the head of the clone log from the
 * header template. Reads the preferences "FLColumnCatIVFSeparatorPref", "WsoInsertNoSelectionsPref"
 * and the one named by the caller.
 * @param[in] release_list_file path of the release list, which must be writable; its first item
 * line names the top assembly.
 * @param[in] out_file path of the clone log; an existing file is replaced.
 * @param[in] header_pref preference that holds the path of the header template, which must be
 *   writable.
 * @return 0; 1 when a file cannot be opened, read or written to its end, when the clone log is one
 *   of the other files, when the list has no item line or its first one no separator, or when a
 *   template line would not fit its buffer of 500 bytes; or the platform's status.
 */
ZOLP_API int ZOLP_create_clonelogheader(const char* release_list_file, const char* out_file,
                                        const char* header_pref);

/**
 * Writes one line to the clone log for each object that is related to an item revision.
 * @param[in] item_rev the item revision.
 * @param[in] relation_type_name name of the relation type; one that the site does not have takes
 *   the objects of all types.
 * @param[in] prefix text in front of each object's id in the column "Tarn Info", which shows 32
 *   bytes of both.
 * @param[in] log address of the open clone log, a text file of the platform.
 * @return the status of the last platform operation.
 */
ZOLP_API int ZOLP_write_info_about_relation(tag item_rev, const char* relation_type_name,
                                            const char* prefix, FILE_handle* log);

/**
 * Writes the batch file that starts the clone program. Reads the preferences "ZOLP_qnversion",
 * "ZOLP_qnclone_prg", "ZOLP_clonelogfile", "ZOLP_precloneactionfile" and
 * "ZOLP_postcloneactionsfile".
 * @param[in] batch_file path of the batch file; an existing file is replaced.
 * @param[in] top record of the top assembly.
 * @return 0; 1 when there is no record, when a file cannot be opened, read or written to its end,
 * or when the batch file is one of the others; or the platform's status. A CAD version other than
 * v15 or v16 leaves an empty batch file.
 */
ZOLP_API int ZOLP_write_startbat(const char* batch_file, assy_entry* top);

/**
 * Writes the entry of an item that the clone keeps, from a line template.
 * @param[in] out address of the open output stream.
 * @param[in] item_id, item_rev values for the placeholders "%%ITEM_ID%%" and "%%ITEM_REV%%".
 * @param[in] template_pref preference that holds the path of the template, which must be writable.
 * @return 0; 1 when there is no stream or it cannot be written, when the template cannot be opened
 * or read to its end, or when a line would not fit its buffer of 500 bytes; or the platform's
 * status. The same holds for the other writers of entries.
 */
ZOLP_API int ZOLP_write_item(FILE** out, const char* item_id, const char* item_rev,
                             const char* template_pref);

/**
 * Writes the entry of an item that is cloned. Placeholders: "%%ITEM_ID%%", "%%ITEM_REV%%",
 * "%%NEW_REV%%", "%%NEW_ID%%", "%%NEW_NAME%%".
 * @param[in] out address of the open output stream.
 * @param[in] item_id, item_rev the item and its revision.
 * @param[in] new_item_id, new_item_rev, new_name what they become.
 * @param[in] template_pref preference that holds the path of the template, which must be writable.
 * @return as `ZOLP_write_item`.
 */
ZOLP_API int ZOLP_write_replace_and_cloneitem(FILE** out, const char* item_id, const char* item_rev,
                                              const char* new_item_id, const char* new_item_rev,
                                              const char* new_name, const char* template_pref);

/**
 * Writes the entry of a dataset that the clone keeps, from the template that the preference
 * "VPD_retain_datasettemplate" names. Placeholders: "%%ITEM_ID%%", "%%ITEM_REV%%",
 * "%%RELATIONNAME%%", and "%%QNPARTNAME%%" for the part name.
 * @param[in] out address of the open output stream.
 * @param[in] item_id, item_rev the item and its revision.
 * @param[in] relation_name how the dataset is related to the revision.
 * @param[in] part_name the part name.
 * @return as `ZOLP_write_item`.
 */
ZOLP_API int ZOLP_write_retaindataset(FILE** out, const char* item_id, const char* item_rev,
                                      const char* relation_name, const char* part_name);

/**
 * Writes the entry of a dataset that is cloned, from the template that the preference
 * "VPD_clone_datasettemplate" names. Placeholders: "%%ITEM_ID%%", "%%ITEM_REV%%", "%%RELATION%%",
 * "%%DATASET_NAME%%", "%%NEW_NAME%%" (twice in a line), "%%NEW_REV%%", "%%NEW_ID%%".
 * @param[in] out address of the open output stream.
 * @param[in] item_id, item_rev the item and its revision.
 * @param[in] dataset_name name of the dataset.
 * @param[in] relation how it is related to the revision.
 * @param[in] new_item_id, new_item_rev, new_name what item, revision and dataset become.
 * @return as `ZOLP_write_item`.
 */
ZOLP_API int ZOLP_write_clonedataset(FILE** out, const char* item_id, const char* item_rev,
                                     const char* dataset_name, const char* relation,
                                     const char* new_item_id, const char* new_item_rev,
                                     const char* new_name);

/**
 * Writes the clone entries of an assembly tree: an entry for each item record, from the templates
 * that the preferences "VPD_clone_itemtemplate" and "VPD_retain_itemtemplate" name; none for
 * datasets. Children come right after their parent.
 * @param[in] out open output stream.
 * @param[in] entry the record to begin with; its children and its later siblings follow.
 * @return 0, or the status of the first entry that could not be written, which ends the walk.
 */
ZOLP_API int ZOLP_write_assylist(FILE* out, assy_entry* entry);

#ifdef __cplusplus
}
#endif

#endif
