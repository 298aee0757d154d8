/** @file `zolp bom find`: asks whether a revision is right below another one. */
#include <cstdio>
#include <memory>

#include "commands/bom.h"
#include "object_json.h"
#include "objects.h"
#include "zolp_orktool.h"

namespace tool {

namespace {

void find_in_structure(const BomOptions& options) {
  const View one_state;
  const Window window = open_window(options);
  const Window wanted(options.wanted, options.rule, options.view);
  logical found = 0;
  walk("the structure is not searched",
       [&] { return ZOLP_existObjectInBom(wanted.top_line(), window.top_line(), &found); });
  if (options.json) {
    print_json({{"found", found != 0},
                {"revision", object_json(find_object(options.revision))},
                {"wanted", object_json(find_object(options.wanted))}});
  } else {
    std::printf("%s is %sright below %s\n", printable(options.wanted).c_str(),
                found != 0 ? "" : "not ", printable(options.revision).c_str());
  }
}

}  // namespace

void add_bom_find(CommandParser& group) {
  const auto options = std::make_shared<BomOptions>();
  CommandParser& command = add_bom_command(
      group, options, "find", "Ask whether a revision is right below another one",
      "\nExample: zolp bom find MX-100/B MX-110/A --host site.db", find_in_structure);
  command.add_option("WANTED", options->wanted, "Item id/revision id to look for")
      .required()
      .type_name("");
}

}  // namespace tool
