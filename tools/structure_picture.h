/** @file Product structures as pictures. */
#pragma once

#include "ork/ork.h"
#include "picture.h"

namespace tool {

/**
 * A line and those below it, down to a depth. A revision that is used in several places has one
 * box, and an arrow from each of them.
 */
Picture structure_picture(tag top, int depth);

}  // namespace tool
