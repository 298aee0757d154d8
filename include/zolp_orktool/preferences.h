/**
 * @file
 * The site's preferences, read by name: all values, the first value or a default, a switch.
 *
 * @code
 * int clone_log_name(char** name) {
 *   int status = ZOLP_GetPreferenceValue("ZOLP_clonelogfile", name, "clone.log", PREF_SCOPE_SITE);
 *   return status; // MEM_free(*name) when it is not needed any more
 * }
 * @endcode
 */
#ifndef ZOLP_ORKTOOL_PREFERENCES_H
#define ZOLP_ORKTOOL_PREFERENCES_H

#include "ork/mem.h"
#include "ork/ork.h"
#include "ork/pref.h"
#include "zolp_orktool/api.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * All values of a preference.
 * @param[in] name the preference.
 * @param[out] count number of values.
 * @param[out] values the values, array and texts in one block that one `MEM_free` frees; null when
 *   there are none.
 * @return 0 (also for a preference without values) or the platform's status.
 */
ZOLP_API int ZOLP_GetPreferenceArray(const char* name, int* count, char*** values);

/**
 * First value of a preference, or a default.
 * @param[in] name the preference.
 * @param[out] value the value or a copy of the default, freed by the caller with `MEM_free`; null
 *   when there is neither.
 * @param[in] default_value taken when the preference has no value or cannot be read; null for none.
 * @param[in] scope accepted and not used; pass `PREF_SCOPE_SITE`.
 * @return 0 or the platform's status; with a default, the copy is there in both cases unless memory
 *   is exhausted.
 */
ZOLP_API int ZOLP_GetPreferenceValue(const char* name, char** value, const char* default_value,
                                     int scope);

/**
 * First value of a preference.
 * @param[in] name the preference.
 * @param[out] value the value, freed by the caller with `MEM_free`; null when there is none.
 * @return always 0.
 */
ZOLP_API int ZOLP_get_pref(const char* name, char** value);

/**
 * The same as `ZOLP_get_pref`, under the name that older customisations call.
 * @param[in] name the preference.
 * @param[out] value the value, freed by the caller with `MEM_free`; null when there is none.
 * @return always 0.
 */
ZOLP_API int ZOLP_getSitePreference(const char* name, char** value);

/**
 * First value of a logical preference, or a default.
 * @param[in] option accepted and not used.
 * @param[in] name the preference.
 * @param[out] value the value, or the default when it cannot be read.
 * @param[in] default_value the default.
 * @return status of starting the preference module; a preference that cannot be read is no failure.
 */
ZOLP_API int ZOLP_get_logical_pref(int option, const char* name, logical* value,
                                   logical default_value);

/**
 * First value of a preference, or a default that must be given.
 * @param[in] option accepted and not used.
 * @param[in] name the preference.
 * @param[out] value the value or a copy of the default, freed by the caller with `MEM_free`;
 *   untouched when the default is null, null when memory is exhausted.
 * @param[in] default_value the default; null is refused with an error line.
 * @return status of starting the preference module; 0 when the default is null.
 */
ZOLP_API int ZOLP_get_string_pref(int option, const char* name, char** value,
                                  const char* default_value);

/**
 * Asks whether one of a preference's values is a certain text.
 * @param[in] option accepted and not used.
 * @param[in] name the preference.
 * @param[in] value the text, compared whole and with its case.
 * @return 1 if so, otherwise 0; a preference that has no values or cannot be read is warned about
 * in the trace.
 */
ZOLP_API logical ZOLP_check_preference(int option, const char* name, const char* value);

/**
 * Asks whether a preference switches a module off. Keeps one small block of memory for each call.
 * @param[in] name the preference.
 * @return 1 when its first value is missing, empty, "FALSE", "NO" or "NEIN" (in exactly this
 *   spelling); otherwise 0.
 */
ZOLP_API int ZOLP_run_modul(const char* name);

#ifdef __cplusplus
}
#endif

#endif
