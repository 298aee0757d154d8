/** @file `zolp host export`: makes a seed of a site. */
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

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

struct SiteExportOptions {
  std::string file;
  std::string seed;
  std::string files;
  bool has_no_dates = false;
};

/** The folder of contents, which goes again when the seed cannot be written. */
class ContentsFolder {
 public:
  explicit ContentsFolder(std::string path) : path_(std::move(path)) {}
  ~ContentsFolder() {
    std::error_code ignored;
    if (!path_.empty()) {
      fs::remove_all(host::utf8_path(path_), ignored);
    }
  }
  ContentsFolder(const ContentsFolder&) = delete;
  ContentsFolder& operator=(const ContentsFolder&) = delete;

  void keep() { path_.clear(); }

 private:
  std::string path_;
};

/** The way from the seed to a file of the folder; an absolute one where there is no other. */
std::string prefix_of(const std::string& files, const std::string& seed) {
  const fs::path folder = fs::absolute(host::utf8_path(files));
  const fs::path way = folder.lexically_relative(fs::absolute(host::utf8_path(seed)).parent_path());
  return (way.empty() ? folder : way).lexically_normal().generic_string() + "/";
}

/** Takes the seed as it is made. */
logical write_piece(const char* text, size_t size, void* file) {
  std::ofstream& seed = *static_cast<std::ofstream*>(file);
  seed.write(text, static_cast<std::streamsize>(size));
  return seed && !is_interrupted() ? 1 : 0;
}

void export_seed(const SiteExportOptions& options) {
  OutputFile output(options.seed);
  const Site site(options.file);
  const std::string prefix = options.files.empty() ? "" : prefix_of(options.files, options.seed);
  std::ofstream seed(host::utf8_path(output.path()), std::ios::binary);
  const int status =
      ork_host_write_export(options.files.empty() ? nullptr : options.files.c_str(), prefix.c_str(),
                            options.has_no_dates ? 0 : 1, write_piece, &seed);
  stop_if_interrupted();
  if (!seed) {
    throw Error("cannot write the seed", "make room");
  }
  require_success(status, "site " + options.file + " is not exported",
                  "name a new folder with --files, or see \"zolp host check\"");
  ContentsFolder contents(options.files);
  seed.close();
  if (!seed) {
    throw Error("cannot write the seed", "make room");
  }
  stop_if_interrupted();
  output.publish();
  contents.keep();
}

}  // namespace

void add_host_export(CommandParser& group) {
  CommandParser& command = group.add_command("export", "Make a seed of a site");
  const auto options = std::make_shared<SiteExportOptions>();
  command.add_option("FILE", options->file, "The site's file").required().type_name("");
  command.add_option("--out", options->seed, "The seed; an earlier one is replaced")
      .required()
      .type_name("FILE");
  command.add_option("--files", options->files, "Folder for the contents of files; must not exist")
      .type_name("FOLDER");
  command.add_flag("--without-dates", options->has_no_dates,
                   "Leave out when objects were made and changed, and by whom");
  command.footer(
      "\nThe seed makes an equal site of a new one; passwords are in it as hashes.\n"
      "Example: zolp host export site.db --out site.json --files files\n"
      "         zolp host init copy.db --seed site.json");
  command.callback([options] { export_seed(*options); });
}

}  // namespace tool
