/** @file `zolp host seed`: fills an existing site. */
#include <memory>
#include <string>
#include <vector>

#include "commands/host.h"
#include "seed_check.h"
#include "site.h"

namespace tool {

namespace {

struct SeedOptions {
  std::string file;
  std::vector<std::string> seeds;
  bool dry_run = false;
};

void seed_site(const SeedOptions& options) {
  Site site(options.file);
  if (options.dry_run) {
    return check_seeds(options.seeds);
  }
  for (const std::string& seed : options.seeds) {
    site.seed_file(seed);
  }
}

}  // namespace

void add_host_seed(CommandParser& group) {
  CommandParser& seed = group.add_command("seed", "Fill an existing site");
  const auto options = std::make_shared<SeedOptions>();
  seed.add_option("FILE", options->file, "The site's file").required().type_name("");
  seed.add_option("SEED", options->seeds,
                  "JSON files, taken one after the other; - for standard input")
      .required()
      .type_name("");
  seed.add_flag("--dry-run", options->dry_run,
                "Change nothing; print all that is wrong, a line each");
  seed.footer(
      "\nWhat exists under the same name is changed. Each file is taken as a whole or,\n"
      "when it is wrong, not at all; earlier ones stay.");
  seed.callback([options] { seed_site(*options); });
}

}  // namespace tool
