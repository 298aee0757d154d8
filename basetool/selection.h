/** @file Which functions and calls are shown and recorded, by their names. */
#pragma once

#include <cstddef>
#include <string_view>

namespace basetool {

/**
 * Whether a list of names, separated by commas, holds a name. `*` stands for any number of
 * characters.
 */
bool list_holds(std::string_view list, std::string_view name);

/** The name in the text of a call: what stands before its first parenthesis. */
std::string_view name_of_call(std::string_view text);

}  // namespace basetool
