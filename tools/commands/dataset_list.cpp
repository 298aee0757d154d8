/** @file `zolp dataset list`: lists the datasets of an item or revision. */
#include <memory>
#include <string>

#include "commands/dataset.h"
#include "objects.h"

namespace tool {

namespace {

void list_datasets(const DatasetOptions& options) {
  const View one_state;
  Json rows = Json::array();
  for (const tag dataset : datasets_of(find_owner(options))) {
    Json row = dataset_card(dataset);
    row["references"] = row["references"].size();
    row.erase("tool");
    row.erase("format");
    rows.push_back(std::move(row));
  }
  if (options.json) {
    return print_json(rows);
  }
  Table table({"name", "type", "owner", "references", "description"});
  for (const Json& row : rows) {
    table.add_row(
        {row["name"], row["type"], row["owner"], row["references"].dump(), row["description"]});
  }
  table.print();
}

}  // namespace

void add_dataset_list(CommandParser& group) {
  const auto options = std::make_shared<DatasetOptions>();
  add_owner_options(add_dataset_command(group, "list", "List the datasets of an item or revision",
                                        "\nExample: zolp dataset list --item SH-200 --rev A",
                                        options, list_datasets),
                    *options, true);
}

}  // namespace tool
