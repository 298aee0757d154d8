/** @file The subcommands of `zolp handler`; each adds itself. */
#pragma once

#include "command_line/parser.h"

namespace tool {

void add_handler_list(CommandParser& group);
void add_handler_run(CommandParser& group);

}  // namespace tool
