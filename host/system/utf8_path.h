/** @file Paths in UTF-8, as all texts of the host are. */
#pragma once

#include <filesystem>
#include <string_view>

namespace host {

/**
 * The path that a text names. The standard library takes a text of plain characters in UTF-8 on
 * most systems, but not on Windows; the way back, `string()`, gives UTF-8 everywhere.
 */
inline std::filesystem::path utf8_path(std::string_view text) {
  return std::u8string_view(reinterpret_cast<const char8_t*>(text.data()), text.size());
}

}  // namespace host
