/** @file `zolp job`: starts, shows and steers workflow jobs. */
#include "commands/job.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

#include "commands/commands.h"
#include "error.h"
#include "objects.h"
#include "ork/store.h"
#include "text.h"

namespace tool {

namespace {

/** The job; null when it is gone. */
Json what_is_left(tag job) {
  logical exists = 0;
  require(STORE_instance_exists(job, &exists), "the job");
  return exists != 0 ? job_json(job) : Json();
}

Json what_is_left_at_last(tag job) {
  try {
    return what_is_left(job);
  } catch (const Error&) {
    forget_failures();
    return what_is_left(job);
  }
}

/** What stops a job when one of its handlers fails with a status; null when that is not why. */
Json stop_with(tag job, int status) {
  try {
    const Json stop = job_stop(job);
    return stop.is_null() || stop["code"] != status ? Json() : stop;
  } catch (const Error&) {
    forget_failures();
    return {};
  }
}

/** @param status what running the job came to, no success. */
[[noreturn]] void throw_failed_run(tag job, int status, const std::string& what,
                                   const std::string& advice) {
  const Error failure = failure_error(status, what, advice);
  forget_failures();
  const Json stop = stop_with(job, status);
  if (stop.is_null()) {
    throw failure;
  }
  FailedHandler handler;
  handler.name = stop["handler"];
  handler.task = stop["task"].is_null() ? "" : stop["task"];
  handler.job = display_value(job, "object_name");
  handler.action = stop["on"];
  const std::string problem = "job " + handler.job + " was stopped " + stop_text(stop);
  throw handler_failure(failure, status, problem, std::move(handler));
}

}  // namespace

void require_changed(int status, const std::string& what) {
  require_success(status, what, "see what the job is at with \"zolp job show\"");
}

void require_run(tag job, int status, const std::string& what) {
  if (status == ORK_ok) {
    return forget_failures();
  }
  throw_failed_run(job, status, what, "see what the job is at with \"zolp job show\"");
}

void print(const Json& json, bool as_json, void (*print_text)(const Json&)) {
  if (as_json) {
    const OwnOutput output;
    print_json(json);
  } else {
    print_text(json);
  }
}

void show(tag job, const JobOptions& options) {
  print(job_json(job), options.json, print_job);
}

std::vector<tag> find_objects(const std::vector<std::string>& ids) {
  std::vector<tag> objects;
  std::transform(ids.begin(), ids.end(), std::back_inserter(objects), find_object);
  return objects;
}

void require_not_stopped(tag job, int status, const JobOptions& options) {
  if (status == ORK_ok) {
    return forget_failures();
  }
  throw_failed_run(job, status, "job " + options.job + " was stopped",
                   "mend the cause and run it on with \"zolp job continue\"");
}

void show_what_is_left(tag job, const JobOptions& options) {
  const Json left = what_is_left_at_last(job);
  if (left.is_null() && !options.json) {
    std::puts(printable("a handler has deleted job " + options.job).c_str());
  } else {
    print(left, options.json, print_job);
  }
}

JobCommand add_job_command(CommandParser& group, const char* name, const char* description,
                           void (*action)(const JobOptions&)) {
  CommandParser& command = group.add_command(name, description);
  const auto options = std::make_shared<JobOptions>();
  const OptionParser handlers =
      command
          .add_option("--handlers", options->handlers,
                      "Library of workflow handlers to load; may be repeated")
          .type_name("LIBRARY");
  add_handler_settings(command, options->handler_settings);
  command.option("--timeout").needs(handlers);
  command.option("--in-process").needs(handlers);
  add_login_options(command, options->login);
  command.add_flag("--json", options->json, "Print JSON");
  command.callback([&command, options, action] {
    const auto work = [&] {
      in_session(command, options->login, [&] {
        for (const std::string& library : options->handlers) {
          load_handlers(library);
        }
        action(*options);
      });
    };
    if (options->handlers.empty()) {
      return work();
    }
    do_with_handlers({options->handler_settings, options->json,
                      [options] { return site_file(options->login.site); }},
                     work);
  });
  return {command, options};
}

void add_job_argument(const JobCommand& command) {
  command.parser.add_option("JOB", command.options->job, "Name of the job, or # and its number")
      .required()
      .type_name("");
}

OptionParser add_text(const JobCommand& command, const char* name, std::string& text,
                      const char* description) {
  return command.parser.add_option(name, text, description).type_name(name[0] == '-' ? "TEXT" : "");
}

void add_ids(const JobCommand& command, const char* name, std::vector<std::string>& ids,
             const char* description) {
  command.parser.add_option(name, ids, description).type_name("ID[/REV]");
}

void add_job_commands(CommandParser& program) {
  CommandParser& group = program.add_group("job", "Start, show and steer workflow jobs");
  group.footer(R"(
Examples:
  zolp job start Release --name R-17 --target GB-1000/C --host site.db
  zolp job show R-17 --host site.db               where it stands, and why
  zolp job signoff R-17 --decision approve -u=alice -g=engineering --host site.db
  zolp job continue R-17 --handlers ./libcheck.so --timeout 60 --host site.db
                                                  after the cause of a stop is mended

Handlers run in a process of their own: one that crashes, hangs or ends the program
stops its job, and is named with its last calls.

"zolp job COMMAND --help" says more about each command.)");
  add_job_start(group);
  add_job_list(group);
  add_job_show(group);
  add_job_signoff(group);
  add_job_result(group);
  add_job_continue(group);
  add_job_targets(group);
  add_job_template(group);
  add_job_refresh(group);
  add_job_delete(group);
}

}  // namespace tool
