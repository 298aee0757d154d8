/** @file Filling a site from JSON; the format is described in docs/embedded-host.md. */
#pragma once

#include <filesystem>
#include <string>

#include "site.h"

namespace host {

/**
 * Takes all of a seed, or refuses it and leaves the site as it was.
 * @param[in] folder what paths of the seed are relative to; empty for the current folder.
 */
void seed(Site& site, const std::string& json, const std::filesystem::path& folder);

}  // namespace host
