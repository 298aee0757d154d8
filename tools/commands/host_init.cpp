/** @file `zolp host init`: creates a site. */
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

#include "commands/host.h"
#include "error.h"
#include "os.h"
#include "output_files.h"
#include "seed_check.h"
#include "site.h"
#include "utf8_path.h"

namespace fs = std::filesystem;

namespace tool {

namespace {

struct InitOptions {
  std::string file;
  std::vector<std::string> seeds;
  bool dry_run = false;
};

/** A finished site on its way from the folder that it was made in, taken back unless it is kept. */
class MovedSite {
 public:
  MovedSite(const fs::path& from, const fs::path& to) : from_(from), to_(to) {}
  ~MovedSite() {
    for (auto name = moved_.rbegin(); name != moved_.rend(); ++name) {
      if (!os::move_without_replacing(to_ / *name, from_ / *name)) {
        std::error_code ignored;
        fs::remove_all(to_ / *name, ignored);  // it was put there by this process
      }
    }
  }
  MovedSite(const MovedSite&) = delete;
  MovedSite& operator=(const MovedSite&) = delete;

  /** Never over what is there. */
  void move(const fs::path& name) {
    const fs::path target = to_ / name;
    if (!os::move_without_replacing(from_ / name, target)) {
      const int error = errno;
      throw error == EEXIST
          ? Error(target.string() + " already exists", "remove it or choose another name")
          : Error("cannot write to " + target.string() + " (" + std::strerror(error) + ")",
                  "make room, or choose a place that can be written");
    }
    moved_.push_back(name);
  }

  void keep() { moved_.clear(); }

 private:
  fs::path from_, to_;
  std::vector<fs::path> moved_;
};

/**
 * Moves a site to its place, first what lies beside its file. Every site has a vault here: of two
 * that are made at once under one name, the one whose vault is there first has the name.
 */
void move_site(const fs::path& from, const fs::path& to, const fs::path& site) {
  fs::path vault = site;
  vault += ".vault";
  if (!fs::exists(from / vault) && !os::make_private_folder(from / vault)) {
    throw Error("cannot make " + vault.string() + " (" + std::strerror(errno) + ")", "make room");
  }
  std::vector<fs::path> others;
  for (const auto& entry : fs::directory_iterator(from)) {
    if (entry.path().filename() != site && entry.path().filename() != vault) {
      others.push_back(entry.path().filename());
    }
  }
  MovedSite moved(from, to);
  moved.move(vault);
  for (const fs::path& name : others) {
    moved.move(name);
  }
  moved.move(site);
  moved.keep();
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
  if (options.dry_run) {
    const Site site(":memory:", Site::Open::anew);
    return check_seeds(options.seeds);
  }
  const fs::path folder = folder_of(target);
  const WorkFolder work(folder);
  {
    Site site(work.file(target.filename().string()), Site::Open::anew);
    for (const std::string& seed : options.seeds) {
      site.seed_file(seed);
    }
  }
  stop_if_interrupted();
  move_site(work.path(), folder, target.filename());
}

}  // namespace

void add_host_init(CommandParser& group) {
  CommandParser& init = group.add_command("init", "Create a site");
  const auto options = std::make_shared<InitOptions>();
  init.add_option("FILE", options->file, "The site's file; must not exist")
      .required()
      .type_name("");
  init.add_option("--seed", options->seeds,
                  "JSON file to fill the site from, - for standard input; repeatable")
      .type_name("FILE");
  init.add_flag("--dry-run", options->dry_run,
                "Make nothing; print all that is wrong with the seeds, a line each");
  init.footer(
      "\nExample: zolp host init site.db --seed site.json\n"
      "When a seed is wrong, no site is left behind.");
  init.callback([options] { init_site(*options); });
}

}  // namespace tool
