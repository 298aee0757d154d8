/** @file `zolp item`: makes items and revisions. */
#include "commands/item.h"

#include "commands/commands.h"

namespace tool {

void add_item_commands(CLI::App& program) {
  CLI::App& group = *program.add_subcommand("item", "Make items and revisions");
  group.require_subcommand(1);
  add_item_create(group);
  add_item_revise(group);
}

}  // namespace tool
