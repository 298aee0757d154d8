/** @file `zolp list check`: tells all that is wrong with a release list. */
#include <cstdio>
#include <memory>
#include <string>

#include "commands/list.h"
#include "error.h"
#include "release_list.h"
#include "text.h"

namespace tool {

namespace {

struct ListCheckOptions : ListOptions {
  std::string separator = "/";
  bool json = false;
};

Json problem_json(const ListProblem& problem) {
  return {{"line", problem.line},
          {"column", problem.column.empty() ? Json() : Json(problem.column)},
          {"is_refused", problem.is_refused},
          {"problem", "the line " + problem.what},
          {"advice", problem.advice}};
}

void print_problem(const std::string& list, const ListProblem& problem) {
  const std::string column = problem.column.empty() ? "" : "\"" + problem.column + "\", ";
  std::printf("%s\n", printable(list + ":" + std::to_string(problem.line) + ": " + column +
                                (problem.is_refused ? "" : "warning: ") + "the line " +
                                problem.what + ": " + problem.advice)
                          .c_str());
}

void check(const ListCheckOptions& options) {
  const InputFile list(options.file);
  const ListReport report = report_on_list(list, options.separator, options.encoding);
  std::size_t refusals = 0;
  for (const ListProblem& problem : report.problems) {
    refusals += problem.is_refused ? 1 : 0;
  }
  const std::string found =
      counted(refusals, "error") + ", " + counted(report.problems.size() - refusals, "warning");
  if (options.json) {
    Json problems = Json::array();
    for (const ListProblem& problem : report.problems) {
      problems.push_back(problem_json(problem));
    }
    print_json({{"file", list.name()},
                {"lines", report.lines},
                {"items", report.contents.items},
                {"datasets", report.contents.datasets},
                {"is_taken", refusals == 0},
                {"problems", problems}});
  } else {
    for (const ListProblem& problem : report.problems) {
      print_problem(list.name(), problem);
    }
    std::printf("%s, %s, %s: %s\n", counted(report.lines, "line").c_str(),
                counted(report.contents.items, "item").c_str(),
                counted(report.contents.datasets, "dataset").c_str(),
                refusals > 0              ? "a clone run would not take the list"
                : report.problems.empty() ? "a clone run takes the list"
                                          : "a clone run takes the list, see the warnings");
  }
  if (refusals > 0) {
    throw Error("list " + list.name() + " is wrong (" + found + ")", "correct its lines");
  }
}

}  // namespace

void add_list_check(CommandParser& group) {
  CommandParser& command = group.add_command("check", "Tell all that is wrong with a release list");
  const auto options = std::make_shared<ListCheckOptions>();
  add_list_file(command, *options, "The release list");
  add_separator(command, options->separator);
  command.add_flag("--json", options->json, "Print JSON");
  command.footer(
      "\nErrors are what a clone run refuses; warnings are what it would read otherwise than it\n"
      "is meant. Positions count bytes, from 1. Exit code 1 when there are errors.\n"
      "Examples: zolp list check release_list.txt\n"
      "          zolp list check - --encoding latin1 <release_list.txt");
  command.callback([options] {
    require_separator(options->separator);
    check(*options);
  });
}

}  // namespace tool
