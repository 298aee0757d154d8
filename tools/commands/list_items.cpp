/** @file `zolp list items`: an item list as a table. */
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>

#include "commands/list.h"
#include "error.h"
#include "output.h"
#include "release_list.h"
#include "site.h"
#include "text.h"
#include "zolp_orktool.h"

namespace tool {

namespace {

/** The arrays that `ZOLP_read_itemrevlist` hands out. */
struct ItemList {
  ItemList() = default;
  ~ItemList() {
    for (int i = 0; i < count; ++i) {
      std::free(item_ids[i]);
      std::free(levels[i]);
    }
    std::free(item_ids);
    std::free(levels);
    std::free(counts);
  }
  ItemList(const ItemList&) = delete;
  ItemList& operator=(const ItemList&) = delete;

  int count = 0;
  char** item_ids = nullptr;
  char** levels = nullptr;
  int* counts = nullptr;
};

/** An item's id; in a release list the cell's separator stands in front of it. */
std::string shown_item_id(const std::string& field) {
  return cell_text(field.starts_with(";") ? field.substr(1) : field);
}

struct ItemOptions : ListOptions {
  bool json = false;
};

void show_items(const ItemOptions& options) {
  const InputFile file(options.file);
  check_list_file(file);
  ItemList list;
  {
    LibraryCall call;
    if (ZOLP_read_itemrevlist(file.path().c_str(), &list.count, &list.item_ids, &list.levels,
                              &list.counts) != 0) {
      throw Error("cannot read " + file.name(),
                  "check that it is writable, and that memory is enough");
    }
  }
  if (list.count == 0) {
    throw Error("list " + file.name() + " has no item line",
                "lines begin with a level in characters 1 to 6, the item id follows");
  }
  std::optional<JsonList> items;
  if (options.json) {
    items.emplace();
  }
  Table table({"level", "item", "count"});
  for (int i = 0; i < list.count; ++i) {
    const int level = std::atoi(list.levels[i]);
    const std::string id = decoded(shown_item_id(list.item_ids[i]), options.encoding);
    if (options.json) {
      items->add({{"level", level}, {"item", id}, {"count", list.counts[i]}});
    } else {
      table.add_row({std::to_string(level), id, std::to_string(list.counts[i])});
    }
  }
  if (options.json) {
    return items->finish();
  }
  table.print();
}

}  // namespace

void add_list_items(CommandParser& group) {
  CommandParser& command = group.add_command("items", "Print an item list as a table");
  const auto options = std::make_shared<ItemOptions>();
  add_list_file(command, *options, "The item list; must be writable");
  command.add_flag("--json", options->json, "Print JSON");
  command.footer(
      "\n\"count\" says how often the same text stands in the list; texts that differ in\n"
      "blanks behind the id count as different.");
  command.callback([options] { show_items(*options); });
}

}  // namespace tool
