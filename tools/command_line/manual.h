/** @file The manual of the program, made from the description of its commands. */
#pragma once

#include <string>

#include "command_line/command.h"

namespace tool {

/** A page for `man`, in the macros that every `man` knows; its name is `full_name("-")`. */
std::string man_page(const Command& command);

/** The whole manual as one page of Markdown, a section a command. */
std::string markdown_manual(const Command& program);

}  // namespace tool
