/** @file `zolp bom resequence`: numbers the lines of a product structure anew. */
#include <cstdio>
#include <memory>

#include "commands/bom.h"
#include "zolp_orktool.h"

namespace tool {

namespace {

void resequence(const BomOptions& options) {
  Window window = open_window(options);
  const int depth = options.recursive ? options.depth : 1;
  const Line before = read_line(window.top_line(), depth);
  int start = options.start;
  int increment = options.increment;
  walk("the structure is not numbered", [&] {
    return ZOLP_resequence_bom(window.top_line(), &start, &increment, options.recursive ? 1 : 0, 0,
                               nullptr, nullptr, 0);
  });
  const Line after = read_line(window.top_line(), depth);
  const Json structure = options.json ? line_json(after, &before) : Json();
  if (options.save) {
    window.save();
  }
  if (options.json) {
    print_json({{"saved", options.save}, {"structure", structure}});
    return;
  }
  draw(after, &before);
  std::puts(options.save ? "saved" : "nothing is saved; --save keeps it");
}

}  // namespace

void add_bom_resequence(CommandParser& group) {
  const auto options = std::make_shared<BomOptions>();
  CommandParser& command = add_bom_command(
      group, options, "resequence", "Number the lines anew; shows what changes",
      "\nLines of one revision share a number. Nothing is saved without --save.\n"
      "Example: zolp bom resequence MX-100/B --start 10 --increment 10 --recursive --save",
      resequence);
  add_numbering(command, *options);
  add_recursive(command, *options);
  add_depth(command, *options);
  const OptionParser save = command.add_flag("--save", options->save, "Save the new numbers");
  command.add_flag("--dry-run", options->dry_run, "Save nothing, as without --save").excludes(save);
}

}  // namespace tool
