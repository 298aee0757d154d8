/** @file The clock by which calls of the platform are timed. */
#pragma once

#include <cstdint>

namespace orktool {

/** A clock: milliseconds since some fixed moment. */
using Clock = std::int32_t (*)();

/** Milliseconds of elapsed time since the library was loaded. */
std::int32_t elapsed_milliseconds();

/** Puts another clock in the place of the real one; null brings the real one back. */
void replace_clock(Clock clock);

}  // namespace orktool
