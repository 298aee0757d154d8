/** @file `zolp bom size`: counts the lines of a product structure. */
#include <cstdio>
#include <memory>

#include "commands/bom.h"

namespace tool {

namespace {

void show_size(const BomOptions& options) {
  const View one_state;
  const Window window = open_window(options);
  const int lines = size_of(window);
  if (options.json) {
    print_json({{"lines", lines}});
  } else {
    std::puts(counted(static_cast<std::size_t>(lines), "line").c_str());
  }
}

}  // namespace

void add_bom_size(CommandParser& group) {
  const auto options = std::make_shared<BomOptions>();
  add_bom_command(group, options, "size", "Count the lines of a structure",
                  "\nExample: zolp bom size MX-100/B --host site.db", show_size);
}

}  // namespace tool
