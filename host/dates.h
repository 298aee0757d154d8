/** @file Dates, compared and as the store writes them: "2026-03-31 23:59:00", "" for none. */
#pragma once

#include <string>

#include "ork/date.h"

namespace host {

std::string date_text(const date_s& date);

/** The null date for a text that is no date. */
date_s parse_date(const std::string& text);

/** Whether the calendar and the clock have such a date. */
bool is_date(const date_s& date);

}  // namespace host

inline bool operator==(const date_s& left, const date_s& right) {
  return left.year == right.year && left.month == right.month && left.day == right.day &&
         left.hour == right.hour && left.minute == right.minute && left.second == right.second;
}
