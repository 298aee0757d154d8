/** @file Names that nobody else takes or guesses. */
#pragma once

#include <cstddef>
#include <string>

namespace host {

/** As many characters as each of them has. */
inline constexpr std::size_t random_name_length = 32;

/** A new one, of hexadecimal digits. */
std::string random_name();

/** Whether a text is one: names are read from sites and lists, and what they name is opened. */
bool is_random_name(const std::string& text);

}  // namespace host
