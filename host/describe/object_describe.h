/** @file Workspace objects, with what datasets and forms hold, and relations as JSON. */
#pragma once

#include <nlohmann/json.hpp>

#include "site.h"

namespace host {

nlohmann::ordered_json describe_objects(Site& site);
nlohmann::ordered_json describe_relations(Site& site);

}  // namespace host
