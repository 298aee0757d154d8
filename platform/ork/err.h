/**
 * @file
 * The platform's error stack: one entry per failure, oldest first.
 *
 * The stack keeps the most recent #ERR_stack_size entries. Operations that succeed leave it alone;
 * it is emptied by `ERR_clear_errors` and, protect marks or not, by a login.
 */
#ifndef ORK_ERR_H
#define ORK_ERR_H

#include "ork/ork.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Severities of entries on the error stack. */
enum {
  ERR_severity_information = 1, /**< something to know */
  ERR_severity_warning = 2,     /**< something that may be wrong */
  ERR_severity_error = 3        /**< a failure */
};

/** Sizes of the error stack. */
enum { ERR_stack_size = 128 /**< number of entries that it keeps */ };

/**
 * The general text of an error code, without the details of one occurrence.
 * @param[in] status the code.
 * @param[out] text the text, freed by the caller with `MEM_free`; null when memory is exhausted. A
 *   code that the platform does not know yields a text that says so.
 * @return always #ORK_ok.
 */
ORK_API int ERR_get_error_text(int status, char** text);

/**
 * The error stack.
 * @param[out] count number of entries.
 * @param[out] severities their severities.
 * @param[out] codes their codes, oldest first.
 * @param[out] texts their texts, with the details of the occurrence.
 *   The three arrays belong to the platform and stay valid until the next platform operation.
 * @return always #ORK_ok.
 */
ORK_API int ERR_get_errors(int* count, const int** severities, const int** codes,
                           const char*** texts);

/**
 * Puts an entry on the error stack with the general text of its code.
 * @param[in] severity one of the severities above.
 * @param[in] code the code.
 * @return 0 or an error code.
 */
ORK_API int ERR_store_error(int severity, int code);

/**
 * Puts an entry on the error stack, with a detail behind the general text of its code.
 * @param[in] severity one of the severities above.
 * @param[in] code the code.
 * @param[in] detail the text of the detail; null stands for none.
 * @return 0 or an error code.
 */
ORK_API int ERR_store_error_s1(int severity, int code, const char* detail);

/**
 * Empties the error stack, down to the innermost protect mark if one is set.
 * @return 0 or an error code.
 */
ORK_API int ERR_clear_errors(void);

/**
 * Takes the latest entry from the error stack if it has a code and no protect mark covers it.
 * @param[in] code the code.
 * @return 0 or an error code.
 */
ORK_API int ERR_clear_last_error(int code);

/**
 * Protects the entries that are on the error stack now from `ERR_clear_errors`, for callers that
 * clear what a call of theirs has reported and nothing else. Marks nest.
 * @return 0 or an error code.
 */
ORK_API int ERR_set_protect_mark(void);

/**
 * Takes the innermost protect mark back; does nothing when none is set.
 * @return 0 or an error code.
 */
ORK_API int ERR_clear_protect_mark(void);

#ifdef __cplusplus
}
#endif

#endif
