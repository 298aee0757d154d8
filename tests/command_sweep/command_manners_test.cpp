// What holds for all commands of the program, tried with each command that its manual describes, on
// the command lines of the sweep.

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <set>
#include <thread>

#include "commands.h"
#include "support/schema_check.h"
#include "work_place.h"

namespace sweep {

namespace {

using test::Process;

constexpr int wrong_usage = 2;

/** The exit code of a failure: 1, but for the command that has those of `diff`. */
int failure_code(const Arguments& line) {
  return line[0] == "trace" && line[1] == "diff" ? 2 : 1;
}

/** Requires a failure, told as it was asked for; there may be notes before it. */
void expect_failure(const Arguments& line, bool as_json, const WorkPlace::Result& run) {
  EXPECT_EQ(run.exit_code, failure_code(line));
  EXPECT_EQ(run.out, "");
  ASSERT_FALSE(run.err.empty());
  const std::string last = run.err.substr(run.err.rfind('\n', run.err.size() - 2) + 1);
  EXPECT_TRUE(last.starts_with(as_json ? "{\"error\":" : "zolp: ")) << run.err;
  Arguments command = line;
  command.insert(command.begin(), "zolp");
  EXPECT_EQ(test::misfit_of_command(command, run.exit_code, run.out, run.err), "");
}

struct EveryCommand : testing::Test {
  /** Tries something with each command line, and once more with --json where that goes. */
  template <typename Try>
  void with_each_line(const Try& attempt) {
    for (const Command& command : commands()) {
      for (const bool adds_json : {false, true}) {
        Command line = command;
        const bool has_json = line.arguments.back() == "--json";
        if (adds_json && !has_json) {
          line.arguments.emplace_back("--json");
        } else if (adds_json) {
          continue;
        }
        place.prepare(line);
        const WorkPlace::Result good = place.run(line.arguments, place.site(), {journal()});
        if (good.exit_code == 0) {
          SCOPED_TRACE(joined(line.arguments));
          attempt(line, good, adds_json || has_json);
        }
      }
    }
  }

  std::string journal() const { return place.journal_variable(); }

  WorkPlace place;
  const std::vector<DescribedCommand> described = described_commands(place);
};

std::string text_of(const std::string& spelled, const Arguments& words) {
  return "zolp " + joined(words) + (spelled.empty() ? "" : " ") + spelled;
}

TEST_F(EveryCommand, NamesTheOptionNextToOneThatItDoesNotHave) {
  for (const DescribedCommand& command : described) {
    for (const std::string& option : command.options) {
      std::string wrong = option;
      std::swap(wrong[wrong.size() - 1], wrong[wrong.size() - 2]);
      if (command.has(wrong) || option.size() < 6) {
        continue;
      }
      Arguments words = command.words;
      words.push_back(wrong);
      const WorkPlace::Result run = place.run(words);
      EXPECT_EQ(run.exit_code, wrong_usage) << text_of(wrong, command.words);
      EXPECT_EQ(run.out, "");
      for (const std::string& told : {" has no option " + wrong, "\"" + option + "\"",
                                      "see \"" + text_of("--help", command.words) + "\"\n"}) {
        EXPECT_NE(run.err.find(told), std::string::npos) << run.err << "misses " << told;
      }
    }
  }
}

TEST_F(EveryCommand, PrintsItsHelp) {
  ASSERT_GT(described.size(), 60U);
  for (const DescribedCommand& command : described) {
    Arguments words = command.words;
    words.emplace_back("--help");
    const WorkPlace::Result run = place.run(words);
    EXPECT_EQ(run.exit_code, 0) << text_of("--help", command.words);
    EXPECT_EQ(run.err, "");
    for (const std::string& option : command.options) {
      EXPECT_NE(run.out.find(option), std::string::npos) << text_of(option, command.words);
    }
  }
}

TEST_F(EveryCommand, FailsWhereItsOutputCannotGo) {
  with_each_line([&](const Command& line, const WorkPlace::Result& good, bool as_json) {
    if (good.out.empty()) {
      return;
    }
    place.begin_run();
    test::Launch launch = place.launch(line.arguments, place.site());
    launch.has_reader = false;
    EXPECT_NE(Process(launch).wait(), 0);
    EXPECT_EQ(place.left_files().find(".zolp"), std::string::npos) << place.left_files();
    if (!std::filesystem::exists("/dev/full")) {
      return;  // a device that Linux has
    }
    place.begin_run();
    launch = place.launch(line.arguments, place.site());
    launch.output = "/dev/full";
    const int exit_code = Process(launch).wait();
    expect_failure(line.arguments, as_json, {exit_code, "", place.errors()});
    EXPECT_NE(place.errors().find("cannot write to standard output"), std::string::npos);
  });
}

TEST_F(EveryCommand, TellsFailuresAsItIsAsked) {
  std::set<std::string> tried;
  with_each_line([&](Command line, const WorkPlace::Result&, bool as_json) {
    std::vector<std::string> fault;
    if (const std::vector<std::string> operations = place.journal(); !operations.empty()) {
      fault = {"ORK_HOST_FAULTS=" + operations.front() + "=987654"};
    }
    for (std::string& argument : line.arguments) {
      const bool is_input = argument.starts_with("{files}/") || argument == "{site}";
      argument = fault.empty() && is_input ? "{out}/missing" : argument;
    }
    place.begin_run();
    const std::string site = place.site() + (fault.empty() ? ".missing" : "");
    const WorkPlace::Result run = place.run(line.arguments, site, fault);
    if (run.exit_code == 0) {
      return;  // nothing that it needs can fail
    }
    expect_failure(line.arguments, as_json, run);
    for (const DescribedCommand& command : described) {
      if (as_json && command.is_of(line.arguments)) {
        tried.insert(joined(command.words));
      }
    }
  });
  for (const DescribedCommand& command : described) {
    EXPECT_TRUE(command.is_group || !command.has("--json") || tried.count(joined(command.words)))
        << joined(command.words) << " has never failed";
  }
}

#if !defined(_WIN32)  // where nobody can interrupt a single process

/** The place of an operation that is called once, or seldom, and not far from the middle. */
std::size_t rare_in_the_middle(const std::vector<std::string>& operations) {
  std::pair<long, long> least = {operations.size() + 1, 0};
  std::size_t best = 0;
  for (std::size_t i = 0; i < operations.size(); ++i) {
    const std::pair<long, long> here = {
        std::count(operations.begin(), operations.end(), operations[i]),
        std::abs(static_cast<long>(operations.size() / 2) - static_cast<long>(i))};
    if (here < least) {
      least = here;
      best = i;
    }
  }
  return best;
}

/** Waits until a run has called so many operations that the next one, which is delayed, is due. */
void wait_for(const WorkPlace& place, std::size_t operations) {
  for (int turns = 0; turns < 1000 && place.journal().size() < operations; ++turns) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
}

TEST_F(EveryCommand, EndsByTheSignalAndLeavesNothingWhenInterrupted) {
  with_each_line([&](Command line, const WorkPlace::Result&, bool as_json) {
    const std::vector<std::string> operations = place.journal();
    const std::string good_contents = comparable(place.contents());
    const std::string good_files = place.left_files();
    const auto file = std::find_if(line.arguments.begin(), line.arguments.end(),
                                   [](const auto& word) { return word.starts_with("{files}/"); });
    if (as_json || (operations.empty() && file == line.arguments.end())) {
      return;  // over before anybody can interrupt it, or killed in another test
    }
    place.begin_run();
    std::vector<std::string> variables = {journal()};
    const std::size_t nth = operations.empty() ? 0 : rare_in_the_middle(operations);
    if (operations.empty()) {
      *file = "-";
    } else {
      variables.push_back("ORK_HOST_DELAYS=" + operations[nth] + "=2000");
    }
    Process process(place.launch(line.arguments, place.site(), variables));
    if (operations.empty()) {
      process.write(std::string((1U << 16) + 1, '\n'));  // more than is taken unread
    } else {
      wait_for(place, nth);
    }
    process.interrupt();
    EXPECT_EQ(process.wait(), Process::interrupted) << place.errors();
    const bool is_undone = place.contents() == place.start_contents() && place.left_files().empty();
    const bool is_done =
        comparable(place.contents()) == good_contents && place.left_files() == good_files;
    EXPECT_TRUE(is_undone || is_done)
        << "at " << (operations.empty() ? "" : operations[nth]) << " leaves " << place.left_files();
  });
}

#endif

}  // namespace

}  // namespace sweep
