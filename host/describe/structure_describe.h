/** @file Product structures as JSON. */
#pragma once

#include <nlohmann/json.hpp>

#include "site.h"

namespace host {

nlohmann::ordered_json describe_structures(Site& site);

}  // namespace host
