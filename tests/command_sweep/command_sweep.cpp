// Tries out the program's commands: each command line once as it is, and once for each platform
// operation that it calls with that call failing. A run that ends with 0 has printed what the good
// run prints and left the site as that does; any other ends with 1, says what has failed, and
// leaves site and folders as they were. Writes a matrix of what was tried and what held.
//
//     command_sweep [--every N] [TEXT]    only each N-th fault; only command lines that hold the
//     text

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <regex>
#include <set>
#include <sstream>

#include "commands.h"
#include "host/ork_host.h"
#include "ork/mem.h"
#include "support/process.h"
#include "support/temporary_folder.h"

namespace sweep {

namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;

/** The status of an injected failure; the platform has no such code. */
constexpr const char* injected_status = "987654";

std::string joined(const Arguments& arguments) {
  std::string text;
  for (const std::string& argument : arguments) {
    const bool is_path = argument.find('/') != std::string::npos && fs::exists(argument);
    text +=
        (text.empty() ? "" : " ") + (is_path ? fs::path(argument).filename().string() : argument);
  }
  return text;
}

[[noreturn]] void give_up(const std::string& why) {
  std::fprintf(stderr, "%s\n", why.c_str());
  std::exit(1);
}

// -------------------------------------------------------------------------------- the work place

/** A folder with the site that a run works on, one to copy it from, and files. */
class WorkPlace {
 public:
  struct Result {
    int exit_code = -1;
    std::string out, err;
  };

  WorkPlace() {
    fs::create_directory(folder_.path("files"));
    for (const File& file : files()) {
      folder_.write("files/" + std::string(file.name), file.contents);
    }
    folder_.write("files/seed.json", seed);
    clear_out();
    const Result made = run({"host", "init", original_, "--seed", folder_.path("files/seed.json")});
    if (made.exit_code != 0) {
      give_up("the site is not made: " + made.err);
    }
  }

  /** Runs the program, on the site and with a fault or a journal if need be. */
  Result run(Arguments arguments, const std::string& site = "", const std::string& variable = "") {
    for (std::string& argument : arguments) {
      argument = std::regex_replace(argument, std::regex(R"(\{(files|out)\})"), folder_.path("$1"));
      argument = std::regex_replace(argument, std::regex(R"(\{site\})"), site);
    }
    arguments.insert(arguments.begin(), ZOLP_PROGRAM);
    test::Launch launch{arguments, environment_, folder_.path("stdout"), folder_.path("stderr")};
    launch.environment.push_back("ORK_HOST_DB=" + site);
    if (!variable.empty()) {
      launch.environment.push_back(variable);
    }
    fs::remove(folder_.path("stdout"));
    fs::remove(folder_.path("stderr"));
    Result result;
    result.exit_code = test::Process(launch).wait();
    result.out = folder_.read("stdout");
    result.err = folder_.read("stderr");
    return result;
  }

  /** Makes the site on which a command's runs start. */
  void prepare(const Command& command) {
    copy_site(original_, start_);
    for (const Arguments& arguments : command.before) {
      run(arguments, start_);
    }
    begin_run();
    start_contents_ = contents();
  }

  void begin_run() {
    copy_site(start_, site_);
    clear_out();
  }

  const std::string& site() const { return site_; }
  const std::string& start_contents() const { return start_contents_; }

  /** What the site holds, as others see it. */
  std::string contents() const {
    char* json = nullptr;
    if (ork_host_open(site_.c_str()) != ORK_ok || ork_host_describe(nullptr, &json) != ORK_ok) {
      return "no site";
    }
    const std::string text = json;
    MEM_free(json);
    ork_host_close();
    return text;
  }

  /** Names and contents of the files that a command has made. */
  std::string made_files() const {
    std::map<std::string, std::string> made;
    for (const auto& entry : fs::recursive_directory_iterator(folder_.path("out"))) {
      if (entry.is_regular_file() && entry.path().extension() != ".db") {
        made[entry.path().filename().string()] =
            folder_.read("out/" + fs::relative(entry.path(), folder_.path("out")).generic_string());
      }
    }
    std::string text;
    for (const auto& [name, contents] : made) {
      text += name + ":\n" + contents;
    }
    return text;
  }

  std::vector<std::string> journal() const {
    std::vector<std::string> operations;
    std::istringstream lines(folder_.read("journal"));
    for (std::string line; std::getline(lines, line);) {
      operations.push_back(line.substr(0, line.find(' ')));
    }
    return operations;
  }

  std::string journal_variable() const {
    fs::remove(folder_.path("journal"));
    return "ORK_HOST_JOURNAL=" + folder_.path("journal");
  }

 private:
  void clear_out() const {
    fs::remove_all(folder_.path("out"));
    fs::create_directory(folder_.path("out"));
  }

  /** Site file and what stands beside it. */
  void copy_site(const std::string& from, const std::string& to) const {
    const std::string from_name = fs::path(from).filename().string();
    const std::string to_name = fs::path(to).filename().string();
    std::vector<fs::path> old;
    std::vector<fs::path> wanted;
    for (const auto& entry : fs::directory_iterator(fs::path(from).parent_path())) {
      const std::string name = entry.path().filename().string();
      if (name.starts_with(to_name)) {
        old.push_back(entry.path());
      } else if (name.starts_with(from_name)) {
        wanted.push_back(entry.path());
      }
    }
    for (const fs::path& path : old) {
      fs::remove_all(path);
    }
    for (const fs::path& path : wanted) {
      const std::string name = to_name + path.filename().string().substr(from_name.size());
      fs::copy(path, path.parent_path() / name, fs::copy_options::recursive);
    }
  }

  /** The test's own without what steers the program. */
  static std::vector<std::string> clean_environment() {
    std::vector<std::string> clean;
    for (const std::string& variable : test::own_environment()) {
      const std::string name = variable.substr(0, variable.find('=', 1));
      if (!name.starts_with("ORK_") && !name.starts_with("ZOLP_") && name != "STORE_DATE_FORMAT") {
        clean.push_back(variable);
      }
    }
    return clean;
  }

  test::TemporaryFolder folder_;
  const std::vector<std::string> environment_ = clean_environment();
  const std::string original_ = folder_.path("original.db");
  const std::string start_ = folder_.path("start.db");
  const std::string site_ = folder_.path("site.db");
  std::string start_contents_;
};

// -------------------------------------------------------------------------------------- checking

/** Without what differs from run to run: times, and numbers of objects that are made. */
std::string comparable(const std::string& text) {
  static const std::regex volatile_parts(
      R"(\d{4}-\d\d-\d\d[ T]\d\d:\d\d(:\d\d)?|"tag": ?\d+|#\d+|object \d+)");
  return std::regex_replace(text, volatile_parts, "*");
}

struct Tally {
  std::string command;
  std::size_t faults = 0;
  int as_good = 0;
  int refused = 0;
  int broken = 0;
};

class Trial {
 public:
  Trial(WorkPlace& place, const Command& command, std::size_t every)
      : place_(place), command_(command), every_(every) {
    tally_.command = joined(command.arguments);
  }

  Tally run() {
    place_.prepare(command_);
    good_ = place_.run(command_.arguments, place_.site(), place_.journal_variable());
    good_contents_ = comparable(place_.contents());
    good_files_ = place_.made_files();
    if (good_.exit_code != 0) {
      complain("as it is", "exit code " + std::to_string(good_.exit_code) + ": " + good_.err);
      return tally_;
    }
    const std::vector<std::string> journal = place_.journal();
    std::map<std::string, int> calls;
    for (std::size_t i = 0; i < journal.size(); ++i) {
      const int nth = ++calls[journal[i]];
      if (i % every_ == 0) {
        ++tally_.faults;
        try_fault(journal[i], nth);
      }
    }
    return tally_;
  }

 private:
  void try_fault(const std::string& operation, int nth) {
    const std::string fault = operation + ":" + std::to_string(nth);
    place_.begin_run();
    const WorkPlace::Result result = place_.run(command_.arguments, place_.site(),
                                                "ORK_HOST_FAULTS=" + fault + "=" + injected_status);
    const std::string problem =
        result.exit_code == 0 ? problem_of_good(result) : problem_of_bad(result, operation);
    if (!problem.empty()) {
      complain(fault, problem + "\n    " + std::to_string(result.exit_code) + " " + result.err);
    } else {
      ++(result.exit_code == 0 ? tally_.as_good : tally_.refused);
    }
  }

  std::string problem_of_good(const WorkPlace::Result& result) const {
    return comparable(result.out) != comparable(good_.out) ? "prints something else:\n" + result.out
           : !result.err.empty()                           ? "ends with 0 and an error"
           : comparable(place_.contents()) != good_contents_ ? "leaves another site"
           : place_.made_files() != good_files_              ? "leaves other files"
                                                             : "";
  }

  std::string problem_of_bad(const WorkPlace::Result& result, const std::string& operation) const {
    const bool is_one_line =
        (result.err.starts_with("zolp: ") || result.err.starts_with("{\"error\":{")) &&
        result.err.find('\n') + 1 == result.err.size();
    const bool names_failure = result.err.find("injected into " + operation) != std::string::npos;
    return result.exit_code != 1                          ? "ends otherwise"
           : !is_one_line                                 ? "says it otherwise than in one line"
           : !names_failure                               ? "does not name the failure"
           : !command_.lists && !result.out.empty()       ? "prints\n" + result.out
           : place_.contents() != place_.start_contents() ? "leaves the site changed"
           : !place_.made_files().empty()                 ? "leaves files:\n" + place_.made_files()
                                                          : "";
  }

  void complain(const std::string& when, const std::string& what) {
    std::fprintf(stderr, "%s\n  %s: %s\n", tally_.command.c_str(), when.c_str(), what.c_str());
    ++tally_.broken;
  }

  WorkPlace& place_;
  const Command& command_;
  const std::size_t every_;
  Tally tally_;
  WorkPlace::Result good_;
  std::string good_contents_, good_files_;
};

// -------------------------------------------------------------------------------------- coverage

/** Subcommands that a help text lists. */
std::vector<std::string> listed_in(const std::string& help) {
  std::vector<std::string> names;
  const std::string heading = "\nSubcommands:\n";
  const std::size_t begin = help.find(heading);
  std::istringstream lines(begin != std::string::npos ? help.substr(begin + heading.size()) : "");
  for (std::string line; std::getline(lines, line) && line.starts_with("  ");) {
    if (line[2] != ' ') {
      names.push_back(line.substr(2, line.find(' ', 2) - 2));
    }
  }
  return names;
}

/** Requires a command line for each subcommand of the program. */
bool is_complete(WorkPlace& place) {
  std::set<std::string> missing;
  for (const std::string& group : listed_in(place.run({"--help"}).out)) {
    const std::vector<std::string> names = listed_in(place.run({group, "--help"}).out);
    for (const std::string& name : names) {
      missing.insert(group + " " + name);
    }
    if (names.empty()) {
      missing.insert(group);
    }
  }
  const bool is_listed = missing.size() > 30;
  for (const Command& command : commands()) {
    missing.erase(command.arguments[0]);
    missing.erase(command.arguments[0] + " " + command.arguments[1]);
  }
  for (const std::string& command : missing) {
    std::fprintf(stderr, "no command line for zolp %s\n", command.c_str());
  }
  return is_listed && missing.empty();
}

void write_report(const std::vector<Tally>& tallies) {
  std::ofstream report(SWEEP_REPORT);
  report
      << "# Command sweep\n\nEach command line as it is, and the same with each of the platform "
         "operations that it calls failing.\n\n"
         "| command line | failed operations | done all the same | refused, all as before | held "
         "|\n|---|--:|--:|--:|---|\n";
  Tally sum;
  for (const Tally& tally : tallies) {
    report << "| `zolp " << tally.command << "` | " << tally.faults << " | " << tally.as_good
           << " | " << tally.refused << " | "
           << (tally.broken == 0 ? "all" : "not " + std::to_string(tally.broken)) << " |\n";
    sum.faults += tally.faults;
    sum.broken += tally.broken;
  }
  const std::string summary =
      std::to_string(tallies.size()) + " command lines, " + std::to_string(sum.faults) +
      " failed operations: " + std::to_string(sum.broken) + " went otherwise than promised";
  report << "\n" << summary << ".\n";
  std::printf("%s\n%s\n", summary.c_str(), SWEEP_REPORT);
}

int sweep_all(const char* wanted, std::size_t every) {
  WorkPlace place;
  std::vector<Tally> tallies;
  bool held = wanted != nullptr || is_complete(place);
  for (const Command& command : commands()) {
    if (wanted == nullptr || joined(command.arguments).find(wanted) != std::string::npos) {
      tallies.push_back(Trial(place, command, every).run());
      held = held && tallies.back().broken == 0;
    }
  }
  write_report(tallies);
  return held && !tallies.empty() ? 0 : 1;
}

}  // namespace

}  // namespace sweep

int main(int argc, char** argv) {
  const bool has_step = argc > 2 && std::strcmp(argv[1], "--every") == 0;
  const int first = has_step ? 3 : 1;
  const int every = has_step ? std::atoi(argv[2]) : 1;
  return sweep::sweep_all(argc > first ? argv[first] : nullptr,
                          static_cast<std::size_t>(std::max(every, 1)));
}
