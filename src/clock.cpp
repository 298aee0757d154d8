#include "clock.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <mutex>

#if defined(_WIN32)
#include <windows.h>

#include <cstdlib>
#include <cstring>
#endif

#if defined(__x86_64__) && !defined(_WIN32)
#include <cpuid.h>
#endif

namespace orktool {
namespace {

#if defined(_WIN32)

// On this system clock() counts elapsed time from the start of the process, in milliseconds.
std::int32_t real_clock() {
  return static_cast<std::int32_t>(std::clock());
}

#else

// Elsewhere clock() counts processor time, which would hide a call that waits for a server.
std::int64_t monotonic_nanoseconds() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return std::int64_t{now.tv_sec} * 1'000'000'000 + now.tv_nsec;
}

const std::int64_t load_time = monotonic_nanoseconds();

std::int32_t real_clock() {
  return static_cast<std::int32_t>((monotonic_nanoseconds() - load_time) / 1'000'000);
}

#endif

Clock current_clock = real_clock;

std::int32_t difference(std::int32_t end, std::int32_t start) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(end) -
                                   static_cast<std::uint32_t>(start));
}

#if defined(__x86_64__) && !defined(_WIN32)

// The processor's counter takes a fraction of the time that reading the clock does, which matters
// where a traced call costs no more than a few lines of text. Its rate is found out when it is
// needed.

std::int64_t counter() {
  return static_cast<std::int64_t>(__builtin_ia32_rdtsc());
}

CounterScale counter_scale({counter(), load_time});
std::mutex counter_scale_mutex;

/**
 * Whether the counter runs at the same rate whatever the processor does. The trace library asks the
 * same for its recorder; another one may stand in its place that does not tell.
 */
const bool is_counter_steady = [] {
  constexpr unsigned power_management = 0x80000007;
  constexpr unsigned invariant_counter = 1U << 8;
  unsigned registers[4] = {};
  return __get_cpuid(power_management, &registers[0], &registers[1], &registers[2],
                     &registers[3]) != 0 &&
         (registers[3] & invariant_counter) != 0;
}();

std::int32_t milliseconds_of(std::int64_t counts) {
  // Steady counters count by more than 500 MHz.
  constexpr std::int64_t counts_of_half_a_second = std::int64_t{1} << 28;
  if (counts < counts_of_half_a_second) {
    return 0;
  }
  const std::lock_guard lock(counter_scale_mutex);
  const double milliseconds =
      counter_scale.nanoseconds(counts, {counter(), monotonic_nanoseconds()}) / 1e6;
  constexpr std::int32_t longest = std::numeric_limits<std::int32_t>::max();
  return milliseconds < longest ? static_cast<std::int32_t>(milliseconds) : longest;
}

#else

constexpr bool is_counter_steady = false;

std::int64_t counter() {
  return 0;
}

std::int32_t milliseconds_of(std::int64_t) {
  return 0;
}

#endif

bool counts_moments() {
  return is_counter_steady && current_clock == real_clock;
}

#if defined(_WIN32)

// The host process may have another C runtime, which keeps an environment of its own.
void take_time_zone() {
  char zone[256] = "";
  const DWORD length = GetEnvironmentVariableA("TZ", zone, sizeof zone);
  const char* known = std::getenv("TZ");
  if (length < sizeof zone && std::strcmp(zone, known != nullptr ? known : "") != 0) {
    _putenv_s("TZ", zone);
  }
  _tzset();
}

std::tm real_calendar() {
  const std::time_t now = std::time(nullptr);
  std::tm parts{};
  take_time_zone();
  localtime_s(&parts, &now);
  return parts;
}

#else

std::tm real_calendar() {
  const std::time_t now = std::time(nullptr);
  std::tm parts{};
  tzset();  // localtime_r need not look whether the process has changed its time zone
  localtime_r(&now, &parts);
  return parts;
}

#endif

Calendar current_calendar = real_calendar;

}  // namespace

std::int32_t elapsed_milliseconds() {
  return current_clock();
}

double CounterScale::nanoseconds(std::int64_t counts, Reading now) {
  const std::int64_t passed_counts = now.count - earlier_.count;
  const std::int64_t passed = now.nanoseconds - earlier_.nanoseconds;
  if (passed_counts > 0 && passed > 0) {
    learn(static_cast<double>(passed) / static_cast<double>(passed_counts), now);
  } else {
    earlier_ = latest_ = now;  // the counter was set back
  }
  const double result = static_cast<double>(counts) * rate_;
  // What began after the earlier look cannot have taken longer than the time since then.
  return counts <= passed_counts ? std::min(result, static_cast<double>(passed)) : result;
}

void CounterScale::learn(double rate, Reading now) {
  constexpr std::int64_t between_looks = 10'000'000'000;
  const auto differs = [](double one, double other) {
    constexpr double tolerance = 0.01;
    return std::abs(one - other) > tolerance * other;
  };
  if (rate_ == 0 || !differs(rate, rate_) || !differs(rate, new_rate_)) {
    rate_ = rate;
  } else {
    new_rate_ = rate;
    earlier_ = latest_ = now;
  }
  if (now.nanoseconds - latest_.nanoseconds > between_looks) {
    earlier_ = latest_;
    latest_ = now;
  }
}

Moment this_moment() {
  return counts_moments() ? counter() : current_clock();
}

std::int32_t milliseconds_since(Moment start) {
  if (start == unknown_moment) {
    return 0;
  }
  return counts_moments() ? milliseconds_of(counter() - start)
                          : difference(current_clock(), static_cast<std::int32_t>(start));
}

void replace_clock(Clock clock) {
  current_clock = clock != nullptr ? clock : real_clock;
}

std::time_t current_seconds() {
  if (current_calendar == real_calendar) {
    return std::time(nullptr);
  }
  std::tm parts = current_calendar();
  return std::mktime(&parts);
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
