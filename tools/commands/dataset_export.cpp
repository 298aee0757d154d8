/** @file `zolp dataset export`: brings the files of a dataset to the disk. */
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "commands/dataset.h"
#include "copy_progress.h"
#include "error.h"
#include "ork/file.h"
#include "os.h"
#include "output_files.h"
#include "streams.h"
#include "utf8_path.h"

namespace fs = std::filesystem;

namespace tool {

namespace {

/** The path, or the next one with a number that no other file of the dataset has been given. */
fs::path numbered(const fs::path& path, const std::vector<fs::path>& given) {
  fs::path candidate = path;
  for (int number = 2; std::find(given.begin(), given.end(), candidate) != given.end(); ++number) {
    candidate = path;
    candidate.replace_filename(path.stem());
    candidate += "-" + std::to_string(number);
    candidate += path.extension();
  }
  return candidate;
}

/** A name comes from the site, whoever filled it, and must lead to no other place. */
bool is_file_name(const std::string& name) {
  return !name.empty() && name != "." && name != ".." && printable(name) == name &&
         name.find_first_of("/\\") == std::string::npos && os::is_file_name(name);
}

/** Where a file is to go: into a folder under its own name, or to the path that is given. */
fs::path target_of(const DatasetOptions& options, tag file) {
  const fs::path target = host::utf8_path(options.target.empty() ? "." : options.target);
  std::error_code ignored;
  if (!fs::is_directory(target, ignored)) {
    return target;
  }
  const std::string name = original_name(file);
  if (!is_file_name(name)) {
    throw Error("the file has the name \"" + name + "\"", "give a path for it with --out");
  }
  return target / host::utf8_path(name);
}

/** The only one of some files goes to standard output once all of it is there. */
void export_to_standard_output(const DatasetOptions& options, const std::vector<tag>& files) {
  if (files.size() > 1) {
    throw Error("dataset " + options.dataset + " has " + std::to_string(files.size()) + " files",
                "name a folder with --out, or one of them with --reference");
  }
  const WorkFolder work(temporary_folder());
  const fs::path path = host::utf8_path(work.file("file"));
  {
    const CopyProgress progress("exporting " + options.dataset);
    require_done(FILE_export_file(files.front(), path.string().c_str()),
                 "cannot export dataset " + options.dataset);
  }
  write_to_standard_output(path);
}

void export_dataset(const DatasetOptions& options) {
  const bool is_for_standard_output = options.target == standard_stream;
  if (is_for_standard_output && options.json) {
    throw usage_error("the file and JSON cannot both go to standard output",
                      "leave one of them out");
  }
  const tag dataset = find_dataset(options);
  std::vector<tag> files;
  for (const Reference& reference : references_of(dataset)) {
    const bool is_wanted = options.reference.empty() || reference.name == options.reference;
    if (is_wanted && is_file(reference.object)) {
      files.push_back(reference.object);
    }
  }
  if (files.empty()) {
    throw Error("dataset " + options.dataset + " has no file" +
                    (options.reference.empty() ? "" : " as " + options.reference),
                "see \"zolp dataset show\" for what it has");
  }
  if (is_for_standard_output) {
    return export_to_standard_output(options, files);
  }
  Json paths = Json::array();
  NewFiles exported;
  for (const tag file : files) {
    const fs::path target = numbered(target_of(options, file), exported.paths());
    if (files.size() > 1 && target == options.target) {
      throw Error("dataset " + options.dataset + " has " + std::to_string(files.size()) + " files",
                  "name a folder with --out, or one of them with --reference");
    }
    const CopyProgress progress("exporting " + target.string());
    require_done(FILE_export_file(file, target.string().c_str()),
                 "cannot export " + target.string());
    exported.add(target);
    paths.push_back(target.string());
  }
  exported.keep();
  if (options.json) {
    print_json({{"files", paths}});
    return;
  }
  for (const Json& path : paths) {
    std::printf("wrote %s\n", printable(path.get<std::string>()).c_str());
  }
}

}  // namespace

void add_dataset_export(CommandParser& group) {
  const auto options = std::make_shared<DatasetOptions>();
  CommandParser& command = add_dataset_command(
      group, "export", "Export the files of a dataset; existing files are never overwritten",
      "\nAll files are exported, or none. Those of the same name get a number.\n"
      "Examples: zolp dataset export \"Check report\"\n"
      "          zolp dataset export \"Check report\" --item SH-200 --rev A --out report.txt",
      options, export_dataset);
  add_dataset_argument(command, *options);
  command.add_option("--reference", options->reference, "Only files under this reference")
      .type_name("NAME");
  command
      .add_option("--out", options->target,
                  "A folder, for files under their own names, a new file, or - for standard\n"
                  "output; the current folder")
      .type_name("PATH");
}

}  // namespace tool
