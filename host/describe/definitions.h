/** @file What objects of a site are made of, as seeds have it: people, types, preferences, rules.
 */
#pragma once

#include <nlohmann/json.hpp>
#include <span>
#include <utility>

#include "places.h"
#include "site.h"
#include "wishes.h"

namespace host {

/** A section that does not grow with the number of objects: one is made as a whole. */
using DescribeSection = nlohmann::ordered_json (*)(Site& site, const Wishes& wishes, Places& places,
                                                   Account& account);

/** All of them by their names, in the order in which a seed has them. */
std::span<const std::pair<const char*, DescribeSection>> definition_sections();

/** The access rules, which refer to objects. */
nlohmann::ordered_json describe_access_rules(Site& site, const Wishes& wishes, Places& places,
                                             Account& account);

}  // namespace host
