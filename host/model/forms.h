/** @file Forms. */
#pragma once

#include <vector>

#include "store.h"

namespace host {

/** Fields of the forms of a class, in the order in which they were defined. */
std::vector<const Attribute*> form_fields(Store& store, const Class& form_class);

}  // namespace host
