/** @file What is wrong with seeds. */
#pragma once

#include <string>
#include <vector>

namespace tool {

/** Throws an Error where there is no such file. */
void require_seed_file(const std::string& path);

/**
 * Checks seeds on the open site, one taken after the other, and changes nothing. Prints all that is
 * wrong, a line each, and throws an Error where something is.
 */
void check_seeds(const std::vector<std::string>& seeds);

}  // namespace tool
