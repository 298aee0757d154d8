/**
 * @file
 * The files that dataset types take. The store keeps the parts of the references as one list each,
 * all of the same length.
 */
#pragma once

#include <vector>

#include "store.h"

namespace host {

/** Those that the type itself defines. */
std::vector<FileReference> own_file_references(Store& store, tag type);
void set_file_references(Store& store, tag type, const std::vector<FileReference>& references);

}  // namespace host
