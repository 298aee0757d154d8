/** @file The reader of release lists, and the records of the assembly tree that it makes. */
#pragma once

#include <cstdio>
#include <string_view>

#include "call_frame.h"
#include "zolp_orktool.h"

namespace orktool {

/**
 * A new record, linked to nothing, on the C heap; whether it is kept or cloned is in its line.
 * Null when memory is exhausted, which is reported.
 */
assy_entry* new_entry(std::string_view line);

void link_below(assy_entry* entry, assy_entry* parent);
void link_after(assy_entry* entry, assy_entry* sibling);

/**
 * Reads the lines of a release list; `last` follows the records of its items.
 * @param[in] place where failures are reported from.
 * @return 0, or 1 for an item line without a separator and when memory is exhausted.
 */
int read_release_list(std::FILE* file, const char* path, const char* separator, assy_entry*& last,
                      Place place = here());

}  // namespace orktool
