/** @file `zolp bom remove`: takes lines out of a product structure. */
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "commands/bom.h"
#include "commands/bom_change.h"
#include "error.h"
#include "object_json.h"
#include "objects.h"
#include "ork/item.h"
#include "ork/struct.h"
#include "site.h"

namespace tool {

namespace {

struct RemoveOptions {
  std::string revision, child, sequence, view;
  bool all = false;
  bool json = false;
  LoginOptions login;
};

tag item_of(tag object) {
  if (class_of(object) == "Item") {
    return object;
  }
  tag item = NULLTAG;
  require(ITEM_get_item_of_rev(object, &item), id_of(object));
  return item;
}

/** Empty for none. */
std::string sequence_of(tag lines, tag line) {
  char* text = nullptr;
  const int status = STRUCT_get_seq_no(lines, line, &text);
  const PlatformBlock<char> block(text);
  require(status, "a line", {STRUCT_no_sequence_number});
  return text != nullptr ? text : "";
}

/** Lines of an item, also those of a certain revision of it; or of one revision and no other. */
std::vector<tag> find_lines(tag lines, const RemoveOptions& options) {
  const tag wanted = find_object(options.child);
  const bool is_item = class_of(wanted) == "Item";
  std::vector<tag> found;
  for (const tag line : listed("the lines", [&](int*count, tag**list) {
         return STRUCT_list_occurrences(lines, count, list);
       })) {
    tag child = NULLTAG;
    require(STRUCT_get_child(lines, line, &child), "a line");
    const std::string sequence = sequence_of(lines, line);
    if ((child == wanted || (is_item && item_of(child) == wanted)) &&
        (options.sequence.empty() || sequence == options.sequence)) {
      found.push_back(line);
    }
  }
  return found;
}

void require_clear(const std::vector<tag>& found, const RemoveOptions& options) {
  const std::string what =
      options.child + (options.sequence.empty() ? "" : " with sequence number " + options.sequence);
  if (found.empty()) {
    throw Error(options.revision + " has no line of " + what,
                "see \"zolp bom tree " + options.revision + "\"");
  }
  if (found.size() > 1 && !options.all) {
    throw Error(options.revision + " has " + std::to_string(found.size()) + " lines of " + what,
                "name one with --sequence, or all of them with --all");
  }
}

void remove_lines(const RemoveOptions& options) {
  const tag parent = find_object(options.revision);
  const Json revision = object_json(parent);
  const std::string id = revision["id"];
  const std::string problem = "no line is taken out of " + id;
  Change change;
  const tag lines = class_of(parent) == "Item"
                        ? NULLTAG
                        : find_view_revision(parent, find_usual_view_type(options.view));
  if (lines == NULLTAG) {
    throw Error(options.revision + " has no such structure",
                "name a revision, and its view type with --view");
  }
  std::size_t count = 0;
  change_lines(lines, problem, [&] {
    const std::vector<tag> found = find_lines(lines, options);
    require_clear(found, options);
    for (const tag line : found) {
      require_success(STRUCT_delete_occurrence(lines, line), problem, "start again");
    }
    count = found.size();
  });
  require_success(change.keep(), problem, "start again");
  if (options.json) {
    return print_json({{"revision", revision}, {"removed", count}});
  }
  std::printf("took %zu %s out of %s\n", count, count == 1 ? "line" : "lines",
              printable(id).c_str());
}

}  // namespace

void add_bom_remove(CommandParser& group) {
  CommandParser& command = group.add_command("remove", "Take lines out of a structure");
  const auto options = std::make_shared<RemoveOptions>();
  command.add_option("REVISION", options->revision, "Item id/revision id of the assembly")
      .required()
      .type_name("");
  command
      .add_option("CHILD", options->child,
                  "Item id; or item id/revision id, for lines of this revision and no other")
      .required()
      .type_name("");
  command.add_option("--sequence", options->sequence, "Only the line with this sequence number")
      .type_name("NUMBER");
  command.add_flag("--all", options->all, "All lines of it, where there are several");
  command.add_option("--view", options->view, "View type; the site's usual one without")
      .type_name("NAME");
  work_in_session(command, options, remove_lines);
  command.footer("\nExample: zolp bom remove MX-100/B MX-900 --sequence 70");
}

}  // namespace tool
