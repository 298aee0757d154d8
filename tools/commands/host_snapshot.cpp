/** @file `zolp host snapshot`: copies a site, while others use it. */
#include <memory>
#include <string>

#include "commands/host.h"
#include "failures.h"
#include "host/ork_host.h"
#include "site.h"

namespace tool {

namespace {

struct SnapshotOptions {
  std::string file;
  std::string copy;
  bool is_apart = false;
};

void snapshot(const SnapshotOptions& options) {
  const Site site(options.file);
  require_success(ork_host_snapshot(options.copy.c_str(), options.is_apart ? 0 : 1),
                  "no snapshot of " + options.file + " is made",
                  "choose another path, or see \"zolp host check " + options.file + "\"");
}

}  // namespace

void add_host_snapshot(CommandParser& group) {
  CommandParser& command = group.add_command("snapshot", "Copy a site, while others use it");
  const auto options = std::make_shared<SnapshotOptions>();
  command.add_option("FILE", options->file, "The site's file").required().type_name("");
  command.add_option("COPY", options->copy, "The copy's file; must not exist")
      .required()
      .type_name("");
  command.add_flag("--apart", options->is_apart,
                   "Share no files with the site's vault by hard links");
  command.footer(
      "\nThe copy is a site as the first one is at one moment, with the contents of its files. It\n"
      "is there as a whole or not at all.\n"
      "Example: zolp host snapshot site.db before.db\n"
      "         zolp host restore site.db before.db");
  command.callback([options] { snapshot(*options); });
}

}  // namespace tool
