/** @file `zolp item create`: makes an item with its first revision. */
#include <cstdio>
#include <memory>
#include <string>

#include "commands/item.h"
#include "login.h"
#include "object_json.h"
#include "objects.h"
#include "ork/item.h"
#include "ork/obj.h"
#include "site.h"

namespace tool {

namespace {

struct CreateOptions {
  std::string id, name, type, description;
  std::string revision = "A";
  bool json = false;
  LoginOptions login;
};

void set_description(tag object, const std::string& text, const std::string& problem) {
  if (!text.empty()) {
    require_success(OBJ_set_value_string(object, "object_desc", text.c_str()), problem,
                    "choose a shorter description");
  }
}

void create(const CreateOptions& options) {
  const std::string problem = "item " + options.id + " is not made";
  const std::string advice = "choose another id, name or type";
  const std::string& name = options.name.empty() ? options.id : options.name;
  tag item = NULLTAG;
  tag revision = NULLTAG;
  Change change;
  require_success(ITEM_create_item(options.id.c_str(), name.c_str(), options.type.c_str(),
                                   options.revision.c_str(), &item, &revision),
                  problem, advice);
  for (const tag object : {item, revision}) {
    set_description(object, options.description, problem);
    require_success(OBJ_save(object), problem, advice);
    require_success(OBJ_refresh(object, 0), problem, advice);
  }
  const Json made = {{"item", object_json(item)}, {"revision", object_json(revision)}};
  require_success(change.keep(), problem, "start again");
  if (options.json) {
    return print_json(made);
  }
  std::printf("made %s with revision %s\n",
              printable(made["item"]["id"].get<std::string>()).c_str(),
              printable(made["revision"]["id"].get<std::string>()).c_str());
}

}  // namespace

void add_item_create(CommandParser& group) {
  CommandParser& command = group.add_command("create", "Make an item with its first revision");
  const auto options = std::make_shared<CreateOptions>();
  command.add_option("ID", options->id, "Id of the item").required().type_name("");
  command.add_option("--name", options->name, "Name of both; the id without").type_name("TEXT");
  command.add_option("--type", options->type, "Type of the item; Item without").type_name("TYPE");
  command.add_option("--rev", options->revision, "Id of the revision")
      .type_name("REV")
      .shows_preset();
  command.add_option("--description", options->description, "Description of both")
      .type_name("TEXT");
  work_in_session(command, options, create);
  command.footer("\nExample: zolp item create SH-300 --name \"Output shaft\" --type Part");
}

}  // namespace tool
