/** @file `zolp dataset delete`: deletes a dataset with its files and relations. */
#include <cstdio>
#include <memory>
#include <string>

#include "commands/dataset.h"
#include "object_json.h"
#include "objects.h"
#include "ork/obj.h"
#include "ork/rel.h"
#include "platform_block.h"

namespace tool {

namespace {

/** Relations that lead to an object and from it. */
std::vector<tag> relations_of(tag object) {
  std::vector<tag> relations;
  for (const bool is_primary : {true, false}) {
    const std::vector<tag> found = listed("the relations", [&](int* count, tag** list) {
      return REL_list_relations(is_primary ? object : NULLTAG, is_primary ? NULLTAG : object,
                                NULLTAG, NULLTAG, count, list);
    });
    relations.insert(relations.end(), found.begin(), found.end());
  }
  return relations;
}

void remove(tag object, const std::string& problem) {
  require_success(OBJ_refresh(object, 1), problem, "wait until it is free, or log in as its owner");
  require_success(OBJ_delete(object), problem, "delete what refers to it first");
}

void delete_dataset(const DatasetOptions& options) {
  const tag dataset = find_dataset(options);
  const Json deleted = object_json(dataset);
  const std::string name = deleted["id"];
  const std::string problem = "dataset " + name + " is not deleted";
  Change change;
  for (const tag relation : relations_of(dataset)) {
    remove(relation, problem);
  }
  remove(dataset, problem);
  require_success(change.keep(), problem, "start again");
  if (options.json) {
    return print_json({{"deleted", deleted}});
  }
  std::printf("deleted %s\n", printable(name).c_str());
}

}  // namespace

void add_dataset_delete(CommandParser& group) {
  const auto options = std::make_shared<DatasetOptions>();
  add_dataset_argument(
      add_dataset_command(group, "delete", "Delete a dataset with its files and relations",
                          "\nFiles that another dataset has, too, stay.\n"
                          "Example: zolp dataset delete \"Front view\" --item SH-200 --rev A",
                          options, delete_dataset),
      *options);
}

}  // namespace tool
