/** @file Files of the operating system, asked about and removed without exceptions. */
#pragma once

#include <cstddef>

namespace orktool {

/** Whether there is anything at a path that can be asked about. */
bool path_exists(const char* path);

/** Removes a file or a link; a directory stays. */
void remove_file(const char* path);

/** Whether two paths lead to one file; true when memory is exhausted, so that nothing is lost. */
bool is_same_file(const char* path, const char* other);

/** The system's folder for temporary files, cut where it does not fit. */
void copy_temporary_folder(char* buffer, std::size_t size);

}  // namespace orktool
