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

#include "store.h"

namespace host::flow {

inline constexpr const char* team_task_name = "select-signoff-team";

/** An object and the type of its attachment. */
struct Attachment {
  tag object;
  int type;
};

// These refuse what is not of the class.

void require_job(tag job);
void require_task(tag task);
void require_signoff(tag signoff);

/** Objects that a list attribute refers to. */
std::vector<tag> references(tag object, const char* attribute);

/** The attribute of a task that lists attachments of a type. */
const char* attachment_attribute(int type);

/** All attributes of a task that list attachments. */
const std::vector<const char*>& attachment_attributes();

/** A task and all below it, each before its sub-tasks, in their order. */
std::vector<tag> tasks_from(tag task);

/** Refuses an attachment of an unknown type, and what may not be attached in this way. */
void require_attachable(const Attachment& attachment);

/** A job that has not begun to run. */
tag create_job(const std::string& name, const std::string& description, tag process_template,
               const std::vector<Attachment>& attachments);

/** Runs a job as far as it goes; does nothing while a handler of this process runs in it. */
void continue_job(tag job);

/** Runs the job of a condition task that was saved. Other objects are none of its business. */
void continue_after_save(tag object);

/** Takes a decision for the session's user and runs the job. */
void decide(tag signoff, int decision, const std::string& comments);

/** A job that this process has locked, with all that is its own. */
void delete_job(tag job);

/** Drops what was not saved of a job, gives its locks back and reads it anew. */
void refresh_job(tag job);

}  // namespace host::flow
