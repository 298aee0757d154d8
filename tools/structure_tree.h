/** @file A product structure that is printed as it is read. */
#pragma once

#include "ork/ork.h"
#include "text.h"

namespace tool {

/**
 * Prints a line and those below it, down to a depth.
 * @param facts what is said in JSON before the structure, which is a member then; may be empty.
 */
void print_tree(tag top, int depth, bool as_json, const Json& facts = {});

}  // namespace tool
