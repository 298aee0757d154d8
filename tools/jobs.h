/** @file Workflow jobs of the open site, as commands name and show them. */
#pragma once

#include <string>
#include <vector>

#include "ork/ork.h"
#include "text.h"

namespace tool {

/** The job of a name, or of "#" and its tag; an Error says when there are none or several. */
tag find_job(const std::string& name);

std::string task_name(tag task);

/** The first task of a name. */
tag find_task(tag job, const std::string& name);

/**
 * The task that the job is at: the one where it is stopped, or the innermost one that has started,
 * or else the root task.
 */
tag current_task(tag job);

/** A job with its attachments, tasks and signoffs. */
Json job_json(tag job);

/** Prints what `job_json` makes as a tree. */
void print_job(const Json& job);

/** How users write the result of a condition: "true", "false" or a number. */
std::string result_text(int result);

/**
 * What has stopped a job: `task`, `handler`, `on`, `code`, `text` and `date`; null when it has not
 * been stopped, or has gone on since.
 */
Json job_stop(tag job);

/** A stop in words: "at task Check by handler examine, called on start". */
std::string stop_text(const Json& stop);

/** A job in one line of a list. */
Json job_summary(tag job);

}  // namespace tool
