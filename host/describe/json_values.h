/** @file Values of the store as JSON. */
#pragma once

#include <nlohmann/json.hpp>

#include "store.h"

namespace host {

/** Name of an object that has one attribute for it; null for no object. */
nlohmann::ordered_json name_of_reference(Store& store, tag object, const char* attribute);

nlohmann::ordered_json value_json(const Scalar& value);

/** How relations and the like name an object. */
nlohmann::ordered_json describe_reference(Store& store, tag object);

}  // namespace host
