/** @file Elapsed time, by which calls of the platform are timed, and the local time of day. */
#pragma once

#include <cstdint>
#include <ctime>
#include <limits>

#include "ork/date.h"

namespace orktool {

/** A clock: milliseconds since some fixed moment. */
using Clock = std::int32_t (*)();

/** Milliseconds of elapsed time since the library was loaded. */
std::int32_t elapsed_milliseconds();

/** A moment by a clock that is cheap to read. */
using Moment = std::int64_t;
constexpr Moment unknown_moment = std::numeric_limits<Moment>::min();

/** This moment. */
Moment this_moment();

/**
 * Milliseconds since a moment, exact from half a second on: only calls that take longer than a
 * second are reported. 0 for less, and for an unknown moment.
 */
std::int32_t milliseconds_since(Moment start);

/**
 * Turns counts of the processor's counter into time. The counter's rate is that of the time since
 * some look at both, seconds ago, so that a jump of the counter (the machine slept, or was moved)
 * spoils one answer at most.
 */
class CounterScale {
 public:
  /** The counter and the system's clock at one moment. */
  struct Reading {
    std::int64_t count;
    std::int64_t nanoseconds;
  };

  constexpr explicit CounterScale(Reading start) : earlier_(start), latest_(start) {}

  /** Nanoseconds that so many counts, up to now, took. */
  double nanoseconds(std::int64_t counts, Reading now);

 private:
  void learn(double rate, Reading now);

  Reading earlier_;
  Reading latest_;
  double rate_ = 0;     /**< nanoseconds of a count; 0 as long as it is not known */
  double new_rate_ = 0; /**< what was measured last, when it was another one */
};

/** Puts another clock in the place of the real one, for all three; null brings it back. */
void replace_clock(Clock clock);

/** A calendar: the local time of day. */
using Calendar = std::tm (*)();

/** Seconds since the epoch. */
std::time_t current_seconds();

/** The local time of day. */
std::tm local_time();

/** The same as the platform's date record. */
date_s local_date();

/** Puts another calendar in the place of the real one, for all three; null brings it back. */
void replace_calendar(Calendar calendar);

}  // namespace orktool
