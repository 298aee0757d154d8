/** @file The ids and texts under which users know objects. */
#pragma once

#include <string>
#include <vector>

#include "store.h"

namespace host {

void require_workspace_object(Store& store, tag object);

/** As `WSO_get_object_id_string`. */
std::string object_id_text(Store& store, tag object);

/**
 * The text that names any object: the above, or the id or name of a user, group, role, site or
 * type; class and tag for what has no name.
 */
std::string object_label(Store& store, tag object);

/** The revision of an item that has an id, or NULLTAG. */
tag find_revision(Store& store, tag item, const std::string& revision_id);

/** Saved workspace objects, statuses aside, whose id or name is like a pattern. */
std::vector<tag> find_by_text(Store& store, const std::string& pattern);

}  // namespace host
