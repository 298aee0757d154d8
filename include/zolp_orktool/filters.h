/**
 * @file
 * Filters on the name, type and release statuses of objects. For C++ only.
 *
 * @code
 * int keep_brackets(tag object, bool* match) {
 *   return ZOLP_ApplyRegExpFilterExt(object, "Bracket", "Part", "Released|Pilot", match, true);
 * }
 * @endcode
 */
#ifndef ZOLP_ORKTOOL_FILTERS_H
#define ZOLP_ORKTOOL_FILTERS_H

#include "ork/ork.h"
#include "zolp_orktool/api.h"

#ifdef __cplusplus

#include <regex.h>

/*
 * A filter is a text for a property of an object; null and "" test nothing. An object whose
 * properties cannot be read passes: the answer is true, and the platform's status is returned. Look
 * at both.
 */

/**
 * Compares an object's name and type with texts, whole and with their case.
 * @param[in] object a workspace object.
 * @param[in] name_filter, type_filter the texts.
 * @param[out] match whether the object passes.
 * @param[in] prefix_check true compares the beginning of the name before the whole of it, which
 *   shows in the trace; the same names pass.
 * @return 0 or the platform's status.
 */
ZOLP_API int ZOLP_ApplyFilter(tag object, const char* name_filter, const char* type_filter,
                              bool* match, bool prefix_check);

/**
 * Asks whether texts occur in an object's name and type: `ZOLP_ApplyRegExpFilterExt` with escaping
 * and without a filter for statuses.
 * @param[in] object the object; it has the properties "object_name" and "object_type".
 * @param[in] name_filter, type_filter the texts.
 * @param[out] match whether the object passes.
 * @return 0 or the status of the last platform operation that failed.
 */
ZOLP_API int ZOLP_ApplyRegExpFilter(tag object, const char* name_filter, const char* type_filter,
                                    bool* match);

/**
 * Filters an object by regular expressions: POSIX extended ones in the dialect and the locale of
 * the C library, with case, matching anywhere in the value. Patterns are compiled once for the life
 * of the process, and anew when it has changed its locale. Lists of thousands of ids as
 * alternatives, such as "^(4711|4712)$", are looked up fast.
 *
 * A pattern that does not compile lets no object pass. Neither does one that would take too much
 * memory or time; a warning in the trace says so when it is first met. These are such patterns,
 * with repetitions written out ("a{3}" as "aaa", "a+" as "aa*"):
 * - more than 250 groups in one another, or 100,000 characters;
 * - some 1,000 parts in a row that can all be passed without a character, such as "a?b?c?";
 * - 64 groups, alternatives and repetitions in such a row beside "^" at the beginning or "$" at the
 *   end, 16 beside other anchors or an unlimited repetition of what can be empty, as in "(a*)*"; an
 *   anchor counts three times in the row;
 * - a back-reference in an unlimited repetition of what can be empty;
 * - with back-references, values that are too long to try all ways to split them: with one group of
 *   a variable length that is referred to, 211 bytes; with two 54, with three 24, and less beside
 *   repetitions of what can be empty. Shorter values are tried.
 * @param[in] object the object; it has the properties "object_name" and "object_type".
 * @param[in] name_filter pattern for the name. Without escaping it is not used: then a name filter
 *   lets no object pass.
 * @param[in] type_filter pattern for the type.
 * @param[in] status_filter pattern for the names of the release statuses, of which one must match;
 *   an object without statuses passes a pattern that matches the empty text.
 * @param[out] match whether the object passes all filters.
 * @param[in] escape true takes the characters `*.+[]{}^$\` in all filters for themselves; "(", ")",
 *   "|" and "?" keep their meaning.
 * @return 0 or the status of the last platform operation that failed. A status that cannot be read
 *   ends the search for one that matches.
 */
ZOLP_API int ZOLP_ApplyRegExpFilterExt(tag object, const char* name_filter, const char* type_filter,
                                       const char* status_filter, bool* match, bool escape);

/**
 * Asks whether a regular expression matches anywhere in a text. Needs no session.
 * @param[in] pattern the expression from `regcomp`; it stays the caller's.
 * @param[in] text the text.
 * @return whether it does.
 */
ZOLP_API bool MatchPattern(re_pattern_buffer pattern, const char* text);

/**
 * Copies the part of a text that an expression has matched. Needs no session.
 * @param[in] match where it matched, from `regexec`.
 * @param[in] text the text.
 * @return the part, freed by the caller with `MEM_free`; null when `match` is null or did not
 *   match, or when memory is exhausted.
 */
ZOLP_API char* regmatch_dup(regmatch_t* match, const char* text);

#endif

#endif
