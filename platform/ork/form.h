/**
 * @file
 * Forms: objects whose fields users fill. The fields of a form type are the attributes of the class
 * of its forms; they are read and set with `OBJ_UIF_get_value` and `OBJ_UIF_set_value`.
 */
#ifndef ORK_FORM_H
#define ORK_FORM_H

#include "ork/ork.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Codes of the form operations. */
enum {
  FORM_not_a_form = 34001, /**< the object is not a form */
  FORM_wrong_type = 34002  /**< the form is of another type */
};

/**
 * Makes a form. It becomes permanent with `OBJ_save`.
 * @param[in] name its name.
 * @param[in] description its description; null for none.
 * @param[in] type name of its type.
 * @param[out] form the new form; #NULLTAG on failure.
 * @return #ORK_ok, #TYPE_unknown_type or #STORE_value_too_long.
 */
ORK_API int FORM_create(const char* name, const char* description, const char* type, tag* form);

/**
 * Gives a form that this process has made its name, and its fields their initial values (none).
 * @param[in] form the form.
 * @param[in] name its name.
 * @param[in] description its description; null leaves it.
 * @param[in] type name of its type.
 * @return #ORK_ok, #FORM_not_a_form, #FORM_wrong_type, #STORE_not_locked or
 *   #STORE_value_too_long.
 */
ORK_API int FORM_initialize(tag form, const char* name, const char* description, const char* type);

/**
 * Fields of a form, in the order in which its type defines them.
 * @param[in] form the form.
 * @param[out] count number of fields.
 * @param[out] names their names in one block, freed by the caller with one `MEM_free`; null for
 *   none.
 * @return #ORK_ok or #FORM_not_a_form.
 */
ORK_API int FORM_list_fields(tag form, int* count, char*** names);

#ifdef __cplusplus
}
#endif

#endif
