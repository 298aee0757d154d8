#include "clock.h"

#include <ctime>

namespace orktool {
namespace {

#if defined(_WIN32)

// On this system clock() counts elapsed time from the start of the process, in milliseconds.
std::int32_t real_clock() {
  return static_cast<std::int32_t>(std::clock());
}

std::int32_t real_tick() {
  return real_clock();
}

#else

// Elsewhere clock() counts processor time, which would hide a call that waits for a server.
std::uint32_t milliseconds_of(clockid_t clock) {
  timespec now{};
  clock_gettime(clock, &now);
  return static_cast<std::uint32_t>(now.tv_sec) * 1000U +
         static_cast<std::uint32_t>(now.tv_nsec) / 1'000'000U;
}

const std::uint32_t load_time = milliseconds_of(CLOCK_MONOTONIC);

std::int32_t real_clock() {
  return static_cast<std::int32_t>(milliseconds_of(CLOCK_MONOTONIC) - load_time);
}

std::int32_t real_tick() {
#if defined(CLOCK_MONOTONIC_COARSE)
  return static_cast<std::int32_t>(milliseconds_of(CLOCK_MONOTONIC_COARSE) - load_time);
#else
  return real_clock();
#endif
}

#endif

std::tm real_calendar() {
  const std::time_t now = std::time(nullptr);
  std::tm parts{};
#if defined(_WIN32)
  localtime_s(&parts, &now);
#else
  localtime_r(&now, &parts);
#endif
  return parts;
}

Clock current_clock = real_clock;
Clock current_tick = real_tick;
Calendar current_calendar = real_calendar;

}  // namespace

std::int32_t elapsed_milliseconds() {
  return current_clock();
}

std::int32_t ticked_milliseconds() {
  return current_tick();
}

void replace_clock(Clock clock) {
  current_clock = clock != nullptr ? clock : real_clock;
  current_tick = clock != nullptr ? clock : real_tick;
}

std::tm local_time() {
  return current_calendar();
}

date_s local_date() {
  const std::tm now = local_time();
  return {static_cast<std::int16_t>(now.tm_year + 1900), static_cast<std::uint8_t>(now.tm_mon),
          static_cast<std::uint8_t>(now.tm_mday),        static_cast<std::uint8_t>(now.tm_hour),
          static_cast<std::uint8_t>(now.tm_min),         static_cast<std::uint8_t>(now.tm_sec)};
}

void replace_calendar(Calendar calendar) {
  current_calendar = calendar != nullptr ? calendar : real_calendar;
}

}  // namespace orktool
