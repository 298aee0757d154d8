/** @file Filling a site from JSON; the format is described in docs/embedded-host.md. */
#pragma once

#include <filesystem>
#include <functional>
#include <string_view>

#include "seed_text.h"
#include "site.h"

namespace host {

/** Is told how far a long section is; returns whether to go on. */
using SeeProgress =
    std::function<bool(const char* section, std::size_t done, std::size_t elements)>;

/**
 * Takes all of a seed, or refuses it and leaves the site as it was.
 * @param[in] folder what paths of the seed are relative to; empty for the current folder.
 */
void seed(Site& site, std::string_view json, const std::filesystem::path& folder,
          const SeeProgress& progress);

/**
 * Tells all that is wrong with a seed, and then refuses it. Nothing of it comes into the site;
 * where changes are held, what was right is there until these are ended, which they can only be as
 * undone.
 */
void check_seed(Site& site, std::string_view json, const std::filesystem::path& folder,
                const TakeFault& take_fault, const SeeProgress& progress);

}  // namespace host
