/** @file A site as JSON. */
#pragma once

#include <string>

#include "site.h"

namespace host {

/** One section (see `ork_host_describe`), or all of them for an empty name. */
std::string describe(Site& site, const std::string& section);

}  // namespace host
