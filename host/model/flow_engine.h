/**
 * @file
 * The rules by which jobs run. All of their state is in the store; each step is one change there.
 * Handlers run between steps, and may do anything, even delete the job: after each of them the
 * engine looks whether there still is one.
 *
 *   ProcessTemplate  name, and its root TaskTemplate
 *   TaskTemplate     what its tasks are to be like; the sub-task templates in order
 *   Job              its root Task
 *   Task             all that its template said, so that a template may change under it; the state
 *   Signoff          member and decision, attached to a review task and to its team's sub-task
 *   ResourcePool     a group, a role, or both
 */
#pragma once

#include <string>
#include <vector>

#include "flow_tasks.h"
#include "store.h"

namespace host::flow {

inline constexpr const char* team_task_name = "select-signoff-team";

/** A job that has not begun to run. */
tag create_job(const std::string& name, const std::string& description, tag process_template,
               const std::vector<Attachment>& attachments);

/** Runs a job as far as it goes; does nothing while a handler of this process runs in it. */
void continue_job(tag job);

/** Continues the jobs that were to go on while changes were held. */
void run_held_back_jobs();

/** Runs the job of a condition task that was saved. Other objects are none of its business. */
void continue_after_save(tag object);

/** Takes a decision for the session's user and runs the job. */
void decide(tag signoff, int decision, const std::string& comments);

/** A job that this process has locked, with all that is its own. */
void delete_job(tag job);

/** Drops what was not saved of a job, gives its locks back and reads it anew. */
void refresh_job(tag job);

}  // namespace host::flow
