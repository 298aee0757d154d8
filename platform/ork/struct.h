/**
 * @file
 * Product structures as they are stored. An item has one BOM view for each view type in use; a
 * revision of the item has its own revision of that view, which lists the occurrences: what the
 * revision is made of, how many of each, and in which place of the list.
 *
 * An occurrence is a part of its view revision: it is changed with the view revision's lock, and is
 * saved and refreshed with it (`OBJ_lock`, `OBJ_save`, `OBJ_refresh`). Its tag is valid as long as
 * the session and the occurrence last.
 */
#ifndef ORK_STRUCT_H
#define ORK_STRUCT_H

#include "ork/ork.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Codes of the structure operations. */
enum {
  STRUCT_unknown_view_type = 43001,    /**< there is no such view type */
  STRUCT_not_a_view_type = 43002,      /**< the object is not a view type */
  STRUCT_not_a_view = 43003,           /**< the object is not a BOM view */
  STRUCT_not_a_view_revision = 43004,  /**< the object is not a BOM view revision */
  STRUCT_not_an_occurrence = 43005,    /**< the object is no occurrence of the view revision */
  STRUCT_not_a_child = 43006,          /**< a child is an item or an item revision */
  STRUCT_other_item = 43007,           /**< view and revision are of two items */
  STRUCT_view_exists = 43008,          /**< the item already has a view of this type */
  STRUCT_view_revision_exists = 43009, /**< the revision already has a revision of this view */
  STRUCT_contains_itself = 43010,      /**< an item would be a part of itself */
  STRUCT_bad_quantity = 43011,         /**< a quantity is a number that is not negative */
  STRUCT_text_too_long = 43012,        /**< the text is longer than structures keep */
  STRUCT_unknown_note_type = 43013,    /**< there is no such note type */
  STRUCT_not_a_note_type = 43014,      /**< the object is not a note type */
  STRUCT_no_such_note = 43015,         /**< the occurrence has no note of this type */
  STRUCT_no_sequence_number = 43023    /**< the occurrence has no sequence number */
};

/** Longest quantity, in bytes. */
#define STRUCT_quantity_size 32
/** Longest sequence number, in bytes. */
#define STRUCT_sequence_size 32
/** Longest note, in bytes. */
#define STRUCT_note_size 1024

/* ---------------------------------------------------------------------------- view types -- */

/**
 * Finds a view type.
 * @param[in] name its name, for example "view", which each site has.
 * @param[out] view_type the type; #NULLTAG on failure.
 * @return #ORK_ok or #STRUCT_unknown_view_type.
 */
ORK_API int STRUCT_find_view_type(const char* name, tag* view_type);

/**
 * The site's default view type.
 * @param[out] view_type the type, or #NULLTAG when the site names none.
 * @return 0 or an error code.
 */
ORK_API int STRUCT_get_default_view_type(tag* view_type);

/* ----------------------------------------------------------------- views and their revisions -- */

/**
 * Makes a BOM view. It becomes permanent with `OBJ_save`.
 * @param[in] item the item whose structures it is for.
 * @param[in] view_type its type.
 * @param[out] view the new view; #NULLTAG on failure.
 * @return #ORK_ok, #ITEM_not_an_item or #STRUCT_not_a_view_type. A second view of a type is refused
 *   with #STRUCT_view_exists when it is saved.
 */
ORK_API int STRUCT_create_bom_view(tag item, tag view_type, tag* view);

/**
 * Lists the saved BOM views of an item.
 * @param[in] item the item.
 * @param[out] count number of views.
 * @param[out] views the views, freed by the caller with `MEM_free`; null for none.
 * @return #ORK_ok or #ITEM_not_an_item.
 */
ORK_API int STRUCT_list_bom_views(tag item, int* count, tag** views);

/**
 * Type of a BOM view.
 * @param[in] view the view.
 * @param[out] view_type its type.
 * @return #ORK_ok or #STRUCT_not_a_view.
 */
ORK_API int STRUCT_get_bom_view_type(tag view, tag* view_type);

/**
 * Makes a revision of a BOM view, without occurrences. It becomes permanent with `OBJ_save`.
 * @param[in] view the view.
 * @param[in] revision the item revision whose structure it holds.
 * @param[out] view_revision the new view revision; #NULLTAG on failure.
 * @return #ORK_ok, #STRUCT_not_a_view, #ITEM_not_a_revision or #STRUCT_other_item. A second one is
 *   refused with #STRUCT_view_revision_exists when it is saved.
 */
ORK_API int STRUCT_create_bom_view_revision(tag view, tag revision, tag* view_revision);

/**
 * Lists the saved BOM view revisions of an item revision.
 * @param[in] revision the item revision.
 * @param[out] count number of view revisions.
 * @param[out] view_revisions the view revisions, freed by the caller with `MEM_free`; null for
 * none.
 * @return #ORK_ok or #ITEM_not_a_revision.
 */
ORK_API int STRUCT_list_bom_view_revisions(tag revision, int* count, tag** view_revisions);

/**
 * The BOM view that a view revision belongs to.
 * @param[in] view_revision the view revision.
 * @param[out] view its view.
 * @return #ORK_ok or #STRUCT_not_a_view_revision.
 */
ORK_API int STRUCT_get_bom_view_of_bvr(tag view_revision, tag* view);

/* ----------------------------------------------------------------------------- occurrences -- */

/**
 * Adds an occurrence at the end of a view revision, with an empty quantity, which counts as 1, and
 * without a sequence number.
 * @param[in] view_revision the view revision, which this process has locked or made.
 * @param[in] child what occurs: an item, of which revision rules choose a revision, or a revision,
 *   which they leave alone.
 * @param[out] occurrence the new occurrence; #NULLTAG on failure.
 * @return #ORK_ok, #STRUCT_not_a_view_revision, #STRUCT_not_a_child, #STORE_not_locked, or
 *   #STRUCT_contains_itself when the item of the view is a part of the child, in whatever revision.
 */
ORK_API int STRUCT_create_occurrence(tag view_revision, tag child, tag* occurrence);

/**
 * Takes an occurrence out of a view revision, with its notes.
 * @param[in] view_revision the view revision, which this process has locked or made.
 * @param[in] occurrence the occurrence, whose tag is not valid any more after it.
 * @return #ORK_ok, #STRUCT_not_a_view_revision, #STRUCT_not_an_occurrence or #STORE_not_locked.
 */
ORK_API int STRUCT_delete_occurrence(tag view_revision, tag occurrence);

/**
 * Lists the occurrences of a view revision in their order.
 * @param[in] view_revision the view revision.
 * @param[out] count number of occurrences.
 * @param[out] occurrences the occurrences, freed by the caller with `MEM_free`; null for none.
 * @return #ORK_ok or #STRUCT_not_a_view_revision.
 */
ORK_API int STRUCT_list_occurrences(tag view_revision, int* count, tag** occurrences);

/**
 * What occurs.
 * @param[in] view_revision the view revision.
 * @param[in] occurrence one of its occurrences.
 * @param[out] child the item or the item revision that the occurrence was made with.
 * @return #ORK_ok, #STRUCT_not_a_view_revision or #STRUCT_not_an_occurrence; the same holds for the
 *   other operations on occurrences.
 */
ORK_API int STRUCT_get_child(tag view_revision, tag occurrence, tag* child);

/**
 * Sequence number of an occurrence.
 * @param[in] view_revision, occurrence as for `STRUCT_get_child`.
 * @param[out] sequence_number the text, freed by the caller with `MEM_free`; null on failure.
 * @return as `STRUCT_get_child`, or #STRUCT_no_sequence_number.
 */
ORK_API int STRUCT_get_seq_no(tag view_revision, tag occurrence, char** sequence_number);

/**
 * Sets the sequence number of an occurrence.
 * @param[in] view_revision, occurrence as for `STRUCT_get_child`; needs the view revision's lock.
 * @param[in] sequence_number the text; "" takes the number away.
 * @return as `STRUCT_get_child`, #STRUCT_text_too_long or #STORE_not_locked.
 */
ORK_API int STRUCT_set_seq_no(tag view_revision, tag occurrence, const char* sequence_number);

/**
 * Quantity of an occurrence.
 * @param[in] view_revision, occurrence as for `STRUCT_get_child`.
 * @param[out] quantity the text, freed by the caller with `MEM_free`; "" counts as 1.
 * @return 0 or an error code.
 */
ORK_API int STRUCT_get_quantity(tag view_revision, tag occurrence, char** quantity);

/**
 * Sets the quantity of an occurrence.
 * @param[in] view_revision, occurrence as for `STRUCT_get_child`; needs the view revision's lock.
 * @param[in] quantity a decimal number such as "2" or "0.75", or "".
 * @return as `STRUCT_get_child`, #STRUCT_bad_quantity, #STRUCT_text_too_long or #STORE_not_locked.
 */
ORK_API int STRUCT_set_quantity(tag view_revision, tag occurrence, const char* quantity);

/* ----------------------------------------------------------------------------------- notes -- */

/**
 * Finds a note type.
 * @param[in] name its name; case counts.
 * @param[out] note_type the type; #NULLTAG on failure.
 * @return #ORK_ok or #STRUCT_unknown_note_type.
 */
ORK_API int STRUCT_find_note_type(const char* name, tag* note_type);

/**
 * Name of a note's type.
 * @param[in] note_type a note type, for example out of `STRUCT_list_occurrence_notes`.
 * @param[out] name its name, freed by the caller with `MEM_free`; null on failure.
 * @return #ORK_ok or #STRUCT_not_a_note_type.
 */
ORK_API int STRUCT_get_note_type_name(tag note_type, char** name);

/**
 * Lists the notes of an occurrence in the order in which they were made. It has one of each type at
 * most, so a note is known by its type.
 * @param[in] view_revision, occurrence as for `STRUCT_get_child`.
 * @param[out] count number of notes.
 * @param[out] notes their types, freed by the caller with `MEM_free`; null for none.
 * @return 0 or an error code.
 */
ORK_API int STRUCT_list_occurrence_notes(tag view_revision, tag occurrence, int* count,
                                         tag** notes);

/**
 * Text of a note.
 * @param[in] view_revision, occurrence as for `STRUCT_get_child`.
 * @param[in] note the note's type.
 * @param[out] text the text, freed by the caller with `MEM_free`; null on failure.
 * @return as `STRUCT_get_child`, or #STRUCT_no_such_note.
 */
ORK_API int STRUCT_get_occurrence_note_text(tag view_revision, tag occurrence, tag note,
                                            char** text);

/**
 * Writes a note, in place of the one of its type if there is one.
 * @param[in] view_revision, occurrence as for `STRUCT_get_child`; needs the view revision's lock.
 * @param[in] note_type type of the note.
 * @param[in] text the text; "" takes the note away.
 * @return as `STRUCT_get_child`, #STRUCT_not_a_note_type, #STRUCT_text_too_long or
 *   #STORE_not_locked.
 */
ORK_API int STRUCT_set_occurrence_note_text(tag view_revision, tag occurrence, tag note_type,
                                            const char* text);

#ifdef __cplusplus
}
#endif

#endif
