/** @file Dates, compared and as text. The store writes them as "2026-03-31 23:59:00". */
#pragma once

#include <string>
#include <string_view>

#include "ork/date.h"

namespace host {

/** Whether the calendar and the clock have such a date. */
bool is_date(const date_s& date);

/** A date in a format (ork/date.h), "" for the null date. Refuses what is no format. */
std::string formatted_date(const date_s& date, std::string_view format);

/** The date of a text in a format. Refuses with the reason, and where it is. */
date_s parsed_date(std::string_view text, std::string_view format);

/** The format in which the site writes dates. */
std::string default_date_format();

/** A date as the store writes it; "" for the null date. */
std::string date_text(const date_s& date);

/** The null date for a text that is no date. */
date_s parse_date(const std::string& text);

}  // namespace host

inline bool operator==(const date_s& left, const date_s& right) {
  return left.year == right.year && left.month == right.month && left.day == right.day &&
         left.hour == right.hour && left.minute == right.minute && left.second == right.second;
}
