/**
 * @file
 * Relations between two objects, a primary and a secondary one.
 */
#ifndef ORK_REL_H
#define ORK_REL_H

#include "ork/ork.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Codes of the relation operations. */
enum {
  REL_not_a_relation_type = 25001, /**< the object is not a relation type */
  REL_exists = 25002               /**< the two objects are already related by this type */
};

/**
 * Finds a relation type.
 * @param[in] name its name.
 * @param[out] relation_type the type, or #NULLTAG when there is none of that name.
 * @return 0 or an error code.
 */
ORK_API int REL_find_relation_type(const char* name, tag* relation_type);

/**
 * Lists the objects that are related to an object as secondary ones, in the order in which they
 * were related.
 * @param[in] primary the primary object.
 * @param[in] relation_type the type of relation; #NULLTAG takes all types.
 * @param[out] count number of objects.
 * @param[out] secondaries the objects, freed by the caller with `MEM_free`; null when there are
 *   none.
 * @return #ORK_ok, #STORE_unknown_tag, #STORE_deleted_tag or #REL_not_a_relation_type.
 */
ORK_API int REL_list_secondary_objects_only(tag primary, tag relation_type, int* count,
                                            tag** secondaries);

/**
 * Relates two objects. The relation becomes permanent with `REL_save_relation`.
 * @param[in] primary the primary object.
 * @param[in] secondary the secondary object.
 * @param[in] relation_type the type of relation.
 * @param[in] user_data an object to keep with the relation, or #NULLTAG.
 * @param[out] relation the new relation.
 * @return #ORK_ok, #REL_exists, #REL_not_a_relation_type, #STORE_unknown_tag or
 *   #STORE_deleted_tag.
 */
ORK_API int REL_create_relation(tag primary, tag secondary, tag relation_type, tag user_data,
                                tag* relation);

/**
 * Makes a new relation permanent and gives its lock back.
 * @param[in] relation the relation.
 * @return #ORK_ok, #STORE_unknown_tag, #STORE_deleted_tag, #REL_exists or #ORK_site_not_available.
 */
ORK_API int REL_save_relation(tag relation);

/**
 * One relation, as lists of relations have it. Lists are in the order in which the relations were
 * made, and have those of this process before they are saved.
 */
typedef struct REL_record_s {
  tag relation;      /**< the relation itself */
  tag primary;       /**< its primary object */
  tag secondary;     /**< its secondary object */
  tag relation_type; /**< its type */
  tag user_data;     /**< the object kept with it, or #NULLTAG */
} REL_record_s;

/**
 * Lists the relations in which an object is the secondary one.
 * @param[in] secondary the secondary object.
 * @param[in] relation_type the type of relation; #NULLTAG takes all types.
 * @param[out] count number of relations.
 * @param[out] relations their records, freed by the caller with `MEM_free`; null for none.
 * @return 0 or an error code.
 */
ORK_API int REL_list_primary_objects(tag secondary, tag relation_type, int* count,
                                     REL_record_s** relations);

/**
 * Lists relations.
 * @param[in] primary, secondary, relation_type, user_data what a relation must have; #NULLTAG takes
 *   any.
 * @param[out] count number of relations.
 * @param[out] relations the relations, freed by the caller with `MEM_free`; null for none.
 * @return 0 or an error code.
 */
ORK_API int REL_list_relations(tag primary, tag secondary, tag relation_type, tag user_data,
                               int* count, tag** relations);

/**
 * Lists all relations in which an object is the primary or the secondary one.
 * @param[in] object the object.
 * @param[out] count number of relations.
 * @param[out] relations their records, freed by the caller with `MEM_free`; null for none.
 * @return 0 or an error code.
 */
ORK_API int REL_list_all_related_objects(tag object, int* count, REL_record_s** relations);

#ifdef __cplusplus
}
#endif

#endif
