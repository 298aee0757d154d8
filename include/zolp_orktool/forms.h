/**
 * @file
 * Forms and their fields, with values as users see them.
 *
 * @code
 * int title_of(tag revision, char* title, int size) {
 *   tag form;
 *   int length;
 *   int status = ZOLP_GetMasterForm(revision, &form);
 *   if (status == ORK_ok) {
 *     status = ZOLP_FORM_ask_value(form, "title", size - 1, title, &length);
 *   }
 *   return status;
 * }
 * @endcode
 */
#ifndef ZOLP_ORKTOOL_FORMS_H
#define ZOLP_ORKTOOL_FORMS_H

#include "ork/mem.h"
#include "ork/ork.h"
#include "zolp_orktool/api.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Makes a form, saved and still locked.
 * @param[in] form_name name of the form.
 * @param[in] form_type name of its type.
 * @param[in] description its description.
 * @param[out] form the new form.
 * @return 0 or the status of the platform call that failed; nothing made is deleted.
 */
ZOLP_API int ZOLP_createForm(const char* form_name, const char* form_type, const char* description,
                             tag* form);

/**
 * Reads the 13 fields of a release-information form: "UrRevision", and person and date of each
 * release step. A field that cannot be read is empty, and the others are read all the same.
 * @param[in] form the form.
 * @param[out] form_type_name always "FreigabeInfo".
 * @param[out] field_count always 13.
 * @param[out] field_names names of the fields.
 * @param[out] field_display_names the same names.
 * @param[out] field_lengths lengths of the values, in bytes.
 * @param[out] field_values the values as users see them, at most 4000 bytes each.
 *   The name, each array and each text in one are freed by the caller with `MEM_free`.
 * @return the status of the last field, or 1 when memory is exhausted, which leaves null and 0.
 */
ZOLP_API int ZOLP_FORM_describe(tag form, char** form_type_name, int* field_count,
                                char*** field_names, char*** field_display_names,
                                int** field_lengths, char*** field_values);

/**
 * Master form of an item or item revision.
 * @param[in] tagObj the object.
 * @param[out] form the form; #NULLTAG on failure.
 * @return 0, the platform's status, or 919999 when the object has not exactly one master form or
 *   the site has no such relation; that code stands in the trace only. The relation type is looked
 *   up once per process.
 */
ZOLP_API int ZOLP_GetMasterForm(tag tagObj, tag* form);

/**
 * Form that a dataset holds under a named reference; made if need be, both then saved. Unsaved
 * changes of the dataset are dropped. A form that is made is left unlocked, and so is the
 * dataset.
 * @param[in] tagObj the dataset.
 * @param[in] cNamedRef name of the reference, and of a form that is made.
 * @param[out] ptagForm the form; #NULLTAG when there is none. One that was made stays here when a
 *   later step fails.
 * @param[in] create 1 makes a form where there is none.
 * @param[in] cFormType type of a form that is made; null or "" takes `cNamedRef`.
 * @return 0, also when there is no form and none was wanted, or the platform's status.
 */
ZOLP_API int ZOLP_GetNamedRefForm(tag tagObj, const char* cNamedRef, tag* ptagForm, logical create,
                                  const char* cFormType);

/**
 * Value of a form field as users see it.
 * @param[in] form the form.
 * @param[in] field_name name of the field.
 * @param[in] len number of bytes to copy at most; a longer value is cut.
 * @param[out] value caller's buffer of `len` + 1 bytes; empty on failure.
 * @param[out] actual_chars length of what was copied; 0 on failure.
 * @return 0 or the platform's status.
 */
ZOLP_API int ZOLP_FORM_ask_value(tag form, const char* field_name, int len, char* value,
                                 int* actual_chars);

/**
 * Sets a form field from a text as users write it. The caller locks the form before and saves it
 * afterwards.
 * @param[in] form the form.
 * @param[in] field_name name of the field.
 * @param[in] field_value the text.
 * @return 0 or the platform's status, for example for a text that is no value of the field.
 */
ZOLP_API int ZOLP_FORM_set_value(tag form, const char* field_name, const char* field_value);

#ifdef __cplusplus
}
#endif

#endif
