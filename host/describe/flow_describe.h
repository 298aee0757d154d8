/** @file Process templates and jobs as JSON. */
#pragma once

#include <nlohmann/json.hpp>

#include "json_stream.h"
#include "site.h"

namespace host {

nlohmann::ordered_json describe_process_templates(Site& site);
void write_jobs(Site& site, JsonStream& stream);

}  // namespace host
