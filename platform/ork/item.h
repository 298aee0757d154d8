/**
 * @file
 * Items and their revisions.
 */
#ifndef ORK_ITEM_H
#define ORK_ITEM_H

#include "ork/ork.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Longest id of an item or a revision, in bytes; a buffer needs one byte more. */
#define ITEM_id_size 128

/** Codes of the item operations. */
enum {
  ITEM_not_an_item = 31001,      /**< the object is not an item */
  ITEM_not_a_revision = 31002,   /**< the object is not an item revision */
  ITEM_unknown_attribute = 31003 /**< the attribute is no key attribute of items */
};

/**
 * Finds items by their key attributes.
 * @param[in] attribute_count number of attributes.
 * @param[in] names their names, for example "item_id".
 * @param[in] values the values that an item must have, one for each name.
 * @param[out] count number of items.
 * @param[out] items the items, freed by the caller with `MEM_free`; null for none.
 * @return #ORK_ok or #ITEM_unknown_attribute.
 */
ORK_API int ITEM_find_items_by_key_attributes(int attribute_count, const char** names,
                                              const char** values, int* count, tag** items);

/**
 * Finds revisions of the items that have certain key attributes.
 * @param[in] attribute_count, names, values as for `ITEM_find_items_by_key_attributes`.
 * @param[in] revision_id the revision's id.
 * @param[out] count number of revisions.
 * @param[out] revisions the revisions, freed by the caller with `MEM_free`; null for none.
 * @return #ORK_ok or #ITEM_unknown_attribute.
 */
ORK_API int ITEM_find_item_revs_by_key_attributes(int attribute_count, const char** names,
                                                  const char** values, const char* revision_id,
                                                  int* count, tag** revisions);

/**
 * Item of a revision.
 * @param[in] revision the revision.
 * @param[out] item its item.
 * @return #ORK_ok or #ITEM_not_a_revision.
 */
ORK_API int ITEM_get_item_of_rev(tag revision, tag* item);

/**
 * Id of an item.
 * @param[in] item the item.
 * @param[out] id caller's buffer of #ITEM_id_size + 1 bytes.
 * @return #ORK_ok or #ITEM_not_an_item.
 */
ORK_API int ITEM_get_id(tag item, char* id);

/**
 * Id of a revision.
 * @param[in] revision the revision.
 * @param[out] id caller's buffer of #ITEM_id_size + 1 bytes.
 * @return #ORK_ok or #ITEM_not_a_revision.
 */
ORK_API int ITEM_get_rev_id(tag revision, char* id);

/**
 * Makes an item with its first revision. They become permanent with `OBJ_save`, the item first.
 * @param[in] item_id id of the item.
 * @param[in] name name of both.
 * @param[in] type_name type of the item; null or "" takes "Item".
 * @param[in] revision_id id of the revision.
 * @param[out] item, revision the new objects; #NULLTAG on failure.
 * @return #ORK_ok, #TYPE_unknown_type or #STORE_value_too_long. An id that is taken is refused when
 *   the object is saved.
 */
ORK_API int ITEM_create_item(const char* item_id, const char* name, const char* type_name,
                             const char* revision_id, tag* item, tag* revision);

/**
 * Makes a revision of an item. It becomes permanent with `OBJ_save`.
 * @param[in] item the item.
 * @param[in] revision_id id of the revision.
 * @param[out] revision the new revision; #NULLTAG on failure.
 * @return #ORK_ok, #ITEM_not_an_item or #STORE_value_too_long.
 */
ORK_API int ITEM_create_rev(tag item, const char* revision_id, tag* revision);

/** An object that is attached to a revision, and how. */
typedef struct ITEM_attached_object_s {
  tag attachment;    /**< the object */
  tag relation_type; /**< type of the relation that attaches it */
} ITEM_attached_object_s;

/**
 * Lists what is attached to a revision: the secondary objects of its relations, in the order in
 * which they were related.
 * @param[in] revision the revision.
 * @param[out] count number of records.
 * @param[out] attachments the records, freed by the caller with `MEM_free`; null for none.
 * @return #ORK_ok or #ITEM_not_a_revision.
 */
ORK_API int ITEM_list_all_rev_attachments(tag revision, int* count,
                                          ITEM_attached_object_s** attachments);

#ifdef __cplusplus
}
#endif

#endif
