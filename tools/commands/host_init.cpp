/** @file `zolp host init`: creates a site. */
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "commands/host.h"
#include "error.h"
#include "output_files.h"
#include "site.h"
#include "utf8_path.h"

namespace fs = std::filesystem;

namespace tool {

namespace {

struct InitOptions {
  std::string file;
  std::vector<std::string> seeds;
};

/** Moves a finished site to its place: its file, and what lies beside it. */
void move_site(const fs::path& from, const fs::path& to) {
  for (const auto& entry : fs::directory_iterator(from)) {
    const fs::path target = to / entry.path().filename();
    if (fs::exists(target)) {
      throw Error(target.string() + " already exists", "remove it or choose another name");
    }
  }
  for (const auto& entry : fs::directory_iterator(from)) {
    fs::rename(entry.path(), to / entry.path().filename());
  }
}

void init_site(const InitOptions& options) {
  const fs::path target = host::utf8_path(options.file);
  if (!target.has_filename()) {
    throw usage_error("FILE names no file", "name one");
  }
  if (fs::exists(target)) {
    throw Error("site " + options.file + " already exists",
                "add to it with \"zolp host seed\", or remove it first");
  }
  const fs::path folder = target.has_parent_path() ? target.parent_path() : fs::path(".");
  const WorkFolder work(folder);
  {
    Site site(work.file(target.filename().string()), Site::Open::anew);
    for (const std::string& seed : options.seeds) {
      site.seed_file(seed);
    }
  }
  move_site(work.path(), folder);
}

}  // namespace

void add_host_init(CLI::App& group) {
  CLI::App* const init = group.add_subcommand("init", "Create a site");
  const auto options = std::make_shared<InitOptions>();
  init->add_option("FILE", options->file, "The site's file; must not exist")
      ->required()
      ->type_name("");
  init->add_option("--seed", options->seeds, "JSON file to fill the site from; repeatable")
      ->type_name("FILE")
      ->allow_extra_args(false);
  init->footer(
      "\nExample: zolp host init site.db --seed site.json\n"
      "When a seed is wrong, no site is left behind.");
  init->callback([options] { init_site(*options); });
}

}  // namespace tool
