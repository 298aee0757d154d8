/** @file The business types of objects. */
#pragma once

#include "store.h"

namespace host {

/** Type of a workspace object or a relation; NULLTAG for other objects, which have none. */
tag type_of(Store& store, tag object);

/** Whether the objects of a type are stored in a class or below it. */
bool is_stored_in(Store& store, tag type, const char* class_name);

/** Whether a type is another one or descends from it. */
bool is_type_of(Store& store, tag type, tag ancestor);

}  // namespace host
