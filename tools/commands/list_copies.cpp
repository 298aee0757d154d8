/** @file `zolp list clean`, `dedupe` and `scan`: reduced copies of a release list. */
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "column_session.h"
#include "commands/list.h"
#include "error.h"
#include "output_files.h"
#include "release_list.h"
#include "site.h"
#include "text.h"
#include "utf8_path.h"
#include "zolp_orktool.h"

namespace fs = std::filesystem;

namespace tool {

namespace {

struct CopyOptions {
  std::string in, out;
  std::vector<std::string> patterns;
  bool force = false;
  bool json = false;
};

using Copy = std::function<int(const char* in_file, const char* out_file)>;

bool goes_to_standard_output(const CopyOptions& options) {
  return options.out == standard_stream;
}

void check_target(const CopyOptions& options) {
  std::error_code ignored;
  if (goes_to_standard_output(options)) {
    if (options.json) {
      throw usage_error("the list and JSON cannot both go to standard output",
                        "leave one of them out");
    }
    return;
  }
  if (fs::equivalent(host::utf8_path(options.in), host::utf8_path(options.out), ignored)) {
    throw usage_error("IN and OUT are the same file", "name another file for OUT");
  }
  if (fs::exists(host::utf8_path(options.out), ignored) && !options.force) {
    throw Error("file " + options.out + " already exists", "name another one, or say --force");
  }
}

/** Makes a reduced copy with one of the library's functions. @return its number of lines. */
size_t write_copy(const CopyOptions& options, const InputFile& in, const std::string& written,
                  const Copy& copy) {
  {
    LibraryCall call;
    if (copy(in.path().c_str(), written.c_str()) != 0) {
      throw Error("cannot copy " + in.name() + " to " + options.out,
                  "check that the list is writable and that there is room");
    }
  }
  const std::uintmax_t size = fs::file_size(host::utf8_path(written));
  const size_t lines = size == 0 ? 0 : check_list_file(InputFile(written));
  stop_if_interrupted();
  return lines;
}

void copy_list(const CopyOptions& options, const Copy& copy) {
  const InputFile in(options.in);
  const size_t lines = check_list_file(in);
  check_target(options);
  if (goes_to_standard_output(options)) {
    const WorkFolder work(temporary_folder());
    const std::string written = work.file("list");
    write_copy(options, in, written, copy);
    return write_to_standard_output(host::utf8_path(written));
  }
  OutputFile file(options.out);
  const size_t kept = write_copy(options, in, file.path(), copy);
  file.publish();
  if (options.json) {
    print_json({{"file", options.out}, {"lines_read", lines}, {"lines_kept", kept}});
  } else {
    std::printf("wrote %s: %zu of %s\n", printable(options.out).c_str(), kept,
                counted(lines, "line").c_str());
  }
}

struct CopyCommand {
  CommandParser& command;
  std::shared_ptr<CopyOptions> options;
};

CopyCommand add_copy_command(CommandParser& list, const char* name, const char* purpose) {
  CommandParser& command = list.add_command(name, purpose);
  const auto options = std::make_shared<CopyOptions>();
  command.add_option("IN", options->in, "The release list; must be writable; - for standard input")
      .required()
      .type_name("");
  command.add_option("OUT", options->out, "The file to write; - for standard output")
      .required()
      .type_name("");
  command.add_flag("--force", options->force, "Replace OUT when it exists");
  command.add_flag("--json", options->json, "Print the result as JSON");
  return {command, options};
}

}  // namespace

void add_list_clean(CommandParser& group) {
  const auto [command, options] =
      add_copy_command(group, "clean", "Copy a list without its empty \"Where\" blocks");
  command.footer(
      "\nA block is empty when the line after its \"Where\" line begins with \"----\"; both go.\n"
      "Example: zolp list clean release_list.txt cleaned.txt");
  command.callback([options = options] { copy_list(*options, ZOLP_clean_list); });
}

void add_list_dedupe(CommandParser& group) {
  const auto [command, options] =
      add_copy_command(group, "dedupe", "Copy a list with the first line of each item only");
  command.footer(
      "\nItems are the same when the 128 characters from \"Item Revision\" on are the same,\n"
      "that is up to and into \"New Item ID\". The lines below a dropped item go with it.");
  command.callback([options = options] {
    const ColumnSession columns("/");
    copy_list(*options, ZOLP_remove_doubles_from_list);
  });
}

void add_list_scan(CommandParser& group) {
  const auto [command, options] = add_copy_command(
      group, "scan", "Copy a list without the \"Where\" lines that hold certain texts");
  command.add_option("--pattern", options->patterns, "Text to drop lines by; repeatable")
      .type_name("TEXT")
      .required();
  command.footer(
      "\nExample: zolp list scan in.txt out.txt --pattern PROTO --pattern \"Spare \"\n"
      "A \"Where\" line that holds a pattern itself goes too.");
  command.callback([options = options] {
    std::vector<char*> patterns;
    for (std::string& pattern : options->patterns) {
      if (pattern.empty()) {
        throw usage_error("a pattern is empty", "it would drop all lines");
      }
      patterns.push_back(pattern.data());
    }
    copy_list(*options, [&patterns](const char* in_file, const char* out_file) {
      return ZOLP_scan_usage(in_file, out_file, static_cast<int>(patterns.size()), patterns.data());
    });
  });
}

}  // namespace tool
