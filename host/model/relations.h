/** @file Relations between objects. */
#pragma once

#include <vector>

#include "ork/ork.h"

namespace host {

void require_relation_type(tag relation_type);

/**
 * Relations with these ends, type and user data, in the order in which they were made; NULLTAG
 * takes any. Those that this process has made are among them before they are saved: it works on
 * with them, and saves them when what they relate is saved.
 */
std::vector<tag> find_relations(tag primary, tag secondary, tag relation_type, tag user_data);

}  // namespace host
