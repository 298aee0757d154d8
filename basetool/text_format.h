/** @file printf formatting straight into the room of a line. */
#pragma once

#include <cstdarg>

#include "line_room.h"

namespace basetool {

/**
 * The arguments of a format. The caller starts both lists: copying one on the way costs more than
 * formatting a number.
 */
struct Arguments {
  va_list next; /**< read from one by one */
  va_list all;  /**< for what has to be read as a whole */
};

/** What can be said of the line feeds in a text without looking at it again. */
enum class LineFeeds { none, one, several };

/**
 * Appends a text as `printf` would write it. A null text for %s is shown as "(null)", whatever its
 * width and precision. The arguments are undefined afterwards.
 * @return number of line feeds; `several` when it is not known.
 */
LineFeeds append_formatted(LineRoom& room, const char* format, Arguments& arguments);

}  // namespace basetool
