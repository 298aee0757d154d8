#include "trace_moment.h"

#include <charconv>
#include <ctime>
#include <string_view>

#include "error.h"

namespace tool {

namespace {

constexpr int64_t second = 1'000'000'000;
constexpr int64_t day = 86400 * second;

/** Reads a number that nothing follows. */
template <typename Number>
bool read_whole(std::string_view text, Number& number) {
  const char* const end = text.data() + text.size();
  const auto [stop, problem] = std::from_chars(text.data(), end, number);
  return problem == std::errc() && stop == end && number >= 0;
}

bool read_time_of_day(std::string_view text, int64_t& value) {
  int64_t hour = 0, minute = 0;
  double seconds = 0;
  if (text.size() < 5 || text[2] != ':' || !read_whole(text.substr(0, 2), hour) ||
      !read_whole(text.substr(3, 2), minute) || hour > 23 || minute > 59) {
    return false;
  }
  if (text.size() > 5 &&
      (text[5] != ':' || !read_whole(text.substr(6), seconds) || seconds >= 61)) {
    return false;
  }
  value = (hour * 60 + minute) * 60 * second + static_cast<int64_t>(seconds * 1e9);
  return true;
}

bool read_duration(std::string_view text, int64_t& value) {
  double factor = 1e9;
  if (text.ends_with("ms")) {
    factor = 1e6;
    text.remove_suffix(2);
  } else if (text.ends_with("us")) {
    factor = 1e3;
    text.remove_suffix(2);
  } else if (text.ends_with('s')) {
    text.remove_suffix(1);
  }
  double number = 0;
  if (!read_whole(text, number) || !(number < 1e9)) {
    return false;
  }
  value = static_cast<int64_t>(number * factor);
  return true;
}

/** The local time of day at which a lane's times begin. */
int64_t start_of_lane(const trace::Lane& lane) {
  const auto seconds = static_cast<std::time_t>(lane.start / second);
  const std::tm* const local = std::localtime(&seconds);
  if (local == nullptr) {
    return 0;
  }
  return ((local->tm_hour * 60 + local->tm_min) * 60 + local->tm_sec) * second +
         lane.start % second;
}

}  // namespace

TraceMoment::TraceMoment(const std::string& text) : text_(text) {
  if (text.starts_with('@') && read_whole(std::string_view(text).substr(1), value_)) {
    kind_ = Kind::position;
  } else if (read_time_of_day(text, value_)) {
    kind_ = Kind::time_of_day;
  } else if (!read_duration(text, value_)) {
    throw usage_error("no moment of a trace: " + text,
                      "write seconds (1.5, 250ms), a time of day (09:15:00) or a line (@1200)");
  }
}

bool TraceMoment::is_after(const trace::CallEvent& event, const trace::Lane& lane) const {
  if (kind_ == Kind::position) {
    return event.position < static_cast<uint64_t>(value_);
  }
  if (event.time == trace::unknown_time) {
    throw Error(text_ + " is not known in " + lane.file + ", which has no times",
                "name a line, as in @1200");
  }
  if (kind_ == Kind::since_start) {
    return event.time < value_;
  }
  if (lane.start == trace::unknown_time) {
    throw Error(text_ + " is not known in " + lane.file + ", which has no times of day",
                "name a time since its beginning, as in 1.5s");
  }
  return (start_of_lane(lane) + event.time) % day < value_;
}

}  // namespace tool
