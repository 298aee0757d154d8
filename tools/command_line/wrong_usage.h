/** @file What is told about a command line that is none of the program's. */
#pragma once

#include <string>
#include <vector>

#include "command_line/command.h"

namespace tool {

/**
 * Names what is wrong with a command line, with the nearest word that is right, and the help that
 * tells more; in one line.
 * @param words the command line without the program's name.
 * @param what_parser_says is told where no word is wrong by itself.
 */
std::string wrong_usage(const Command& program, const std::vector<std::string>& words,
                        const std::string& what_parser_says);

}  // namespace tool
