#include "line_prefix.h"

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>

#include "system.h"

namespace basetool {

constinit bool has_prefix = false;

namespace {

constinit Settings shown;

const std::chrono::steady_clock::time_point load_time = std::chrono::steady_clock::now();

/** Writes the local time and the zone's offset from universal time. @return its length. */
int print_clock(char* text, size_t size) {
  static constinit thread_local int64_t known_second = -1;
  static constinit thread_local char date_and_time[40] = {};
  static constinit thread_local char offset[16] = {};
  constexpr uint64_t second = 1'000'000'000;
  const uint64_t now = wall_nanoseconds();
  const auto seconds = static_cast<int64_t>(now / second);
  std::tm parts{};
  if (seconds != known_second && read_local_time(seconds, parts)) {
    known_second = seconds;
    std::strftime(date_and_time, sizeof date_and_time, "%Y-%m-%dT%H:%M:%S", &parts);
    const std::chrono::sys_days day = std::chrono::year(parts.tm_year + 1900) /
                                      std::chrono::month(static_cast<unsigned>(parts.tm_mon) + 1) /
                                      std::chrono::day(static_cast<unsigned>(parts.tm_mday));
    const int64_t as_universal = int64_t{day.time_since_epoch().count()} * 86400 +
                                 parts.tm_hour * 3600 + parts.tm_min * 60 + parts.tm_sec;
    const auto ahead = static_cast<int>((as_universal - seconds) / 60);
    std::snprintf(offset, sizeof offset, "%c%02d:%02d", ahead < 0 ? '-' : '+',
                  std::abs(ahead) / 60 % 100, std::abs(ahead) % 60);
  }
  return std::snprintf(text, size, "%s.%06u%s ", date_and_time,
                       static_cast<unsigned>(now % second / 1000), offset);
}

}  // namespace

void choose_prefix(const Settings& settings) {
  shown = settings;
  has_prefix = shown.shows_clock || shown.shows_time || shown.shows_level || shown.shows_process;
}

void append_prefix(LineRoom& room, int level) {
  char prefix[128];
  int size = 0;
  auto add = [&](const char* format, auto value) {
    size += std::snprintf(prefix + size, sizeof prefix - static_cast<size_t>(size), format, value);
  };
  if (shown.shows_clock) {
    size = print_clock(prefix, sizeof prefix);
  }
  if (shown.shows_time) {
    auto elapsed = std::chrono::steady_clock::now() - load_time;
    long long microseconds = std::chrono::duration_cast<std::chrono::microseconds>(elapsed).count();
    add("%12lld ", microseconds);
  }
  if (shown.shows_level) {
    add("%c ", "-EWLTD"[level]);
  }
  if (shown.shows_process) {
    add("%lu ", process_id());
  }
  room.append(prefix, static_cast<size_t>(size));
}

}  // namespace basetool
