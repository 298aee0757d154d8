/** @file Names of the files that the trace makes. */
#pragma once

#include <array>
#include <cstddef>

namespace basetool {

constexpr size_t longest_path = 4096;
using Path = std::array<char, longest_path>;

/**
 * Puts the process id in the place of %p and a percent sign in the place of %%, and makes the name
 * mean what it meant when the library was loaded.
 * @return false when the name is too long for a file, with room kept for endings.
 */
bool expand_file_name(const char* name, Path& path);

/** Appends ".pidN". */
void append_process_id(Path& path);

/** Renames NAME to NAME.1, NAME.1 to NAME.2 and so on; what is beyond the number kept goes. */
bool rename_older_files(const Path& path, unsigned kept);

}  // namespace basetool
