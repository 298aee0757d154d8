/**
 * @file
 * Dates as records and as texts, in the site's format and in the platform's default format. For C++
 * only.
 *
 * @code
 * int normalise(const char* typed, char** stored) {
 *   return ZOLP_DateStringVELODateString(typed, stored); // MEM_free(*stored)
 * }
 * @endcode
 */
#ifndef ZOLP_ORKTOOL_DATES_H
#define ZOLP_ORKTOOL_DATES_H

#include "ork/date.h"
#include "ork/mem.h"
#include "zolp_orktool/api.h"

#ifdef __cplusplus

/*
 * Two formats, in the language that `ork/date.h` describes: the default format is the platform's
 * text "DefaultDateFormat"; the site's format is the value of the environment variable
 * `STORE_DATE_FORMAT`, or the default format where that is not set. Both are looked up once for the
 * life of the process. Texts that are handed out are freed by the caller with `MEM_free`; they are
 * null on failure.
 */

/**
 * The current local date and time.
 * @param[out] date the date; its month counts from 0.
 * @return always 0.
 */
ZOLP_API int ZOLP_DateAskCurrentDate(date_s* date);

/**
 * The current local date and time as "31.12.2026 23:59".
 * @param[out] text the text.
 * @return always 0.
 */
ZOLP_API int ZOLP_DateAskCurrentDateTimeAsString(char** text);

/**
 * The current local date in the site's format.
 * @param[out] text the text.
 * @return 0 or the platform's status.
 */
ZOLP_API int ZOLP_DateAskCurrentDateAsString(char** text);

/**
 * The current local date in the default format.
 * @param[out] text the text.
 * @return 0 or the platform's status.
 */
ZOLP_API int ZOLP_DateAskCurrentDateAsVELOString(char** text);

/**
 * A date in the site's format.
 * @param[in] date the date.
 * @param[out] text the text.
 * @return 0 or the platform's status.
 */
ZOLP_API int ZOLP_DateDateToString(date_s date, char** text);

/**
 * Brings a date into the default format.
 * @param[in] input the date in the site's format, or else in the default format; null and "" stand
 *   for the current date.
 * @param[out] text the date in the default format.
 * @return 0 or the platform's status for an input that is in neither format.
 */
ZOLP_API int ZOLP_DateStringVELODateString(const char* input, char** text);

/**
 * Reads a date from a text.
 * @param[in] input the text; null and "" stand for the current date.
 * @param[out] date the date, as the platform has read it; the null date on failure.
 * @param[in] format the format of the input; null and "" stand for the site's format, or else the
 *   default format.
 * @return 0 or the platform's status.
 */
ZOLP_API int ZOLP_UTIL_DateStringToVELODate(const char* input, date_s* date, const char* format);

#endif

#endif
