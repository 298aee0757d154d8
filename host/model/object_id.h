/** @file The ids and texts under which users know objects. */
#pragma once

#include <string>

#include "store.h"

namespace host {

/** As `WSO_get_object_id_string`. */
std::string object_id_text(Store& store, tag object);

/**
 * The text that names any object: the above, or the id or name of a user, group, role, site or
 * type; class and tag for what has no name.
 */
std::string object_label(Store& store, tag object);

/** The revision of an item that has an id, or NULLTAG. */
tag find_revision(Store& store, tag item, const std::string& revision_id);

}  // namespace host
