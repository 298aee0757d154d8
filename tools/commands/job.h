/** @file What the subcommands of `zolp job` share. */
#pragma once

#include <CLI/CLI.hpp>
#include <memory>
#include <string>
#include <vector>

#include "jobs.h"
#include "login.h"

namespace tool {

struct JobOptions {
  std::string job, process_template, description, task, decision, comment, result;
  std::vector<std::string> targets, references, added, removed, handlers;
  bool json = false;
  LoginOptions login;
};

/** Runs an operation that is to change a job. */
void change(int status, const std::string& what);

/** Prints something as JSON or as a text. */
void print(const Json& json, bool as_json, void (*print_text)(const Json&));

void show(tag job, const JobOptions& options);

std::vector<tag> find_objects(const std::vector<std::string>& ids);

/** Tells of a handler that has stopped a job. */
void require_not_stopped(int status, const JobOptions& options);

/** Shows a job after a change; a handler may have deleted the job that it ran in. */
void show_what_is_left(tag job, const JobOptions& options);

struct JobCommand {
  CLI::App* app;
  std::shared_ptr<JobOptions> options;
};

/** Adds a subcommand that does something in a session on a site. */
JobCommand add_job_command(CLI::App& group, const char* name, const char* description,
                           void (*action)(const JobOptions&));

void add_job_argument(const JobCommand& command);

CLI::Option* add_text(const JobCommand& command, const char* name, std::string& text,
                      const char* description);

void add_ids(const JobCommand& command, const char* name, std::vector<std::string>& ids,
             const char* description);

// The subcommands; each adds itself.
void add_job_start(CLI::App& group);
void add_job_list(CLI::App& group);
void add_job_show(CLI::App& group);
void add_job_signoff(CLI::App& group);
void add_job_result(CLI::App& group);
void add_job_continue(CLI::App& group);
void add_job_targets(CLI::App& group);
void add_job_refresh(CLI::App& group);
void add_job_delete(CLI::App& group);

}  // namespace tool
