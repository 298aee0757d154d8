/** @file `zolp item revise`: makes another revision of an item. */
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "commands/item.h"
#include "error.h"
#include "login.h"
#include "object_json.h"
#include "objects.h"
#include "ork/item.h"
#include "ork/obj.h"
#include "ork/rel.h"
#include "site.h"

namespace tool {

namespace {

constexpr const char* based_on = "VELO_based_on";

struct ReviseOptions {
  std::string object, revision;
  bool json = false;
  LoginOptions login;
};

/** What follows an id in its own way of counting: A, B, … Z, AA; 01, 02, … 99, 100; a1, a2. */
std::string id_after(std::string id) {
  for (std::size_t at = id.size(); at-- > 0;) {
    char& letter = id[at];
    const bool is_last = letter == '9' || letter == 'Z' || letter == 'z';
    const bool is_counted = (letter >= '0' && letter <= '9') || (letter >= 'A' && letter <= 'Z') ||
                            (letter >= 'a' && letter <= 'z');
    if (!is_counted) {
      throw Error("there is no usual id after " + id, "name the new revision with --rev");
    }
    if (!is_last) {
      ++letter;
      return id;
    }
    letter = letter == '9' ? '0' : letter == 'Z' ? 'A' : 'a';
  }
  const char first = id.empty() ? 'A' : id.front() == '0' ? '1' : id.front();
  return first + id;
}

std::string revision_id_of(tag revision) {
  char id[ITEM_id_size + 1] = "";
  require(ITEM_get_rev_id(revision, id), "the revision's id");
  return id;
}

/** The revision that a new one is made after: the one that is named, or the item's last one. */
tag find_base(const std::string& id) {
  const tag object = find_object(id);
  if (class_of(object) != "Item") {
    return object;
  }
  tag last = NULLTAG;
  for (const tag found : find_by_pattern(id + "/*")) {
    tag item = NULLTAG;
    if (class_of(found) == "ItemRevision") {
      require(ITEM_get_item_of_rev(found, &item), id_of(found));
    }
    last = item == object ? found : last;
  }
  if (last == NULLTAG) {
    throw Error("item " + id + " has no revision", "seed one");
  }
  return last;
}

void revise(const ReviseOptions& options) {
  const tag base = find_base(options.object);
  const std::string problem = id_of(base) + " is not revised";
  const std::string id =
      options.revision.empty() ? id_after(revision_id_of(base)) : options.revision;
  tag item = NULLTAG;
  tag revision = NULLTAG;
  tag relation_type = NULLTAG;
  tag relation = NULLTAG;
  require(ITEM_get_item_of_rev(base, &item), options.object);
  Change change;
  require_success(ITEM_create_rev(item, id.c_str(), &revision), problem, "choose another id");
  require_success(OBJ_save(revision), problem, "choose another id with --rev");
  require_success(OBJ_refresh(revision, 0), problem, "start again");
  require_success(REL_find_relation_type(based_on, &relation_type), problem, "start again");
  require_success(REL_create_relation(revision, base, relation_type, NULLTAG, &relation), problem,
                  "start again");
  require_success(REL_save_relation(relation), problem, "start again");
  const Json made = {{"revision", object_json(revision)}, {"based_on", object_json(base)}};
  require_success(change.keep(), problem, "start again");
  if (options.json) {
    return print_json(made);
  }
  std::printf("made %s, based on %s\n",
              printable(made["revision"]["id"].get<std::string>()).c_str(),
              printable(made["based_on"]["id"].get<std::string>()).c_str());
}

}  // namespace

void add_item_revise(CommandParser& group) {
  CommandParser& command = group.add_command("revise", "Make another revision of an item");
  const auto options = std::make_shared<ReviseOptions>();
  command
      .add_option("ID", options->object,
                  "Item id, or item id/revision id of the revision to go on from")
      .required()
      .type_name("");
  command.add_option("--rev", options->revision, "Id of the new revision; the next one without")
      .type_name("REV");
  work_in_session(command, options, revise);
  command.footer(
      "\nThe new revision is related to the one before it by VELO_based_on. Datasets and "
      "structures\n"
      "are not copied.\n"
      "Example: zolp item revise SH-200");
}

}  // namespace tool
