/** @file Changes of the lines of a revision's structure. */
#pragma once

#include <functional>
#include <string>

#include "ork/ork.h"

namespace tool {

/** The view type that is named, or else the site's usual one. */
tag find_usual_view_type(const std::string& name);

/** The view revision of a revision and a view type; NULLTAG when there is none. */
tag find_view_revision(tag revision, tag view_type);

/** The same, which is made when there is none, with its view. */
tag ensure_view_revision(tag revision, tag view_type);

/** Locks a view revision, changes it, saves it and gives the lock back. */
void change_lines(tag view_revision, const std::string& problem,
                  const std::function<void()>& change);

}  // namespace tool
