/**
 * @file
 * Keys under which seeds know objects that have no id of their own, such as folders and jobs. The
 * site keeps them, so that a seed that is taken again finds what it has made.
 */
#pragma once

#include <string>
#include <unordered_map>

#include "store.h"

namespace host {

/** The object that a seed has made under a key, or NULLTAG. */
tag object_of_seed(Store& store, const std::string& key);
void note_object_of_seed(Store& store, const std::string& key, tag object);

/** All of them that are still there. */
std::unordered_map<tag, std::string> keys_of_seeds(Store& store);

}  // namespace host
