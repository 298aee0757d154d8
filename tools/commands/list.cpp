/** @file `zolp list`: clean, reduce and look at release lists and item lists. */
#include "commands/list.h"

#include "commands/commands.h"
#include "error.h"

namespace tool {

void add_list_file(CommandParser& command, ListOptions& options, const std::string& what) {
  command.add_option("FILE", options.file, what + "; - for standard input")
      .required()
      .type_name("");
  add_encoding(command, options.encoding);
}

void add_encoding(CommandParser& command, Encoding& encoding) {
  const auto read = [&encoding](const std::string& name) {
    encoding = name == "latin1" ? Encoding::latin1 : Encoding::utf8;
  };
  command.add_option("--encoding", read, "How the file's texts are written")
      .type_name("NAME")
      .one_of({"utf8", "latin1"})
      .shows_preset("utf8");
}

void add_separator(CommandParser& command, std::string& separator) {
  command
      .add_option("--separator", separator,
                  "Text between item id and revision, as the site's preference has it")
      .type_name("TEXT")
      .shows_preset();
}

void require_separator(const std::string& separator) {
  if (separator.empty()) {
    throw usage_error("the separator is empty", "give its text");
  }
}

void add_list_commands(CommandParser& program) {
  CommandParser& group = program.add_group("list", "Check, reduce and look at list files");
  group.footer(R"(
Examples:
  zolp list check release_list.txt                 what is wrong with a list
  zolp list tree release_list.txt --depth 3        what a clone run would work with
  zolp list clean release_list.txt cleaned.txt     without empty "Where" blocks
  zolp list clean list.txt - | zolp list tree -    from one command to the next

"zolp list COMMAND --help" says more about each command.)");
  add_list_check(group);
  add_list_clean(group);
  add_list_dedupe(group);
  add_list_scan(group);
  add_list_items(group);
  add_list_tree(group);
}

}  // namespace tool
