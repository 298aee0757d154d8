/**
 * @file
 * Types: the business types of objects, each with a class to store them.
 */
#ifndef ORK_TYPE_H
#define ORK_TYPE_H

#include "ork/ork.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Longest name of a type, in bytes; a buffer needs one byte more. */
#define TYPE_name_size 32

/** Codes of the type operations. */
enum {
  TYPE_unknown_type = 30001, /**< there is no such type */
  TYPE_not_a_type = 30002    /**< the object is not a type */
};

/**
 * Finds a type.
 * @param[in] name its name.
 * @param[in] class_name the class that its objects are stored in; null takes any.
 * @param[out] type the type; #NULLTAG on failure.
 * @return #ORK_ok or #TYPE_unknown_type.
 */
ORK_API int TYPE_find_type(const char* name, const char* class_name, tag* type);

/**
 * Type of an object.
 * @param[in] object the object.
 * @param[out] type its type; that of a relation is its relation type.
 * @return #ORK_ok, or #TYPE_unknown_type for objects that have none, such as users and groups.
 */
ORK_API int TYPE_get_object_type(tag object, tag* type);

/**
 * Asks whether a type is, or descends from, another one.
 * @param[in] type the type.
 * @param[in] ancestor the type that may be above.
 * @param[out] verdict 1 if so.
 * @return 0 or an error code.
 */
ORK_API int TYPE_is_type_of(tag type, tag ancestor, logical* verdict);

/**
 * Name of a type.
 * @param[in] type the type.
 * @param[out] name the name, freed by the caller with `MEM_free`.
 * @return #ORK_ok or #TYPE_not_a_type.
 */
ORK_API int TYPE_get_name2(tag type, char** name);

/**
 * Name of the class that the objects of a type are stored in.
 * @param[in] type the type.
 * @param[out] name caller's buffer of #TYPE_name_size + 1 bytes; "" for types of relations.
 * @return #ORK_ok or #TYPE_not_a_type.
 */
ORK_API int TYPE_get_class_name(tag type, char* name);

#ifdef __cplusplus
}
#endif

#endif
