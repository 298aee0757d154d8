/** @file What stands before each line. */
#pragma once

#include "line_room.h"
#include "settings.h"

namespace basetool {

/** Says what is to stand there. To be called before the first line. */
void choose_prefix(const Settings& settings);

/** Whether anything is. */
extern bool has_prefix;

void append_prefix(LineRoom& room, int level);

}  // namespace basetool
