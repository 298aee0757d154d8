/** @file A site as JSON. */
#pragma once

#include <string>

#include "json_stream.h"
#include "site.h"

namespace host {

/**
 * Writes one section (see `ork_host_describe`), or all of them for an empty name. What is read for
 * it does not stay in memory.
 */
void describe(Site& site, const std::string& section, const JsonStream::Write& write);

/** Names of the sections in their order, with a null behind the last. */
const char* const* section_names();

}  // namespace host
