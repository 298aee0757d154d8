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
#include <fstream>
#include <map>

#include "commands.h"
#include "support/schema_check.h"
#include "work_place.h"

namespace sweep {

namespace {

/** The status of an injected failure; the platform has no such code. */
constexpr const char* injected_status = "987654";

// -------------------------------------------------------------------------------------- checking

struct Tally {
  std::string command;
  std::size_t faults = 0;
  int as_good = 0;
  int refused = 0;
  int broken = 0;
  bool has_json = false; /**< whether it has been tried with --json, too */
};

class Trial {
 public:
  Trial(WorkPlace& place, const Command& command, std::size_t every)
      : place_(place), command_(command), every_(every) {
    tally_.command = joined(command.arguments);
  }

  Tally run() {
    place_.prepare(command_);
    good_ = place_.run(command_.arguments, place_.site(), {place_.journal_variable()});
    good_contents_ = comparable(place_.contents());
    good_files_ = place_.made_files();
    if (good_.exit_code != 0) {
      complain("as it is", "exit code " + std::to_string(good_.exit_code) + ": " + good_.err);
      return tally_;
    }
    const std::vector<std::string> journal = place_.journal();
    try_json();
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
  /** The same with --json, where the command has that and the line nothing that excludes it. */
  void try_json() {
    Arguments arguments = command_.arguments;
    if (std::find(arguments.begin(), arguments.end(), "--json") == arguments.end()) {
      arguments.emplace_back("--json");
    }
    place_.begin_run();
    const WorkPlace::Result result = place_.run(arguments, place_.site());
    arguments.insert(arguments.begin(), "zolp");
    const std::string problem =
        test::misfit_of_command(arguments, result.exit_code, result.out, result.err);
    constexpr int wrong_usage = 2;
    tally_.has_json = result.exit_code == 0;
    if (!problem.empty() || (!tally_.has_json && result.exit_code != wrong_usage)) {
      complain("with --json", problem + result.err);
    }
  }

  void try_fault(const std::string& operation, int nth) {
    const std::string fault = operation + ":" + std::to_string(nth);
    place_.begin_run();
    const WorkPlace::Result result = place_.run(
        command_.arguments, place_.site(), {"ORK_HOST_FAULTS=" + fault + "=" + injected_status});
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

/** Requires a command line for each command of the program, and one with JSON where it has that. */
bool is_complete(const WorkPlace& place, const std::vector<Tally>& tallies) {
  const std::vector<DescribedCommand> described = described_commands(place);
  bool is_complete = described.size() > 60;
  for (const DescribedCommand& command : described) {
    bool is_tried = command.is_group;
    bool has_json = command.is_group || !command.has("--json");
    for (std::size_t i = 0; i < tallies.size(); ++i) {
      const bool is_of = command.is_of(commands()[i].arguments);
      is_tried = is_tried || is_of;
      has_json = has_json || (is_of && tallies[i].has_json);
    }
    if (!is_tried || !has_json) {
      std::fprintf(stderr, "no command line%s for zolp %s\n", is_tried ? " with --json" : "",
                   joined(command.words).c_str());
      is_complete = false;
    }
  }
  return is_complete;
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
  bool held = true;
  for (const Command& command : commands()) {
    if (wanted == nullptr || joined(command.arguments).find(wanted) != std::string::npos) {
      tallies.push_back(Trial(place, command, every).run());
      held = held && tallies.back().broken == 0;
    }
  }
  held = (wanted != nullptr || is_complete(place, tallies)) && held;
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
