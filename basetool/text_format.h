/** @file printf formatting straight into the room of a line. */
#pragma once

#include <cstdarg>

#include "line_room.h"

namespace basetool {

/**
 * Appends a text as `vprintf` would write it. A null text for %s is shown as "(null)", whatever its
 * width and precision. The arguments are undefined afterwards.
 */
void append_formatted(LineRoom& room, const char* format, va_list arguments);

}  // namespace basetool
