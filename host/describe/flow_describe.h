/** @file Process templates and jobs as JSON. */
#pragma once

#include <nlohmann/json.hpp>

#include "site.h"

namespace host {

nlohmann::ordered_json describe_process_templates(Site& site);
nlohmann::ordered_json describe_jobs(Site& site);

}  // namespace host
