/** @file Circles in what should have none. */
#pragma once

#include <unordered_map>
#include <vector>

#include "ork/ork.h"

namespace host {

/** Which objects are directly below an object. */
using ObjectsBelow = std::unordered_map<tag, std::vector<tag>>;

/** Circles, each from an object down to itself; every object that is in one is in one of these
 * or leads into one. None when there are none. */
std::vector<std::vector<tag>> find_cycles(const ObjectsBelow& below);

}  // namespace host
