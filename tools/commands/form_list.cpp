/** @file `zolp form list`: lists the forms of an item, a revision and its datasets. */
#include <memory>
#include <string>
#include <vector>

#include "commands/form.h"
#include "datasets.h"
#include "object_json.h"
#include "objects.h"
#include "ork/form.h"
#include "ork/rel.h"
#include "platform_block.h"
#include "site.h"

namespace tool {

namespace {

struct FormListOptions {
  std::string object;
  bool json = false;
  LoginOptions login;
};

bool is_form(tag object) {
  int count = 0;
  char** names = nullptr;
  const int status = FORM_list_fields(object, &count, &names);
  const PlatformBlock<char*> block(names);
  require(status, "what an object is", {FORM_not_a_form});
  return status == ORK_ok;
}

Json row(tag form, const Json& held_by, const std::string& as) {
  Json found = object_json(form);
  found["of"] = held_by;
  found["as"] = as;
  return found;
}

/** Those that are related to an object, and those that its datasets hold. */
Json forms_of(tag object) {
  int count = 0;
  REL_record_s* records = nullptr;
  require(REL_list_all_related_objects(object, &count, &records), "the relations");
  const PlatformBlock<REL_record_s> block(records);
  const Json holder = object_json(object);
  Json rows = Json::array();
  for (int i = 0; i < count; ++i) {
    if (records[i].primary == object && is_form(records[i].secondary)) {
      rows.push_back(row(records[i].secondary, holder, type_name(records[i].relation_type)));
    }
  }
  for (const tag dataset : datasets_of(object)) {
    for (const Reference& reference : references_of(dataset)) {
      if (is_form(reference.object)) {
        rows.push_back(row(reference.object, object_json(dataset), reference.name));
      }
    }
  }
  return rows;
}

void list_forms(const FormListOptions& options) {
  const View one_state;
  const Json rows = forms_of(find_object(options.object));
  if (options.json) {
    return print_json(rows);
  }
  Table table({"name", "type", "of", "as"});
  for (const Json& form : rows) {
    table.add_row({form["name"], form["type"], form["of"]["id"], form["as"]});
  }
  table.print();
}

}  // namespace

void add_form_list(CommandParser& group) {
  CommandParser& command =
      group.add_command("list", "List the forms of an item or revision and its datasets");
  const auto options = std::make_shared<FormListOptions>();
  command.add_option("ID", options->object, "Item id, or item id/revision id")
      .required()
      .type_name("");
  work_in_session(command, options, list_forms);
  command.footer(
      "\n\"as\" is the type of relation, or the reference under which a dataset holds the form.\n"
      "Example: zolp form list SH-200/A");
}

}  // namespace tool
