/** @file What objects of a site are made of, as seeds have it: people, types, preferences, texts.
 */
#pragma once

#include "export_places.h"

namespace host {

/** Adds the sections from "site" to "revision_rules" to a seed. */
void export_definitions(Site& site, ExportPlaces& places, nlohmann::ordered_json& seed);

/** Adds the access rules, which refer to objects. */
void export_access_rules(Site& site, ExportPlaces& places, nlohmann::ordered_json& seed);

}  // namespace host
