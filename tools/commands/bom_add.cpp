/** @file `zolp bom add`: adds a line to a product structure. */
#include <cstdio>
#include <memory>
#include <string>

#include "commands/bom.h"
#include "commands/bom_change.h"
#include "error.h"
#include "object_json.h"
#include "objects.h"
#include "ork/struct.h"
#include "site.h"

namespace tool {

namespace {

struct AddOptions {
  std::string revision, child, quantity, sequence, view;
  bool json = false;
  LoginOptions login;
};

void add_line(const AddOptions& options) {
  const tag parent = find_object(options.revision);
  const tag child = find_object(options.child);
  if (class_of(parent) == "Item") {
    throw Error(options.revision + " is an item",
                "name one of its revisions, as in " + options.revision + "/A");
  }
  const Json made = {{"revision", object_json(parent)},
                     {"line", object_json(child)},
                     {"quantity", options.quantity},
                     {"sequence", options.sequence}};
  const std::string problem = id_of(child) + " is not added to " + id_of(parent);
  const std::string advice = "correct it and start again";
  Change change;
  const tag lines = ensure_view_revision(parent, find_usual_view_type(options.view));
  change_lines(lines, problem, [&] {
    tag line = NULLTAG;
    require_success(STRUCT_create_occurrence(lines, child, &line), problem, advice);
    if (!options.quantity.empty()) {
      require_success(STRUCT_set_quantity(lines, line, options.quantity.c_str()), problem, advice);
    }
    if (!options.sequence.empty()) {
      require_success(STRUCT_set_seq_no(lines, line, options.sequence.c_str()), problem, advice);
    }
  });
  require_success(change.keep(), problem, "start again");
  if (options.json) {
    return print_json(made);
  }
  std::printf("added %s to %s\n", printable(made["line"]["id"].get<std::string>()).c_str(),
              printable(made["revision"]["id"].get<std::string>()).c_str());
}

}  // namespace

void add_bom_add(CommandParser& group) {
  CommandParser& command = group.add_command("add", "Add a line at the end of a structure");
  const auto options = std::make_shared<AddOptions>();
  command.add_option("REVISION", options->revision, "Item id/revision id of the assembly")
      .required()
      .type_name("");
  command
      .add_option("CHILD", options->child,
                  "Item id; or item id/revision id, for this revision and no other")
      .required()
      .type_name("");
  command.add_option("--quantity", options->quantity, "Quantity; 1 without").type_name("NUMBER");
  command.add_option("--sequence", options->sequence, "Sequence number").type_name("NUMBER");
  command.add_option("--view", options->view, "View type; the site's usual one without")
      .type_name("NAME");
  work_in_session(command, options, add_line);
  command.footer("\nExample: zolp bom add MX-100/B MX-900 --quantity 4 --sequence 70");
}

}  // namespace tool
