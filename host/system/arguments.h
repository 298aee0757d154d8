/** @file The program's arguments, or those that stand in for them. */
#pragma once

#include <string>
#include <vector>

namespace host {

/** Puts a command line in place of the program's own; an empty one goes back to that. */
void set_arguments(std::vector<std::string> arguments);

/** As `ORK_get_cli_argument`. */
const char* find_argument(const std::string& option);

}  // namespace host
