/** @file `zolp host unlock`: takes locks away from those who hold them. */
#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "commands/host.h"
#include "error.h"
#include "failures.h"
#include "host/ork_host.h"
#include "site.h"

namespace tool {

namespace {

struct UnlockOptions {
  std::string file;
  std::vector<std::string> ids;
  bool json = false;
};

/** The object of "ID", "ID/REV" or "#NUMBER"; NULLTAG for none. */
tag find(const std::string& id) {
  if (id.starts_with('#')) {
    return static_cast<tag>(std::strtoul(id.c_str() + 1, nullptr, 10));
  }
  tag object = NULLTAG;
  require_success(ork_host_find_item(id.c_str(), nullptr, &object), "cannot find " + id,
                  "check that the file is a site");
  const std::size_t slash = id.rfind('/');
  if (object == NULLTAG && slash != std::string::npos) {
    require_success(
        ork_host_find_item(id.substr(0, slash).c_str(), id.substr(slash + 1).c_str(), &object),
        "cannot find " + id, "check that the file is a site");
  }
  return object;
}

bool is_of(const Json& lock, const std::string& id) {
  const Json& object = lock["object"];
  return object.value("id", "") == id || object["tag"].get<tag>() == find(id);
}

std::string line_of(const Json& lock) {
  const Json& object = lock["object"];
  return object.value("id", "#" + object["tag"].dump()) + ", which " +
         lock["user"].get<std::string>() + " has had locked on " + lock["node"].get<std::string>() +
         " since " + lock["since"].get<std::string>();
}

void unlock(const UnlockOptions& options) {
  std::vector<std::string> ids = given(options.file, "");
  ids.insert(ids.end(), options.ids.begin(), options.ids.end());
  const Site site(take_site_file(ids));
  Json released = Json::parse(site.describe("locks"));
  for (const std::string& id : ids) {
    if (std::none_of(released.begin(), released.end(),
                     [&id](const Json& lock) { return is_of(lock, id); })) {
      throw Error("nobody has locked " + id,
                  "see \"zolp host show FILE locks\" for what is locked");
    }
  }
  if (!ids.empty()) {
    released.erase(std::remove_if(released.begin(), released.end(),
                                  [&ids](const Json& lock) {
                                    return std::none_of(
                                        ids.begin(), ids.end(),
                                        [&lock](const std::string& id) { return is_of(lock, id); });
                                  }),
                   released.end());
  }
  for (const Json& lock : released) {
    require_success(ork_host_release_lock(lock["object"]["tag"].get<tag>()),
                    "cannot unlock " + line_of(lock), "check that the site can be written");
  }
  if (options.json) {
    return print_json(released);
  }
  for (const Json& lock : released) {
    std::printf("unlocked %s\n", printable(line_of(lock)).c_str());
  }
  if (released.empty()) {
    std::puts("nothing is locked");
  }
}

}  // namespace

void add_host_unlock(CommandParser& group) {
  CommandParser& command =
      group.add_command("unlock", "Take locks away from those who hold them: [FILE] [ID...]");
  const auto options = std::make_shared<UnlockOptions>();
  command.add_option("FILE", options->file, "The site's file; ORK_HOST_DB when left out")
      .type_name("");
  command
      .add_option("ID", options->ids,
                  "Item, item/revision, or # and an object's number; all that is locked without")
      .type_name("");
  command.add_flag("--json", options->json, "Print what was unlocked as JSON");
  command.footer(
      "\nLocks of processes that have ended are free by themselves. This is for one that hangs:\n"
      "what it has not saved, it can no longer save.\n"
      "Example: zolp host unlock site.db GB-1000/C");
  command.callback([options] { unlock(*options); });
}

}  // namespace tool
