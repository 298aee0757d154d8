/** @file The text under which users see an object. */
#pragma once

#include <string>

#include "store.h"

namespace host {

/** As `WSO_get_object_id_string`. */
std::string object_id_text(Store& store, tag object);

}  // namespace host
