/** @file `zolp bom tree`: draws a product structure. */
#include <memory>

#include "commands/bom.h"
#include "structure_tree.h"
#include "zolp_orktool.h"

namespace tool {

namespace {

void show_tree(const BomOptions& options) {
  const View one_state;
  const Window window = open_window(options);
  print_tree(window.top_line(), options.depth, options.json);
}

}  // namespace

void add_bom_tree(CommandParser& group) {
  const auto options = std::make_shared<BomOptions>();
  CommandParser& command = add_bom_command(
      group, options, "tree", "Draw a structure with sequence numbers, quantities and statuses",
      "\nExample: zolp bom tree MX-100/B --rule Released --host site.db", show_tree);
  add_depth(command, *options);
}

}  // namespace tool
