/** @file What the attributes of objects hold. */
#pragma once

#include <string>
#include <variant>
#include <vector>

#include "dates.h"
#include "ork/ork.h"

namespace host {

/** One value of an attribute; the alternatives are in the order of `Kind` (registry.h). */
using Scalar = std::variant<std::string, int, double, bool, date_s, tag>;

/** The values of an attribute: any number for a list, otherwise one or none. */
using Values = std::vector<Scalar>;

}  // namespace host
