/** @file `zolp bom resequence`: numbers the lines of a product structure anew. */
#include <cstdio>
#include <memory>

#include "commands/bom.h"
#include "output.h"
#include "output_files.h"
#include "structure_tree.h"
#include "zolp_orktool.h"

namespace tool {

namespace {

void resequence(const BomOptions& options) {
  Window window = open_window(options);
  const int depth = options.recursive ? options.depth : 1;
  const SequenceNumbers before = sequence_numbers(window.top_line(), depth);
  int start = options.start;
  int increment = options.increment;
  walk("the structure is not numbered", [&] {
    return ZOLP_resequence_bom(window.top_line(), &start, &increment, options.recursive ? 1 : 0, 0,
                               nullptr, nullptr, 0);
  });
  LateOutput output;  // what cannot be read is not to be noticed when all is saved
  write_tree(window.top_line(), depth, options.json, {{"saved", options.save}}, before,
             [&output](std::string_view text) { output.write(text); });
  stop_if_interrupted();
  if (options.save) {
    window.save();
  }
  output.print();
  if (!options.json) {
    std::puts(options.save ? "saved" : "nothing is saved; --save keeps it");
  }
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
