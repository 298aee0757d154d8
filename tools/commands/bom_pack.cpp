/** @file `zolp bom pack`: shows a product structure with equal lines as one. */
#include <cstdio>
#include <memory>

#include "commands/bom.h"
#include "structure_tree.h"
#include "zolp_orktool.h"

namespace tool {

namespace {

void pack(const BomOptions& options) {
  const View one_state;
  const Window window = open_window(options);
  const int lines = size_of(window);
  walk("the structure is not packed",
       [&] { return ZOLP_pack_bom(window.top_line(), options.recursive ? 1 : 0); });
  const int packed_lines = size_of(window);
  print_tree(window.top_line(), options.depth, options.json,
             {{"lines", lines}, {"packed_lines", packed_lines}});
  if (options.json) {
    return;
  }
  std::printf("%s, packed %d\n", counted(static_cast<std::size_t>(lines), "line").c_str(),
              packed_lines);
}

}  // namespace

void add_bom_pack(CommandParser& group) {
  const auto options = std::make_shared<BomOptions>();
  CommandParser& command =
      add_bom_command(group, options, "pack", "Show a structure with equal lines as one",
                      "\nNothing is saved.\n"
                      "Example: zolp bom pack MX-100/B --recursive --host site.db",
                      pack);
  add_recursive(command, *options);
  add_depth(command, *options);
}

}  // namespace tool
