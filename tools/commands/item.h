/** @file What the subcommands of `zolp item` share. */
#pragma once

#include "command_line/parser.h"

namespace tool {

// The subcommands; each adds itself.
void add_item_create(CommandParser& group);
void add_item_revise(CommandParser& group);

}  // namespace tool
