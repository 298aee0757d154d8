/**
 * @file
 * The platform's date record.
 */
#ifndef ORK_DATE_H
#define ORK_DATE_H

#include "ork/ork.h"

#ifdef __cplusplus
extern "C" {
#endif

/** A date and time of day, without a time zone. All members 0 is the null date. */
typedef struct date_s {
  int16_t year;  /**< full year, for example 2026 */
  uint8_t month; /**< 0 (January) to 11 (December) */
  uint8_t day;   /**< 1 to 31 */
  uint8_t hour;  /**< 0 to 23 */
  uint8_t minute;
  uint8_t second;
} date_s;

#ifdef __cplusplus
}
#endif

#endif
