/**
 * @file
 * The platform's date record, and dates as text.
 *
 * Formats are texts in which these stand for the parts of a date:
 *
 *     %d  day of the month, 01 to 31           %H  hour, 00 to 23
 *     %m  number of the month, 01 to 12        %M  minute, 00 to 59
 *     %b  abbreviated name of the month        %S  second, 00 to 59
 *     %Y  year in four digits                  %%  the character "%"
 *     %y  year in two digits, 1969 to 2068
 *
 * Every other character stands for itself. Names of months are written in the language of the
 * session's texts (`text.h`) and read in all languages, without regard to the case of the letters
 * a to z. The operations need no session.
 */
#ifndef ORK_DATE_H
#define ORK_DATE_H

#include "ork/ork.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Codes of the date operations. */
enum {
  DATE_invalid_date = 37001,   /**< the calendar or the clock has no such date */
  DATE_invalid_format = 37002, /**< the format has an unknown part, or not those of a date */
  DATE_wrong_text = 37003      /**< the text is not written in the format */
};

/** A date and time of day, without a time zone. All members 0 is the null date. */
typedef struct date_s {
  int16_t year;   /**< full year, for example 2026 */
  uint8_t month;  /**< 0 (January) to 11 (December) */
  uint8_t day;    /**< 1 to 31 */
  uint8_t hour;   /**< 0 to 23 */
  uint8_t minute; /**< 0 to 59 */
  uint8_t second; /**< 0 to 59 */
} date_s;

/**
 * Writes a date as text.
 * @param[in] date the date, in the years 1 to 9999, or the null date.
 * @param[in] format the format. With `%y`, years outside 1969 to 2068 do not read back the same.
 * @param[out] text the text, freed by the caller with `MEM_free`; "" for the null date, null on
 *   failure.
 * @return #ORK_ok, #DATE_invalid_date or #DATE_invalid_format.
 */
ORK_API int DATE_date_to_string(date_s date, const char* format, char** text);

/**
 * Reads a date from a text, which must be in the format from its first to its last character. Days,
 * months, hours, minutes and seconds below 10 may be written with one digit.
 * @param[in] text the text.
 * @param[in] format the format: day, month and year once each, hour, minute and second at most once
 *   each.
 * @param[out] month 0 (January) to 11 (December), as in `date_s`.
 * @param[out] day, year, hour, minute, second the other parts; 0 for those of the time of day that
 *   the format leaves out.
 * @return #ORK_ok, #DATE_wrong_text, #DATE_invalid_format, or #DATE_invalid_date for a date such as
 *   31 February. On failure all parts are 0, and the text on the error stack says what is wrong
 *   where.
 */
ORK_API int DATE_string_to_date(const char* text, const char* format, int* month, int* day,
                                int* year, int* hour, int* minute, int* second);

#ifdef __cplusplus
}
#endif

#endif
