/** @file Seeding of process templates. */
#pragma once

#include <vector>

#include "seed_node.h"
#include "site.h"

namespace host {

/** Makes process templates, or changes those that are known. Jobs that run keep what they had. */
void take_process_templates(Site& site, const std::vector<Node>& nodes);

}  // namespace host
