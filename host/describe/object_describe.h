/** @file Workspace objects, with what datasets and forms hold, and relations as JSON. */
#pragma once

#include <nlohmann/json.hpp>

#include "json_stream.h"
#include "site.h"

namespace host {

void write_objects(Site& site, JsonStream& stream);
void write_relations(Site& site, JsonStream& stream);

}  // namespace host
