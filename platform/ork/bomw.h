/**
 * @file
 * BOM windows: a product structure as its lines, each item of it in the revision that a revision
 * rule configures.
 *
 * A window and its lines live in this process only: they are objects with a tag and a class
 * ("BOMWindow", "BOMLine"), but are never saved. A line's values are read and written with the
 * operations for objects, for example `OBJ_get_value_string`:
 *
 * | attribute | what |
 * |---|---|
 * | "bl_sequence_no" | sequence number, text; may be set |
 * | "bl_quantity" | quantity, text; may be set |
 * | "bl_item_item_id", "bl_rev_item_revision_id" | ids of item and revision, texts |
 * | "bl_item", "bl_revision" | item and configured revision, tags |
 * | "bl_occurrence", "bl_parent_bvr" | the occurrence that the line shows and its view revision,
 * tags; none for the top line |
 *
 * Lines are of one occurrence wherever its parent occurs more than once, so a value that is set on
 * one of them is seen on all. What is set goes to the view revision, which is locked for it and
 * saved with `BOMW_save_window`. A window shows a structure as it was when the line above was first
 * opened; what is added to it later is seen by the next window.
 */
#ifndef ORK_BOMW_H
#define ORK_BOMW_H

#include "ork/ork.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Codes of the window operations. */
enum {
  BOMW_not_a_window = 44001,         /**< the object is no open window */
  BOMW_not_a_line = 44002,           /**< the object is no line of an open window */
  BOMW_no_top_line = 44003,          /**< the window has no top line yet */
  BOMW_unknown_attribute = 44004,    /**< lines have no such attribute */
  BOMW_wrong_attribute_type = 44005, /**< the attribute holds values of another type */
  BOMW_not_settable = 44006          /**< the attribute cannot be set on this line */
};

/**
 * Opens a window, without a top line yet.
 * @param[out] window the window, closed by the caller with `BOMW_close_window`, or else by the end
 *   of the session.
 * @return 0 or an error code.
 */
ORK_API int BOMW_create_window(tag* window);

/**
 * Puts a structure into a window, in place of the one that it shows; the lines of that one are not
 * valid any more.
 * @param[in] window the window.
 * @param[in] revision the item revision to show.
 * @param[in] view_type which of its structures; #NULLTAG takes the site's default view type, or
 *   else "view".
 * @param[in] rule the revision rule; #NULLTAG takes the latest revision of each item.
 * @param[out] top_line the line of the revision; #NULLTAG on failure. A revision without such a
 *   structure has a line without children.
 * @return #ORK_ok, #BOMW_not_a_window, #ITEM_not_a_revision, #STRUCT_not_a_view_type,
 *   #CONFIG_not_a_rule or #ACCESS_denied without the privilege "READ" on the revision.
 */
ORK_API int BOMW_set_window_top_line(tag window, tag revision, tag view_type, tag rule,
                                     tag* top_line);

/**
 * Top line of a window.
 * @param[in] window the window.
 * @param[out] top_line the line.
 * @return #ORK_ok, #BOMW_not_a_window or #BOMW_no_top_line.
 */
ORK_API int BOMW_get_window_top_line(tag window, tag* top_line);

/**
 * Saves what was set on the window's lines, in one transaction. The locks stay.
 * @param[in] window the window.
 * @return #ORK_ok, #BOMW_not_a_window, or why a view revision cannot be saved; then none is.
 */
ORK_API int BOMW_save_window(tag window);

/**
 * Closes a window. What was not saved of the view revisions that the window has locked is dropped,
 * and their locks are given back.
 * @param[in] window the window; its tag and those of its lines are not valid any more.
 * @return #ORK_ok or #BOMW_not_a_window.
 */
ORK_API int BOMW_close_window(tag window);

/**
 * The lines right below a line, in the order of the occurrences.
 * @param[in] line the line.
 * @param[out] count number of lines, those that are packed into others not counted.
 * @param[out] children the lines, freed by the caller with `MEM_free`; null for none. Their tags
 *   stay the same as long as the window shows the structure.
 * @return #ORK_ok, #BOMW_not_a_line, #ACCESS_denied without the privilege "READ" on the view
 *   revision, or #STRUCT_contains_itself for a line whose item is also above it.
 */
ORK_API int BOMW_line_get_child_lines(tag line, int* count, tag** children);

/**
 * Finds an attribute of lines.
 * @param[in] name its name.
 * @param[out] attribute number of the attribute, good for all lines until the session ends; 0 on
 *   failure.
 * @return #ORK_ok or #BOMW_unknown_attribute.
 */
ORK_API int BOMW_line_look_up_attribute(const char* name, int* attribute);

/**
 * Value of a line's attribute that refers to an object.
 * @param[in] line the line.
 * @param[in] attribute number of the attribute.
 * @param[out] value the object; #NULLTAG when there is none, as where a rule configures no
 * revision.
 * @return #ORK_ok, #BOMW_not_a_line, #BOMW_unknown_attribute or #BOMW_wrong_attribute_type.
 */
ORK_API int BOMW_line_get_attribute_tag(tag line, int attribute, tag* value);

/**
 * Packs a line: the lines under the same parent that show the same revision of the same item with
 * the same sequence number are hidden, and it shows the sum of their quantities. Nothing of it is
 * saved. A sequence number that is set on it goes to all of them; a quantity cannot be set. A line
 * that is hidden itself stays as it is.
 * @param[in] line the line.
 * @return #ORK_ok or #BOMW_not_a_line.
 */
ORK_API int BOMW_line_pack(tag line);

#ifdef __cplusplus
}
#endif

#endif
