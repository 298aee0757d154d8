/** @file `zolp bom tree`: draws a product structure. */
#include <memory>

#include "commands/bom.h"
#include "structure_picture.h"
#include "structure_tree.h"
#include "zolp_orktool.h"

namespace tool {

namespace {

void show_tree(const BomOptions& options) {
  const View one_state;
  const Window window = open_window(options);
  if (options.picture.wanted()) {
    return print_picture(structure_picture(window.top_line(), options.depth), options.picture);
  }
  print_tree(window.top_line(), options.depth, options.json);
}

}  // namespace

void add_bom_tree(CommandParser& group) {
  const auto options = std::make_shared<BomOptions>();
  CommandParser& command = add_bom_command(
      group, options, "tree", "Draw a structure with sequence numbers, quantities and statuses",
      "\nA picture has one box for each revision, and an arrow for each of its uses.\n"
      "Examples: zolp bom tree MX-100/B --rule Released --host site.db\n"
      "          zolp bom tree MX-100/B --depth 3 --svg --host site.db > MX-100.svg",
      show_tree);
  add_depth(command, *options);
  add_picture_options(command, options->picture);
}

}  // namespace tool
