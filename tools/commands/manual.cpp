/** @file `zolp manual`: the manual of all commands. */
#include "command_line/manual.h"

#include <cstdio>
#include <fstream>
#include <memory>
#include <string>

#include "commands/commands.h"
#include "error.h"
#include "output_files.h"

namespace tool {

namespace {

struct ManualOptions {
  std::string command;
  std::string folder;
  bool as_markdown = false;
};

void add_pages(const Command& command, OutputFiles& files) {
  std::ofstream file(host::utf8_path(files.add(command.full_name("-") + ".1")), std::ios::binary);
  file << man_page(command);
  file.close();
  if (!file) {
    throw Error("a page of the manual cannot be written", "make room on the disk");
  }
  for (const Command& below : command.commands) {
    add_pages(below, files);
  }
}

void write_manual(const Command& program, const ManualOptions& options) {
  if (options.as_markdown) {
    std::fputs(markdown_manual(program).c_str(), stdout);
  } else if (!options.folder.empty()) {
    OutputFiles files(host::utf8_path(options.folder));
    add_pages(program, files);
    files.publish();
  } else {
    std::fputs(man_page(program).c_str(), stdout);
  }
}

}  // namespace

void add_manual_command(CommandParser& program) {
  CommandParser& command = program.add_command(
      "manual", "Print the manual page of zolp, or write those of all commands");
  const auto options = std::make_shared<ManualOptions>();
  const OptionParser folder =
      command.add_option("--out", options->folder, "Write a page for each command there")
          .type_name("FOLDER");
  command.add_flag("--markdown", options->as_markdown, "Print all of it as one page of Markdown")
      .excludes(folder);
  command.footer(
      "\nThe packages install the pages where man finds them: \"man zolp-bom-tree\".\n"
      "Example: zolp manual | man -l -");
  command.callback([&program, options] { write_manual(describe(program), *options); });
}

}  // namespace tool
