/** @file `zolp item`: makes items and revisions. */
#include "commands/item.h"

#include "commands/commands.h"

namespace tool {

void add_item_commands(CommandParser& program) {
  CommandParser& group = program.add_group("item", "Make items and revisions");
  add_item_create(group);
  add_item_revise(group);
}

}  // namespace tool
