/** @file `zolp handler run`: runs handlers of a library, without a process that calls them. */
#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "commands/handler.h"
#include "error.h"
#include "handler_work.h"
#include "jobs.h"
#include "login.h"
#include "objects.h"
#include "ork/flow.h"
#include "text.h"

namespace tool {

namespace {

struct RunOptions {
  std::string library, job, task;
  std::vector<std::string> handlers, arguments;
  bool is_strict = false;
  bool json = false;
  HandlerSettings settings;
  LoginOptions login;
};

std::string lines_of(const std::vector<std::string>& arguments) {
  std::string lines;
  for (const std::string& argument : arguments) {
    lines += (lines.empty() ? "" : "\n") + argument;
  }
  return lines;
}

/** Runs a handler. @return what is told of it. */
Json run_handler(const std::string& name, tag task, const std::string& job,
                 const std::string& arguments) {
  const std::string name_of_task = task_name(task);
  const int status = FLOW_run_handler(task, name.c_str(), arguments.c_str());
  if (status != ORK_ok) {
    const std::string problem = "handler " + name + " failed on task " + name_of_task;
    const Error failure = failure_error(
        status, problem, "mend it, or record its calls with ZOLP_TRACE_RECORD for \"zolp trace\"");
    FailedHandler handler;
    handler.name = name;
    handler.task = name_of_task;
    handler.job = job;
    handler.action = action_text(FLOW_perform_action);
    throw handler_failure(failure, status, problem, std::move(handler));
  }
  forget_failures();  // the handler has dealt with them
  return {
      {"handler", name}, {"task", name_of_task}, {"job", job}, {"left_behind", take_left_behind()}};
}

void print_runs(const Json& runs) {
  for (const Json& run : runs) {
    std::puts(printable(run["handler"].get<std::string>() + " has run on task " +
                        run["task"].get<std::string>())
                  .c_str());
  }
}

void require_nothing_left_behind(const Json& runs) {
  for (const Json& run : runs) {
    if (!run["left_behind"].empty()) {
      throw Error("handler " + run["handler"].get<std::string>() + " leaves something behind",
                  "have it free what it gets and give back what it locks");
    }
  }
}

void run(const RunOptions& options) {
  const std::vector<std::string> added = load_handlers(options.library);
  const std::vector<std::string>& wanted = options.handlers.empty() ? added : options.handlers;
  if (wanted.empty()) {
    throw Error(options.library + " registers no handler of its own", "name one with --handler");
  }
  const tag job = find_job(options.job);
  const std::string name_of_job = display_value(job, "object_name");
  const tag task = options.task.empty() ? current_task(job) : find_task(job, options.task);
  const std::string arguments = lines_of(options.arguments);
  Json runs = Json::array();
  for (const std::string& handler : wanted) {
    runs.push_back(run_handler(handler, task, name_of_job, arguments));
  }
  if (options.is_strict) {
    require_nothing_left_behind(runs);
  }
  if (options.json) {
    const OwnOutput output;
    print_json(runs);
  } else {
    print_runs(runs);
  }
}

void add_run_options(CommandParser& command, RunOptions& options) {
  command.add_option("LIBRARY", options.library, "Shared library with ORK_register_handlers")
      .required()
      .type_name("");
  command.add_option("--job", options.job, "Name of the job, or # and its number")
      .required()
      .type_name("JOB");
  command.add_option("--task", options.task, "Task; the one that the job is at when left out")
      .type_name("NAME");
  command
      .add_option("--handler", options.handlers,
                  "Handler; all that the library registers when left out; may be repeated")
      .type_name("NAME");
  command
      .add_option("--argument", options.arguments,
                  "Argument of the handlers, NAME=VALUE; may be repeated")
      .type_name("TEXT");
  command.add_flag("--strict", options.is_strict,
                   "Fail when a handler leaves blocks or locks behind");
  add_handler_settings(command, options.settings);
  add_login_options(command, options.login);
  command.add_flag("--json", options.json, "Print JSON");
}

}  // namespace

void add_handler_run(CommandParser& group) {
  CommandParser& command =
      group.add_command("run", "Run the handlers of a library on a task of a job");
  const auto options = std::make_shared<RunOptions>();
  add_run_options(command, *options);
  command.callback([&command, options] {
    do_with_handlers(
        {options->settings, options->json, [options] { return site_file(options->login.site); }},
        [&] { in_session(command, options->login, [&] { run(*options); }); });
  });
  command.footer(
      "\nBlocks and locks that a handler leaves behind are named on standard error. One that "
      "crashes, hangs\nor ends the program is named with its last calls.\n\n"
      "Example: zolp handler run ./libcheck.so --job R-17 --argument limit=20 --host site.db\n"
      "         zolp handler run ./libcheck.so --job R-17 --strict --timeout 60");
}

}  // namespace tool
