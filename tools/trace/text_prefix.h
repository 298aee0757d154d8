/** @file What stands before each line of a text trace. */
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace trace {

/** Whether a character is an ASCII digit, whatever the locale. */
inline bool is_digit(char c) {
  return c >= '0' && c <= '9';
}

/** The parts of a prefix that ZOLP_TRACE_PREFIX has asked for. */
struct PrefixFormat {
  bool has_clock = false;
  bool has_time = false;
  bool has_level = false;
  bool has_process = false;

  bool is_empty() const { return !has_clock && !has_time && !has_level && !has_process; }
  bool operator==(const PrefixFormat&) const = default;
};

/** A line's prefix. */
struct Prefix {
  size_t size = 0;
  int64_t clock = 0; /**< nanoseconds since 1970, universal time */
  int64_t time = 0;  /**< nanoseconds since the library was loaded */
  uint64_t process = 0;
};

/**
 * Reads a prefix of a known format.
 * @return false when the line has none of this format.
 */
bool read_prefix(const PrefixFormat& format, std::string_view line, Prefix& prefix);

/** The format of a line's prefix, as far as the line tells it. */
struct DetectedPrefix {
  PrefixFormat format;
  bool is_certain = false; /**< what follows begins with blanks and an arrow, and leaves no doubt */
};

DetectedPrefix detect_prefix(std::string_view line);

/** The format of the prefixes of a trace's first lines, as far as they agree. */
PrefixFormat detect_format(std::string_view lines);

}  // namespace trace
