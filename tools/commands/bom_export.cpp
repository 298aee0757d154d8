/** @file `zolp bom export`: lists the objects of all assemblies of a structure. */
#include <memory>
#include <vector>

#include "commands/bom.h"
#include "object_json.h"
#include "objects.h"
#include "zolp_orktool.h"

namespace tool {

namespace {

void export_objects(const BomOptions& options) {
  const View one_state;
  const Window window = open_window(options);
  const std::vector<tag> found =
      walk_to_list("the objects are not listed", [&](int* count, tag** list) {
        return ZOLP_exportObjectsFromBom(window.top_line(), options.class_name.c_str(), nullptr, 0,
                                         count, list);
      });
  Json objects = Json::array();
  for (const tag object : found) {
    objects.push_back(object_json(object));
  }
  if (options.json) {
    print_json(objects);
    return;
  }
  Table table({"id", "class"});
  for (const Json& object : objects) {
    table.add_row({object["id"], object["class"]});
  }
  table.print();
}

}  // namespace

void add_bom_export(CommandParser& group) {
  const auto options = std::make_shared<BomOptions>();
  CommandParser& command = add_bom_command(
      group, options, "export", "List the items, revisions or datasets of all assemblies",
      "\nLines without lines below them do not count.\n"
      "Example: zolp bom export MX-100/B --class Dataset --host site.db",
      export_objects);
  command.add_option("--class", options->class_name, "Item, ItemRevision or Dataset")
      .one_of({"Item", "ItemRevision", "Dataset"})
      .shows_preset();
}

}  // namespace tool
