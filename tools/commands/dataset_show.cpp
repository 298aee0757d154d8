/** @file `zolp dataset show`: prints what a dataset holds. */
#include <cstdio>
#include <memory>
#include <string>

#include "commands/dataset.h"

namespace tool {

namespace {

void print_dataset(const Json& card) {
  std::puts(printable(card["name"].get<std::string>()).c_str());
  for (const char* field : {"type", "description", "owner", "tool", "format"}) {
    std::printf("  %-12s %s\n", field, printable(card[field].get<std::string>()).c_str());
  }
  if (card["references"].empty()) {
    return;
  }
  Table table({"  reference", "holds", "bytes", "what"});
  for (const Json& reference : card["references"]) {
    const std::string name = "  " + reference["name"].get<std::string>();
    const char* const holds = reference["part"].get<bool>() ? "part" : "link";
    if (const auto file = reference.find("file"); file != reference.end()) {
      table.add_row({name, holds, (*file)["size"].dump(), (*file)["name"]});
    } else {
      const Json& object = reference["object"];
      table.add_row(
          {name, holds, "",
           object["id"].get<std::string>() + "  (" + object["class"].get<std::string>() + ")"});
    }
  }
  table.print();
}

void show_dataset(const DatasetOptions& options) {
  const View one_state;
  const Json card = dataset_card(find_dataset(options));
  if (options.json) {
    print_json(card);
  } else {
    print_dataset(card);
  }
}

}  // namespace

void add_dataset_show(CommandParser& group) {
  const auto options = std::make_shared<DatasetOptions>();
  add_dataset_argument(add_dataset_command(group, "show", "Print what a dataset holds",
                                           "\nExample: zolp dataset show \"Front view\" --json",
                                           options, show_dataset),
                       *options);
}

}  // namespace tool
