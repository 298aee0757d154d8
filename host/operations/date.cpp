// DATE_: dates as text.

#include "ork/date.h"

#include "dates.h"
#include "handout.h"
#include "operation.h"

using host::Needs;
using host::operation;

int DATE_date_to_string(date_s date, const char* format, char** text) {
  host::clear(text);
  return operation("DATE_date_to_string", Needs::nothing, [&] {
    host::require_all(format, text);
    *text = host::hand_out(host::formatted_date(date, format));
  });
}

int DATE_string_to_date(const char* text, const char* format, int* month, int* day, int* year,
                        int* hour, int* minute, int* second) {
  for (int* part : {month, day, year, hour, minute, second}) {
    host::clear(part);
  }
  return operation("DATE_string_to_date", Needs::nothing, [&] {
    host::require_all(text, format, month, day, year, hour, minute, second);
    const date_s date = host::parsed_date(text, format);
    *month = date.month;
    *day = date.day;
    *year = date.year;
    *hour = date.hour;
    *minute = date.minute;
    *second = date.second;
  });
}
