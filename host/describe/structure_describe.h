/** @file Product structures as JSON. */
#pragma once

#include <nlohmann/json.hpp>

#include "json_stream.h"
#include "site.h"

namespace host {

nlohmann::ordered_json describe_revision_rules(Store& store);
void write_structures(Site& site, JsonStream& stream);

}  // namespace host
