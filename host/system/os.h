/** @file What the host asks of the operating system, files aside (os_file.h). Nothing else in the
 * host depends on one. */
#pragma once

#include <cstdint>
#include <cstdio>
#include <span>
#include <string>
#include <vector>

#include "ork/date.h"

namespace host::os {

/** How often the process was forked on the way to this one, from the first call on. */
unsigned forks();

/** Name of this machine. */
std::string node_name();

/** Arguments of this process, its program's name included. */
std::vector<std::string> command_line();

void sleep_milliseconds(int milliseconds);

/**
 * Loads a shared library, which stays until the process ends, and finds a function in it.
 * @return the function, or null, and then a text that says why.
 */
void* symbol_of_library(const std::string& path, const char* symbol, std::string* error);

/** A function of whatever library the process has loaded; null for none. */
void* symbol_of_process(const char* symbol) noexcept;

/** The current local time. */
date_s local_time();

/** Value of an environment variable; empty when it is not set. */
std::string environment(const char* variable);

/** Bytes that nobody can foretell. @throws std::system_error */
void make_random(std::span<unsigned char> bytes);

/** As `fopen`, for paths in UTF-8. */
std::FILE* open_file(const std::string& path, const char* mode);

}  // namespace host::os
