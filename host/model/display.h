/** @file Values of attributes as users see and write them. */
#pragma once

#include <string>

#include "store.h"

namespace host {

/** As `OBJ_UIF_get_value`. */
std::string display_value(Store& store, tag object, const std::string& attribute);

/** As `OBJ_UIF_set_value`. */
void set_display_value(Store& store, tag object, const std::string& attribute,
                       const std::string& text);

/** What a text stands for. Lists and references have none; an empty text is no value. */
Values values_of_display(const Attribute& attribute, const std::string& text);

}  // namespace host
