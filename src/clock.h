/** @file Elapsed time, by which calls of the platform are timed, and the local time of day. */
#pragma once

#include <cstdint>
#include <ctime>

#include "ork/date.h"

namespace orktool {

/** A clock: milliseconds since some fixed moment. */
using Clock = std::int32_t (*)();

/** Milliseconds of elapsed time since the library was loaded. */
std::int32_t elapsed_milliseconds();

/**
 * The same by the system's clock tick, which is several times cheaper to read and may be late by a
 * tick (a few milliseconds): for the durations of calls, of which only those of a second and more
 * are reported.
 */
std::int32_t ticked_milliseconds();

/** Puts another clock in the place of both; null brings the real ones back. */
void replace_clock(Clock clock);

/** A calendar: the local time of day. */
using Calendar = std::tm (*)();

/** The local time of day. */
std::tm local_time();

/** The same as the platform's date record. */
date_s local_date();

/** Puts another calendar in the place of the real one; null brings the real one back. */
void replace_calendar(Calendar calendar);

}  // namespace orktool
