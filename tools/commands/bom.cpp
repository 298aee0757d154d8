/** @file `zolp bom`: shows, measures, renumbers and packs a product structure. */
#include "commands/bom.h"

#include "commands/commands.h"

namespace tool {

void add_depth(CommandParser& command, BomOptions& options) {
  command.add_option("--depth", options.depth, "How many levels are drawn")
      .range(0, 1000)
      .shows_preset();
}

void add_recursive(CommandParser& command, BomOptions& options) {
  command.add_flag("--recursive", options.recursive, "On all levels, not only on the first");
}

void add_numbering(CommandParser& command, BomOptions& options) {
  command.add_option("--start", options.start, "First number").shows_preset();
  command.add_option("--increment", options.increment, "Distance between two numbers")
      .shows_preset();
}

CommandParser& add_bom_command(CommandParser& group, const std::shared_ptr<BomOptions>& options,
                               const char* name, const char* description, const char* footer,
                               void (*run)(const BomOptions&)) {
  CommandParser& command = group.add_command(name, description);
  command.add_option("REVISION", options->revision, "Item id/revision id").required().type_name("");
  command.add_option("--rule", options->rule, "Revision rule; the latest revisions without")
      .type_name("NAME");
  command.add_option("--view", options->view, "View type; the site's usual one without")
      .type_name("NAME");
  work_in_session(command, options, run);
  command.footer(footer);
  return command;
}

void add_bom_commands(CommandParser& program) {
  CommandParser& group = program.add_group("bom", "Work on product structures");
  group.footer(R"(
Examples:
  zolp bom tree MX-100/B --host site.db           draw a structure
  zolp bom size MX-100/B --host site.db           count its lines
  zolp bom resequence MX-100/B --host site.db --recursive --save

"zolp bom COMMAND --help" says more about each command.)");
  add_bom_tree(group);
  add_bom_size(group);
  add_bom_resequence(group);
  add_bom_pack(group);
  add_bom_numbers(group);
  add_bom_find(group);
  add_bom_export(group);
  add_bom_add(group);
  add_bom_remove(group);
}

}  // namespace tool
