#include "dates.h"

#include <chrono>
#include <cstdio>

namespace host {

std::string date_text(const date_s& date) {
  if (date == date_s{}) {
    return {};
  }
  char text[40];
  std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d", date.year, date.month + 1,
                date.day, date.hour, date.minute, date.second);
  return text;
}

date_s parse_date(const std::string& text) {
  int year = 0;
  unsigned month = 0, day = 0, hour = 0, minute = 0, second = 0;
  const int fields = std::sscanf(text.c_str(), "%4d-%2u-%2u %2u:%2u:%2u", &year, &month, &day,
                                 &hour, &minute, &second);
  if (fields != 6 || month < 1 || month > 12) {
    return {};
  }
  return {static_cast<std::int16_t>(year),   static_cast<std::uint8_t>(month - 1),
          static_cast<std::uint8_t>(day),    static_cast<std::uint8_t>(hour),
          static_cast<std::uint8_t>(minute), static_cast<std::uint8_t>(second)};
}

bool is_date(const date_s& date) {
  const std::chrono::year_month_day day{std::chrono::year(date.year),
                                        std::chrono::month(date.month + 1u),
                                        std::chrono::day(date.day)};
  return day.ok() && date.hour < 24 && date.minute < 60 && date.second < 60;
}

}  // namespace host
