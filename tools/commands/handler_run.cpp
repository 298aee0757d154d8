/** @file `zolp handler`: runs workflow handlers of a library, without a process that calls them. */
#include <algorithm>
#include <cstdio>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "commands/commands.h"
#include "error.h"
#include "jobs.h"
#include "login.h"
#include "objects.h"
#include "ork/flow.h"
#include "text.h"

namespace tool {

namespace {

struct HandlerOptions {
  std::string library, job, task;
  std::vector<std::string> handlers, arguments;
  bool json = false;
  LoginOptions login;
};

/** Sorted. */
std::vector<std::string> registered_handlers() {
  int count = 0;
  char** names = nullptr;
  require(FLOW_list_handlers(&count, &names), "the handlers");
  const PlatformBlock<char*> block(names);
  return {names, names + count};
}

/** Loads the library and returns what it has registered. */
std::vector<std::string> handlers_of(const std::string& library) {
  const std::vector<std::string> before = registered_handlers();
  load_handlers(library);
  const std::vector<std::string> after = registered_handlers();
  std::vector<std::string> added;
  std::set_difference(after.begin(), after.end(), before.begin(), before.end(),
                      std::back_inserter(added));
  return added;
}

std::string lines_of(const std::vector<std::string>& arguments) {
  std::string lines;
  for (const std::string& argument : arguments) {
    lines += (lines.empty() ? "" : "\n") + argument;
  }
  return lines;
}

void run(const HandlerOptions& options) {
  const std::vector<std::string> added = handlers_of(options.library);
  const std::vector<std::string>& wanted = options.handlers.empty() ? added : options.handlers;
  if (wanted.empty()) {
    throw Error(options.library + " registers no handler of its own", "name one with --handler");
  }
  Json results = Json::array();
  const tag job = find_job(options.job);
  const tag task = options.task.empty() ? current_task(job) : find_task(job, options.task);
  const std::string arguments = lines_of(options.arguments);
  const std::string name_of_task = task_name(task);
  for (const std::string& handler : wanted) {
    const int status = FLOW_run_handler(task, handler.c_str(), arguments.c_str());
    if (status == ORK_ok) {
      forget_failures();  // the handler has dealt with them
    }
    require_success(status, "handler " + handler + " failed",
                    "see the call trace, set ZOLP_TRACE_LEVEL=4");
    results.push_back({{"handler", handler}, {"task", name_of_task}});
  }
  if (options.json) {
    print_json(results);
    return;
  }
  for (const Json& result : results) {
    std::puts(printable(result["handler"].get<std::string>() + " has run on task " + name_of_task)
                  .c_str());
  }
}

}  // namespace

void add_handler_commands(CommandParser& program) {
  CommandParser& group = program.add_group("handler", "Run workflow handlers");
  group.footer(R"(
Examples:
  zolp handler run ./libcheck.so --job R-17 --host site.db
  zolp handler run ./libcheck.so --job R-17 --handler check --argument limit=20

"zolp handler COMMAND --help" says more about each command.)");
  CommandParser& command =
      group.add_command("run", "Run the handlers of a library on a task of a job");
  const auto options = std::make_shared<HandlerOptions>();
  command.add_option("LIBRARY", options->library, "Shared library with ORK_register_handlers")
      .required()
      .type_name("");
  command.add_option("--job", options->job, "Name of the job, or # and its number")
      .required()
      .type_name("JOB");
  command.add_option("--task", options->task, "Task; the one that the job is at when left out")
      .type_name("NAME");
  command
      .add_option("--handler", options->handlers,
                  "Handler; all that the library registers when left out; may be repeated")
      .type_name("NAME")
      .take_all();
  command
      .add_option("--argument", options->arguments,
                  "Argument of the handlers, NAME=VALUE; may be repeated")
      .type_name("TEXT")
      .take_all();
  work_in_session(command, options, run);
  command.footer(
      "\nExample: zolp handler run ./libcheck.so --job R-17 --argument limit=20 --host site.db");
}

}  // namespace tool
