/** @file What the subcommands of `zolp job` share. */
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "command_line/parser.h"
#include "handler_work.h"
#include "jobs.h"
#include "login.h"
#include "picture.h"

namespace tool {

struct JobOptions {
  std::string job, process_template, description, task, decision, comment, result;
  std::vector<std::string> targets, references, added, removed, handlers;
  bool json = false;
  HandlerSettings handler_settings;
  PictureOptions picture;
  LoginOptions login;
};

/** Requires that an operation that was to change a job has done so. */
void require_changed(int status, const std::string& what);

/**
 * The same for an operation that runs handlers of a job: its status tells all, and failures that
 * handlers have left on the error stack they have dealt with. A failure of a handler is told with
 * the handler and its task.
 */
void require_run(tag job, int status, const std::string& what);

/** Prints something as JSON or as a text. */
void print(const Json& json, bool as_json, void (*print_text)(const Json&));

void show(tag job, const JobOptions& options);

std::vector<tag> find_objects(const std::vector<std::string>& ids);

/** Tells of a handler that has stopped a job. */
void require_not_stopped(tag job, int status, const JobOptions& options);

/**
 * Shows a job after a change; a handler may have deleted the job that it ran in. The change is made
 * by then, so what cannot be read is read once more before that is said.
 */
void show_what_is_left(tag job, const JobOptions& options);

struct JobCommand {
  CommandParser& parser;
  std::shared_ptr<JobOptions> options;
};

/** Adds a subcommand that does something in a session on a site. */
JobCommand add_job_command(CommandParser& group, const char* name, const char* description,
                           void (*action)(const JobOptions&));

void add_job_argument(const JobCommand& command);

OptionParser add_text(const JobCommand& command, const char* name, std::string& text,
                      const char* description);

void add_ids(const JobCommand& command, const char* name, std::vector<std::string>& ids,
             const char* description);

// The subcommands; each adds itself.
void add_job_start(CommandParser& group);
void add_job_list(CommandParser& group);
void add_job_show(CommandParser& group);
void add_job_signoff(CommandParser& group);
void add_job_result(CommandParser& group);
void add_job_continue(CommandParser& group);
void add_job_targets(CommandParser& group);
void add_job_template(CommandParser& group);
void add_job_refresh(CommandParser& group);
void add_job_delete(CommandParser& group);

}  // namespace tool
