/** @file `zolp list`: clean, reduce and look at release lists and item lists. */
#include "commands/list.h"

#include "commands/commands.h"

namespace tool {

void add_list_commands(CLI::App& program) {
  CLI::App& group = *program.add_subcommand("list", "Clean, reduce and look at list files");
  group.require_subcommand(1);
  group.footer("\n\"zolp list COMMAND --help\" says more about each command.");
  add_list_clean(group);
  add_list_dedupe(group);
  add_list_scan(group);
  add_list_items(group);
  add_list_tree(group);
}

}  // namespace tool
