/**
 * @file
 * Product structures: lines of BOM windows, their numbers and quantities, walks over whole
 * structures; and, for C++ only, view types and occurrences.
 *
 * @code
 * int number_by_tens(tag top_line) {
 *   int first = 10;
 *   int increment = 10;
 *   return ZOLP_resequence_bom(top_line, &first, &increment, 1, 0, 0, 0, 0);
 * }
 * @endcode
 */
#ifndef ZOLP_ORKTOOL_STRUCTURE_H
#define ZOLP_ORKTOOL_STRUCTURE_H

#include "ork/mem.h"
#include "ork/ork.h"
#include "zolp_orktool/api.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ------------------------------------------------------------------ BOM lines and structures -- */

/*
 * Lines are those of an open BOM window (`ork/bomw.h`). What is set on them is saved by whoever
 * opened the window.
 */

/**
 * Sequence number of a BOM line.
 * @param[in] line the line.
 * @param[out] seq_no the text, freed by the caller with `MEM_free`; null on failure.
 * @return 0 or the platform's status.
 */
ZOLP_API int ZOLP_getSequenceNo(tag line, char** seq_no);

/**
 * Sets the sequence number of a BOM line.
 * @param[in] line the line.
 * @param[in] seq_no the text.
 * @return 0 or the platform's status.
 */
ZOLP_API int ZOLP_setSequenceNo(tag line, const char* seq_no);

/**
 * Quantity of a BOM line.
 * @param[in] line the line.
 * @param[out] quantity the text, freed by the caller with `MEM_free`; null on failure.
 * @return 0 or the platform's status.
 */
ZOLP_API int ZOLP_getQuantity(tag line, char** quantity);

/**
 * Sets the quantity of a BOM line.
 * @param[in] line the line.
 * @param[in] quantity the text.
 * @return 0 or the platform's status.
 */
ZOLP_API int ZOLP_setQuantity(tag line, const char* quantity);

/**
 * Item revision of a BOM line.
 * @param[in] line the line.
 * @param[out] item_rev the revision; 0 on failure, and where none is configured.
 * @return 0 or the platform's status.
 */
ZOLP_API int ZOLP_get_bomline_revtag(tag line, tag* item_rev);

/**
 * Item of a BOM line.
 * @param[in] line the line.
 * @param[out] item the item; 0 on failure.
 * @return 0 or the platform's status.
 */
ZOLP_API int ZOLP_get_bomline_itemtag(tag line, tag* item);

/**
 * Ids of a BOM line's item and revision.
 * @param[in] line the line.
 * @param[out] item_id, rev_id the ids, freed by the caller with `MEM_free`; null on failure.
 * @return the status of reading the revision's id.
 */
ZOLP_API int ZOLP_get_bomline_item_and_rev(tag line, char** item_id, char** rev_id);

/**
 * Numbers the lines below a BOM line. Lines of one revision share a number; each further revision
 * takes the next one. A pass takes three platform operations for a line that gets a number of its
 * own and five for one that shares one: its revision is read once, in two of them.
 * @param[in] line the line.
 * @param[in] current_seq first number; it is not written back.
 * @param[in] increment distance between two numbers.
 * @param[in] recursive 1 numbers the lines below the children too. Each child's children begin with
 *   the number that follows those of this line.
 * @param[in] max_depth how many lines, counted over the whole walk, may have their children
 *   numbered further down; 0 for any number of them.
 * @param[in,out] depth counts these lines, up from what the caller sets; may be null where
 *   `max_depth` is 0.
 * @param[in] not_desired lines that keep their numbers. For each of them there is one pass over the
 *   children that passes over this line only, and the numbers run on from pass to pass: with
 *   several of them, the last pass counts.
 * @param[in] not_desired_count their number.
 * @return 0, also when children cannot be read, or numbers cannot be read or set: such failures
 * show in the trace and on the platform's error stack alone. 1 when memory is exhausted.
 */
ZOLP_API int ZOLP_resequence_bom(tag line, int* current_seq, int* increment, logical recursive,
                                 int max_depth, int* depth, tag* not_desired,
                                 int not_desired_count);

/**
 * Packs the lines below a BOM line: lines that are equal become one.
 * @param[in] line the line.
 * @param[in] recursive 1 packs the lines below the children too.
 * @return 0 or the platform's status, which ends it.
 */
ZOLP_API int ZOLP_pack_bom(tag line, logical recursive);

/**
 * Walks a structure for its depth.
 * @param[in] line the line to begin with.
 * @param[in] level its level.
 * @param[in,out] max_depth set to level + 1 in the end, whatever lies deeper.
 * @return always 0; children that cannot be read show in the trace.
 */
ZOLP_API int ZOLP_get_max_depth_of_ps(tag line, int level, int* max_depth);

/**
 * Counts the lines of a structure.
 * @param[in] line the line to begin with; it is counted too.
 * @param[in] limit how many descents to a child the whole walk may make; 0 for any number of them.
 * @param[in,out] counter counts the descents, up from what the caller sets; may be null where
 *   `limit` is 0. The same holds for the other walks.
 * @param[in,out] size the number of lines is added to it.
 * @return 0, or the platform's status when the children of this very line cannot be read. Where
 *   those of a line further down cannot be read, its later siblings are not counted either, and the
 *   status is 0 all the same. Failures are printed to standard output too.
 */
ZOLP_API int ZOLP_getSizeOfPS(tag line, int limit, int* counter, int* size);

/**
 * Collects the lines below a BOM line, except some. The lines below an excluded one are collected.
 * The list is searched for each line that is added.
 * @param[in] line the line.
 * @param[in,out] counter, limit as for `ZOLP_getSizeOfPS`.
 * @param[in] exclude_count, exclude the lines to leave out.
 * @param[in,out] out_count, out_array the lines, appended to an array as `ZOLP_addElement` does.
 * @return 0, the platform's status, or 1 when memory is exhausted.
 */
ZOLP_API int ZOLP_excludeListFromBom(tag line, int* counter, int limit, int exclude_count,
                                     tag* exclude, int* out_count, tag** out_array);

/**
 * Asks whether the revision of a BOM line is also that of a line right below another one.
 * @param[in] line the line with the revision.
 * @param[in] top_line the other line. The lines further down are walked, but do not count.
 * @param[out] found 1 if so, otherwise 0.
 * @return always 0.
 */
ZOLP_API int ZOLP_existObjectInBom(tag line, tag top_line, logical* found);

/**
 * Collects the sequence numbers of the lines below a BOM line.
 * @param[in] line the line.
 * @param[in] limit, counter as for `ZOLP_getSizeOfPS`.
 * @param[in,out] count, list the numbers, appended to an array as `ZOLP_addElement` does, each
 * once.
 * @return 0, the platform's status, or 1 for a line without a number other than 0, which ends the
 *   walk, and when memory is exhausted.
 */
ZOLP_API int ZOLP_getSeqNoListOfBom(tag line, int limit, int* counter, int* count, tag** list);

/**
 * Finds a number that is not in a list. Needs no session.
 * @param[in,out] seq_no the number to begin with; the increment is added until it is not in the
 *   list.
 * @param[in] increment the increment.
 * @param[in] count, list the numbers in use.
 * @return 0, or 1 when all numbers that the increment leads to are in use.
 */
ZOLP_API int ZOLP_getUnusedSeqNo(int* seq_no, int increment, int count, tag* list);

/**
 * Collects objects of a structure. A line contributes when it has lines below it, so the leaves do
 * not.
 * @param[in] line the line to begin with.
 * @param[in] class_name "Item" for the items of lines, "ItemRevision" for their revisions,
 * "Dataset" for all datasets that are attached to these; any other name for none.
 * @param[in] reserved, reserved2 passed on.
 * @param[in,out] count, list the objects, appended to an array as `ZOLP_addElement` does, each
 * once.
 * @return 0, 1 for a null line, or the status of a failure on this very line; failures to read a
 *   line's object are printed to standard output too. Also 0 when memory is exhausted or the
 * platform cannot tell whether an object exists: such objects are missing from the list.
 */
ZOLP_API int ZOLP_exportObjectsFromBom(tag line, const char* class_name, void* reserved,
                                       int reserved2, int* count, tag** list);

#ifdef __cplusplus
}

/* ---------------------------------------------------------------- view types and occurrences -- */

/**
 * Asks whether a BOM view is of a view type.
 * @param[in] bv_or_bvr a BOM view, or a BOM view revision, whose view counts.
 * @param[in] view_type the view type.
 * @param[out] verdict true if so; false for a null object or type and after any failure.
 * @return 0 or the status of the last platform operation.
 */
ZOLP_API int ZOLP_IsViewOfType(tag bv_or_bvr, tag view_type, bool* verdict);

/**
 * The same for a view type by name.
 * @param[in] bv_or_bvr as above.
 * @param[in] view_type_name name of the view type; null takes the site's default view type, or else
 *   the type "view".
 * @param[out] verdict as above.
 * @return the status of a failed lookup of the type, or as above.
 */
ZOLP_API int ZOLP_IsViewOfType(tag bv_or_bvr, const char* view_type_name, bool* verdict);

/**
 * Item and revision that the child of an occurrence stands for.
 * @param[in] occ_obj the child: an item, or an item revision, which no rule changes.
 * @param[in] rev_rule the revision rule for an item.
 * @param[out] item the item.
 * @param[out] item_rev the given revision, or the one that the rule configures; 0 when it
 * configures none. Both are left alone after a failure that comes before they are known.
 * @param[out] type_name name of the child's type, freed by the caller with `MEM_free`; null when
 *   memory is exhausted.
 * @return 0, the platform's status, or 2010 (also on the error stack) for an item without a rule
 * and for any other object.
 */
ZOLP_API int ZOLP_GetItemAndRevFromOccObj(tag occ_obj, tag rev_rule, tag* item, tag* item_rev,
                                          char** type_name);

/**
 * Item and revision that the child of an occurrence stands for, with a revision rule by its name.
 * @param[in] occ_obj the child: an item, or an item revision, which no rule changes.
 * @param[in] rev_rule_name name of the revision rule for an item. An unknown name puts 710041 on
 *   the error stack and counts as no rule.
 * @param[out] item, item_rev, type_name as for the function above.
 * @return as the function above.
 */
ZOLP_API int ZOLP_GetItemAndRevFromOccObj(tag occ_obj, const char* rev_rule_name, tag* item,
                                          tag* item_rev, char** type_name);

/**
 * Item that the child of an occurrence stands for.
 * @param[in] occ_obj the child.
 * @param[out] item the item; left alone for an object that is no item and no revision.
 * @param[out] type_name as for `ZOLP_GetItemAndRevFromOccObj`.
 * @return the status of the last platform operation.
 */
ZOLP_API int ZOLP_GetItemFromOccObj(tag occ_obj, tag* item, char** type_name);

/**
 * Sequence number of an occurrence.
 * @param[in] bvr the BOM view revision.
 * @param[in] occ the occurrence.
 * @param[out] seq_no the text, freed by the caller with `MEM_free`; null on failure and when the
 *   occurrence has no number, which is no failure.
 * @return 0 or the platform's status.
 */
ZOLP_API int GetSeqNo(tag bvr, tag occ, char** seq_no);

/**
 * Text of an occurrence's note.
 * @param[in] bvr the BOM view revision.
 * @param[in] occ the occurrence.
 * @param[in] note_type name of the note's type; case counts.
 * @param[in,out] notes, note_count the occurrence's notes. They are listed when `*notes` is null;
 *   keep them for further calls on the same occurrence, and free them with `MEM_free`.
 * @param[out] value text of the first note of this type, freed by the caller with `MEM_free`; null
 *   when there is none.
 * @return 0 or the platform's status.
 */
ZOLP_API int ZOLP_GetOccNoteText(tag bvr, tag occ, const char* note_type, tag** notes,
                                 int* note_count, char** value);

#endif

#endif
