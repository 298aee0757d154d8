/** @file A product structure that is printed as it is read. */
#pragma once

#include "ork/ork.h"

namespace tool {

/** Prints a line and those below it, down to a depth. */
void print_tree(tag top, int depth, bool as_json);

}  // namespace tool
