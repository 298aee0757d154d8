/**
 * @file
 * Keys under which seeds know objects that have no id of their own, such as folders and jobs. The
 * site keeps those of seeds, so that a seed that is taken again finds what it has made. An object
 * that no seed has given a key has one made of its number and of the line of numbers that it is
 * from. Each site has a line of its own; copies go on with new ones, and so does a site that has
 * been put back to where it was. So no two objects share a key, wherever they come from.
 */
#pragma once

#include <string>
#include <unordered_map>

#include "store.h"

namespace host {

/** The object with a key, or NULLTAG: one of a seed, or the site's own under the key of its number.
 */
tag object_of_seed(Store& store, const std::string& key);
void note_object_of_seed(Store& store, const std::string& key, tag object);

/** The keys of seeds, of all objects that are still there. */
std::unordered_map<tag, std::string> keys_of_seeds(Store& store);

/** The key of an object that no seed has given one. */
std::string key_of_object(Store& store, tag object);

/** Numbers that the site gives out from now on are of a line of their own. */
void begin_line_of_numbers(Database& database);

/** Whether the site has a line at all, which those of earlier versions have not. */
bool has_line_of_numbers(Database& database);

}  // namespace host
