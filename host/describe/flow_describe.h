/** @file Process templates and jobs as JSON. */
#pragma once

#include <nlohmann/json.hpp>
#include <optional>

#include "json_values.h"
#include "places.h"
#include "site.h"

namespace host {

/** A process template as seeds have it; nothing for one that they cannot say. */
std::optional<nlohmann::ordered_json> process_template_json(Store& store, Places& places,
                                                            tag process);

/** Jobs as they stand, for those who look. */
void write_jobs(Site& site, ElementList& list);

}  // namespace host
