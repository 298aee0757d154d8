#include "text_prefix.h"

#include <algorithm>
#include <chrono>
#include <optional>

namespace trace {
namespace {

constexpr size_t clock_size = 32; /**< 2026-03-02T09:15:00.250000+01:00 */
constexpr size_t time_size = 12;
constexpr int64_t nanoseconds_of_microsecond = 1000;
constexpr int64_t nanoseconds_of_second = 1'000'000'000;

/** Reads digits at a place of a text that is long enough. */
template <size_t Count>
bool read_digits(const char* at, int64_t& number) {
  number = 0;
  for (size_t i = 0; i < Count; ++i) {
    if (!is_digit(at[i])) {
      return false;
    }
    number = number * 10 + (at[i] - '0');
  }
  return true;
}

bool read_clock(std::string_view line, int64_t& clock) {
  const char* const at = line.data();
  int64_t year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0, microsecond = 0;
  int64_t hours_ahead = 0, minutes_ahead = 0;
  if (line.size() <= clock_size || at[4] != '-' || at[7] != '-' || at[10] != 'T' || at[13] != ':' ||
      at[16] != ':' || at[19] != '.' || at[29] != ':' || at[32] != ' ' ||
      (at[26] != '+' && at[26] != '-') || !read_digits<4>(at, year) ||
      !read_digits<2>(at + 5, month) || !read_digits<2>(at + 8, day) ||
      !read_digits<2>(at + 11, hour) || !read_digits<2>(at + 14, minute) ||
      !read_digits<2>(at + 17, second) || !read_digits<6>(at + 20, microsecond) ||
      !read_digits<2>(at + 27, hours_ahead) || !read_digits<2>(at + 30, minutes_ahead)) {
    return false;
  }
  const std::chrono::year_month_day date{std::chrono::year(static_cast<int>(year)),
                                         std::chrono::month(static_cast<unsigned>(month)),
                                         std::chrono::day(static_cast<unsigned>(day))};
  constexpr int64_t first_year = 1970, last_year = 2200;  // nanoseconds since then are numbers
  if (!date.ok() || year < first_year || year > last_year) {
    return false;
  }
  const int64_t days = std::chrono::sys_days(date).time_since_epoch().count();
  const int64_t ahead = (hours_ahead * 60 + minutes_ahead) * (at[26] == '-' ? -60 : 60);
  const int64_t seconds = days * 86400 + hour * 3600 + minute * 60 + second - ahead;
  clock = seconds * nanoseconds_of_second + microsecond * nanoseconds_of_microsecond;
  return true;
}

/** Reads microseconds: at least twelve columns, filled up with blanks in front. */
size_t read_time(std::string_view line, int64_t& time) {
  size_t at = 0;
  while (at < line.size() && at < time_size - 1 && line[at] == ' ') {
    ++at;
  }
  constexpr size_t most_digits = 14;
  const size_t first = at;
  int64_t number = 0;
  while (at < line.size() && is_digit(line[at]) && at - first < most_digits) {
    number = number * 10 + (line[at++] - '0');
  }
  if (at < time_size || (first > 0 && at != time_size) || at >= line.size() || line[at] != ' ') {
    return 0;
  }
  time = number * nanoseconds_of_microsecond;
  return at + 1;
}

size_t read_process(std::string_view line, uint64_t& process) {
  constexpr size_t most_digits = 10;
  uint64_t number = 0;
  size_t at = 0;
  while (at < line.size() && is_digit(line[at]) && at < most_digits) {
    number = number * 10 + static_cast<uint64_t>(line[at++] - '0');
  }
  if (at == 0 || at >= line.size() || line[at] != ' ') {
    return 0;
  }
  process = number;
  return at + 1;
}

bool has_level(std::string_view line) {
  constexpr std::string_view levels = "EWLTD";
  return line.size() >= 2 && line[1] == ' ' && levels.find(line[0]) != std::string_view::npos;
}

bool begins_with_arrow(std::string_view line) {
  const size_t at = line.find_first_not_of(' ');
  return at != std::string_view::npos && at > 0 &&
         (line.substr(at, 2) == "->" || line.substr(at, 2) == "<-");
}

}  // namespace

bool read_prefix(const PrefixFormat& format, std::string_view line, Prefix& prefix) {
  prefix = {};
  std::string_view rest = line;
  if (format.has_clock) {
    if (!read_clock(rest, prefix.clock)) {
      return false;
    }
    rest.remove_prefix(clock_size + 1);
  }
  if (format.has_time) {
    const size_t size = read_time(rest, prefix.time);
    if (size == 0) {
      return false;
    }
    rest.remove_prefix(size);
  }
  if (format.has_level) {
    if (!has_level(rest)) {
      return false;
    }
    rest.remove_prefix(2);
  }
  if (format.has_process) {
    const size_t size = read_process(rest, prefix.process);
    if (size == 0) {
      return false;
    }
    rest.remove_prefix(size);
  }
  prefix.size = line.size() - rest.size();
  return true;
}

DetectedPrefix detect_prefix(std::string_view line) {
  PrefixFormat found;
  Prefix prefix;
  std::string_view rest = line;
  found.has_clock = read_clock(rest, prefix.clock);
  rest.remove_prefix(found.has_clock ? clock_size + 1 : 0);
  const size_t time_width = read_time(rest, prefix.time);
  found.has_time = time_width > 0;
  rest.remove_prefix(time_width);
  found.has_level = has_level(rest);
  rest.remove_prefix(found.has_level ? 2 : 0);
  const size_t process_width = read_process(rest, prefix.process);
  found.has_process = process_width > 0;
  rest.remove_prefix(process_width);
  return {found, begins_with_arrow(rest)};
}

PrefixFormat detect_format(std::string_view lines) {
  constexpr int most_lines = 200;
  std::optional<PrefixFormat> common;
  bool is_common = true;
  for (int i = 0; i < most_lines && !lines.empty(); ++i) {
    const std::string_view line = lines.substr(0, lines.find('\n'));
    lines.remove_prefix(std::min(lines.size(), line.size() + 1));
    if (line.empty()) {
      continue;
    }
    const DetectedPrefix detected = detect_prefix(line);
    if (detected.is_certain) {
      return detected.format;
    }
    is_common = is_common && (!common || *common == detected.format);
    common = detected.format;
  }
  return common && is_common ? *common : PrefixFormat{};
}

}  // namespace trace
