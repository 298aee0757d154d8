/** @file `zolp dataset`: files into datasets and out of them. */
#include "commands/dataset.h"

#include "commands/commands.h"
#include "error.h"

namespace tool {

void check_length(const char* what, const std::string& text, std::size_t limit) {
  if (text.size() > limit) {
    throw Error(std::string("the ") + what + " is longer than " + std::to_string(limit) + " bytes",
                "choose a shorter one");
  }
}

CommandParser& add_dataset_command(CommandParser& group, const char* name, const char* description,
                                   const char* footer,
                                   const std::shared_ptr<DatasetOptions>& options,
                                   void (*work)(const DatasetOptions&)) {
  CommandParser& command = group.add_command(name, description);
  work_in_session(command, options, work);
  command.footer(footer);
  return command;
}

void add_owner_options(CommandParser& command, DatasetOptions& options, bool is_required) {
  const OptionParser item =
      command.add_option("--item", options.item, "Item of the dataset").type_name("ITEM");
  const OptionParser revision =
      command.add_option("--rev", options.revision, "Revision of that item").type_name("REV");
  revision.needs(item);
  item.required(is_required);
}

void add_dataset_argument(CommandParser& command, DatasetOptions& options) {
  command.add_option("DATASET", options.dataset, "Name of the dataset").required().type_name("");
  add_owner_options(command, options, false);
}

void add_dataset_commands(CommandParser& program) {
  CommandParser& group = program.add_group(
      "dataset", "Bring files into datasets and out of them; list and delete datasets");
  group.footer(R"(
Examples:
  zolp dataset import report.txt --item SH-200 --rev A --host site.db
  zolp dataset export "Check report" --out report.txt --host site.db
  zolp dataset export "Check report" --out - --host site.db | less
  zolp dataset copy "Check report" "Check report 2" --host site.db

"zolp dataset COMMAND --help" says more about each command.)");
  add_dataset_import(group);
  add_dataset_export(group);
  add_dataset_export_images(group);
  add_dataset_copy(group);
  add_dataset_show(group);
  add_dataset_list(group);
  add_dataset_delete(group);
}

}  // namespace tool
