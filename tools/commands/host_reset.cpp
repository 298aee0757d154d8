/** @file `zolp host reset`: has a site begin anew. */
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "commands/host.h"
#include "error.h"
#include "failures.h"
#include "host/ork_host.h"
#include "output_files.h"
#include "site.h"
#include "utf8_path.h"

namespace fs = std::filesystem;

namespace tool {

namespace {

struct ResetOptions {
  std::string file;
  std::vector<std::string> seeds;
};

void reset(const ResetOptions& options) {
  const fs::path target = host::utf8_path(options.file);
  if (!fs::exists(target)) {
    throw Error("site " + options.file + " does not exist", "create it with \"zolp host init\"");
  }
  const WorkFolder work(folder_of(target));
  const std::string made = work.file("new.db");
  {
    Site site(made, Site::Open::anew);
    for (const std::string& seed : options.seeds) {
      site.seed_file(seed);
    }
  }
  stop_if_interrupted();
  require_success(ork_host_restore(options.file.c_str(), made.c_str(), 1),
                  "site " + options.file + " is not reset", "check the path");
}

}  // namespace

void add_host_reset(CommandParser& group) {
  CommandParser& command = group.add_command("reset", "Empty a site, and fill it from seeds again");
  const auto options = std::make_shared<ResetOptions>();
  command.add_option("FILE", options->file, "The site's file").required().type_name("");
  command.add_option("--seed", options->seeds, "JSON file to fill the site from; repeatable")
      .type_name("FILE");
  command.footer(
      "\nThe site is then as \"zolp host init\" makes it with these seeds. Refused while somebody\n"
      "has it open; when a seed is wrong, the site stays as it is.\n"
      "Example: zolp host reset site.db --seed site.json");
  command.callback([options] { reset(*options); });
}

}  // namespace tool
