/** @file `zolp clone`: prepares a clone run from a release list. */
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>

#include "assembly_tree.h"
#include "commands/commands.h"
#include "error.h"
#include "failures.h"
#include "login.h"
#include "os.h"
#include "output_files.h"
#include "release_list.h"
#include "site.h"
#include "streams.h"
#include "text.h"
#include "utf8_path.h"
#include "zolp_orktool.h"

namespace tool {

namespace {

// Not "clone.log": the batch file sends the clone program's error output there.
constexpr const char* log_name = "clone_log.txt";
constexpr const char* batch_name = "clone.bat";
constexpr const char* entries_name = "clone_entries.txt";
constexpr const char* separator_preference = "FLColumnCatIVFSeparatorPref";
constexpr const char* clone_template_preference = "VPD_clone_itemtemplate";
constexpr const char* retain_template_preference = "VPD_retain_itemtemplate";

struct CloneOptions {
  std::string release_list;
  std::string header_preference = "ZOLP_clonelogheader";
  std::string folder = ".";
  LoginOptions login;
  bool json = false;
};

/** Tells on a terminal what goes on; otherwise nothing. */
class Progress {
 public:
  void step(const std::string& text) const {
    if (is_shown_) {
      std::fprintf(stderr, "%s ...\n", printable(text).c_str());
    }
    stop_if_interrupted();
  }

 private:
  bool is_shown_ = os::is_error_on_terminal();
};

void check_file_opens(const std::string& path, const char* mode, const std::string& preference) {
  std::FILE* const file = std::fopen(path.c_str(), mode);
  if (file == nullptr) {
    throw Error("file " + path + " of preference " + preference + " cannot be opened (" +
                    std::strerror(errno) + ")",
                std::strcmp(mode, "r") == 0
                    ? "make it readable, or correct the preference"
                    : "make it readable and writable, or correct the preference");
  }
  std::fclose(file);
}

/** Checks what the library takes from the site, so that a failure later has few causes left. */
void check_settings(const Session& session, const std::string& header_preference) {
  const std::string version = session.preference("ZOLP_qnversion");
  const auto names = [&version](const char* mark) {
    return version.find(mark) != std::string::npos;
  };
  const bool is_v16 = names("v16") || names("V16");
  if (!is_v16 && !names("v15") && !names("V15")) {
    throw Error("CAD version \"" + version + "\" of preference ZOLP_qnversion is not known",
                "set it to v15 or v16");
  }
  for (const char* name : {"WsoInsertNoSelectionsPref", "ZOLP_qnclone_prg", "ZOLP_clonelogfile"}) {
    session.preference(name);
  }
  for (const std::string& name : {header_preference, std::string(clone_template_preference),
                                  std::string(retain_template_preference)}) {
    check_file_opens(session.preference(name), "r+", name);
  }
  for (const char* name : {"ZOLP_precloneactionfile", "ZOLP_postcloneactionsfile"}) {
    const std::string path = session.preference(name);
    if (is_v16) {
      check_file_opens(path, "r", name);
    }
  }
}

/** Reports a failure of the library: of its own (1), or of the platform. */
void require_written(int status, const std::string& what, const std::string& cause_of_1,
                     const std::string& advice_for_1) {
  if (status == 1 && !has_failed()) {
    throw Error("cannot write the " + what + ", " + cause_of_1, advice_for_1);
  }
  require_success(status, "cannot write the " + what, "see the call trace, set ZOLP_TRACE_LEVEL=4");
}

class CloneRun {
 public:
  explicit CloneRun(const CloneOptions& options)
      : options_(options),
        list_(options.release_list),
        site_(site_file(options.login.site)),
        files_(host::utf8_path(options.folder)) {}

  void prepare() {
    progress_.step("checking " + list_.name());
    contents_ = check_release_list(list_, session_.preference(separator_preference));
    check_list_is_kept();
    check_settings(session_, options_.header_preference);
    write_clone_log();
    read_tree();
    write_batch();
    write_entries();
    stop_if_interrupted();
    files_.publish();
  }

  void print_summary() const {
    const std::string folder = options_.folder == "." ? "" : options_.folder + "/";
    const std::vector<std::string> files = {folder + log_name, folder + batch_name,
                                            folder + entries_name};
    if (options_.json) {
      print_json({{"items", statistics_.items},
                  {"clone", statistics_.clone},
                  {"retain", statistics_.retain},
                  {"datasets", contents_.datasets},
                  {"deepest_level", statistics_.deepest_level},
                  {"level_jumps", contents_.level_jumps},
                  {"files", files}});
      return;
    }
    std::printf("%s (%zu CLONE, %zu RETAIN), %s, deepest level %d\n",
                counted(statistics_.items, "item").c_str(), statistics_.clone, statistics_.retain,
                counted(contents_.datasets, "dataset").c_str(), statistics_.deepest_level);
    for (const std::string& file : files) {
      std::printf("wrote %s\n", printable(file).c_str());
    }
    if (contents_.level_jumps > 0) {
      std::printf(
          "note: %s placed elsewhere than the level says, the first at %s; the reader climbs one "
          "level only\n",
          counted(contents_.level_jumps, "item").c_str(),
          printable(contents_.first_level_jump).c_str());
    }
  }

 private:
  void check_list_is_kept() const {
    const std::filesystem::path folder = host::utf8_path(options_.folder);
    for (const char* name : {log_name, batch_name, entries_name}) {
      std::error_code ignored;
      if (std::filesystem::equivalent(host::utf8_path(list_.path()), folder / name, ignored)) {
        throw Error("the run would replace list " + list_.name(),
                    "rename the list, or choose another output folder");
      }
    }
  }

  void write_clone_log() {
    progress_.step("writing " + std::string(log_name));
    const std::string path = files_.add(log_name);
    LibraryCall call;
    require_written(ZOLP_create_clonelogheader(list_.path().c_str(), path.c_str(),
                                               options_.header_preference.c_str()),
                    "clone log",
                    "a line of the template of preference " + options_.header_preference +
                        " gets too long or the disk is full",
                    "keep filled-in lines below 500 characters, with one placeholder each");
  }

  void read_tree() {
    progress_.step("reading " + counted(contents_.items, "item") + " and " +
                   counted(contents_.datasets, "dataset"));
    LibraryCall call;
    const int status = ZOLP_read_assylist(list_.path().c_str(), tree_.address());
    statistics_ = measure_assembly(tree_.root());
    const std::string problem = "list " + list_.name() + " was read to " +
                                std::to_string(statistics_.items) + " of its " +
                                counted(contents_.items, "item");
    if (status > 1 || has_failed()) {
      require_success(status, problem, "see the call trace, set ZOLP_TRACE_LEVEL=4");
    }
    if (status != 0 || statistics_.items != contents_.items) {
      throw Error(problem, "check memory, and start again");
    }
  }

  void write_batch() {
    progress_.step("writing " + std::string(batch_name));
    const std::string path = files_.add(batch_name);
    LibraryCall call;
    require_written(ZOLP_write_startbat(path.c_str(), tree_.root()), "batch file",
                    "the disk is full or an action file has gone", "make room and start again");
  }

  void write_entries() {
    progress_.step("writing " + std::string(entries_name));
    const std::string path = files_.add(entries_name);
    std::FILE* const entries = std::fopen(path.c_str(), "w");
    if (entries == nullptr) {
      throw Error("cannot write " + path + " (" + std::strerror(errno) + ")", "check the folder");
    }
    int status = 0;
    {
      LibraryCall call;
      status = ZOLP_write_assylist(entries, tree_.root());
    }
    const bool has_failed = std::ferror(entries) != 0;
    if (std::fclose(entries) != 0 || has_failed) {
      throw Error("cannot write the clone entries", "make room on the disk and start again");
    }
    require_written(status, "clone entries",
                    std::string("a line of the template of preference ") +
                        clone_template_preference + " or " + retain_template_preference +
                        " gets too long",
                    "keep filled-in lines below 500 characters, with one placeholder each");
  }

  const CloneOptions& options_;
  Progress progress_;
  InputFile list_;
  Site site_;
  Session session_;
  OutputFiles files_;
  Assembly tree_;
  ReleaseListContents contents_;
  AssemblyStatistics statistics_;
};

constexpr const char* clone_help = R"(
Writes into the output folder
  clone_log.txt      head of the clone log, from the header template
  clone.bat          batch file that starts the clone program
  clone_entries.txt  one entry per item, from the clone and retain templates
all three together when the run succeeds, none of them when it fails: earlier
results then stay as they are. The release list and the templates must be
writable, for the library opens them for update.

Preferences read from the site: the header preference,
FLColumnCatIVFSeparatorPref, WsoInsertNoSelectionsPref, VPD_clone_itemtemplate,
VPD_retain_itemtemplate, ZOLP_qnversion (v15 or v16), ZOLP_qnclone_prg,
ZOLP_clonelogfile, ZOLP_precloneactionfile, ZOLP_postcloneactionsfile.

Example:
  zolp clone release_list.txt --host site.db --out run -u=alice -p=secret -g=engineering)";

}  // namespace

void add_clone_command(CommandParser& program) {
  CommandParser& clone = program.add_command("clone", "Prepare a clone run");
  const auto options = std::make_shared<CloneOptions>();
  clone.add_option("LIST", options->release_list, "The release list; - for standard input")
      .required()
      .type_name("");
  clone.add_option("--out", options->folder, "Output folder").type_name("FOLDER").shows_preset();
  clone
      .add_option("--header", options->header_preference,
                  "Preference that names the clone log's header template")
      .type_name("PREFERENCE")
      .shows_preset();
  add_login_options(clone, options->login);
  clone.add_flag("--json", options->json, "Print the summary as JSON");
  clone.footer(clone_help);
  clone.callback([options, &clone] {
    complete_login(clone, options->login);
    CloneRun run(*options);
    run.prepare();
    run.print_summary();
  });
}

}  // namespace tool
