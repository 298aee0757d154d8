/** @file `zolp host restore`: makes a site what a copy is. */
#include <memory>
#include <string>

#include "commands/host.h"
#include "failures.h"
#include "host/ork_host.h"

namespace tool {

namespace {

struct RestoreOptions {
  std::string file;
  std::string copy;
  bool is_apart = false;
};

void restore(const RestoreOptions& options) {
  require_success(
      ork_host_restore(options.file.c_str(), options.copy.c_str(), options.is_apart ? 0 : 1),
      "site " + options.file + " is not restored", "check both paths");
}

}  // namespace

void add_host_restore(CommandParser& group) {
  CommandParser& command = group.add_command("restore", "Make a site what a snapshot is");
  const auto options = std::make_shared<RestoreOptions>();
  command.add_option("FILE", options->file, "The site's file; made when it does not exist")
      .required()
      .type_name("");
  command.add_option("COPY", options->copy, "The snapshot's file").required().type_name("");
  command.add_flag("--apart", options->is_apart,
                   "Share no files with the snapshot's vault by hard links");
  command.footer(
      "\nRefused while somebody has the site open, or when the snapshot is damaged; then the site\n"
      "stays as it is. A damaged site is replaced.\n"
      "Example: zolp host restore site.db before.db");
  command.callback([options] { restore(*options); });
}

}  // namespace tool
