/**
 * @file
 * Preferences: named settings of the site, each with any number of values.
 *
 * A session reads the preferences once, at their first use; what another process
 * changes later is seen by the next session.
 */
#ifndef ORK_PREF_H
#define ORK_PREF_H

#include "ork/ork.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Scopes in which a preference can be set. */
enum { PREF_SCOPE_USER = 1, PREF_SCOPE_ROLE = 2, PREF_SCOPE_GROUP = 3, PREF_SCOPE_SITE = 4 };

/** Codes of the preference operations. */
enum {
  PREF_value_not_found = 22001,  /**< the preference, or its value at that index, does not exist */
  PREF_value_not_logical = 22002 /**< the value is not a logical */
};

/**
 * Reads the preferences. Further calls in the same session cost next to nothing.
 * @return #ORK_ok, #ORK_not_logged_in or #ORK_site_not_available.
 */
ORK_API int PREF_initialize(void);

/**
 * Number of values of a preference.
 * @param[in] name the preference.
 * @param[out] count its number of values; 0 for a preference that does not exist.
 * @return #ORK_ok or #ORK_not_logged_in.
 */
ORK_API int PREF_get_value_count(const char* name, int* count);

/**
 * One value of a preference.
 * @param[in] name the preference.
 * @param[in] index index of the value, from 0.
 * @param[out] value the value, freed by the caller with `MEM_free`; null on failure.
 * @return #ORK_ok, #ORK_not_logged_in or #PREF_value_not_found.
 */
ORK_API int PREF_get_char_value(const char* name, int index, char** value);

/**
 * All values of a preference.
 * @param[in] name the preference.
 * @param[out] count number of values; 0 for a preference that does not exist.
 * @param[out] values array and texts in one block, freed by the caller with one `MEM_free`; null
 *   when there are none.
 * @return #ORK_ok or #ORK_not_logged_in.
 */
ORK_API int PREF_get_char_values(const char* name, int* count, char*** values);

/**
 * One value of a logical preference.
 * @param[in] name the preference.
 * @param[in] index index of the value, from 0.
 * @param[out] value 1 for the texts "true", "yes", "on" and "1" in any case, 0 for "false", "no",
 *   "off" and "0"; untouched on failure.
 * @return #ORK_ok, #ORK_not_logged_in, #PREF_value_not_found or #PREF_value_not_logical.
 */
ORK_API int PREF_get_logical_value(const char* name, int index, logical* value);

#ifdef __cplusplus
}
#endif

#endif
