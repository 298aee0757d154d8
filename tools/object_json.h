/** @file What tells an object of the site from others, as JSON has it everywhere. */
#pragma once

#include "ork/ork.h"
#include "text.h"

namespace tool {

/**
 * The members `tag`, `id`, `item`, `revision`, `name`, `class` and `type`. `id` is what users know
 * the object by; `item` and `revision` are null for what is none of them, as for a dataset.
 */
Json object_json(tag object);

/** Whether an object is of a class or of one below it. */
bool is_of_class(tag object, const char* class_name);

}  // namespace tool
