/** @file Whether a site is whole: its file, what its objects say, and what stands beside it. */
#pragma once

#include <string>

namespace host {

/**
 * Looks a site over, which others may be using.
 * @param[in] repairs whether what can be put right without losing anything is.
 * @param[out] json what was found, as `ork_host_check` hands it out.
 * @return number of findings that are left.
 */
int check_site(const std::string& path, bool repairs, std::string* json);

}  // namespace host
