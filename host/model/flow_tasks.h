/** @file Jobs, their tasks, and what is attached to them. */
#pragma once

#include <vector>

#include "ork/flow.h"
#include "store.h"

namespace host::flow {

/** An object and the type of its attachment. */
struct Attachment {
  tag object;
  int type;
};

// These refuse what is not of the class.

void require_job(tag job);
void require_task(tag task);
void require_signoff(tag signoff);
void require_condition_task(tag task);

/** Objects that a list attribute refers to. */
std::vector<tag> references(tag object, const char* attribute);

/** The attribute of a task that lists attachments of a type. */
const char* attachment_attribute(int type);

/** All attributes of a task that list attachments. */
const std::vector<const char*>& attachment_attributes();

/** The root task of a job, whose tasks are a tree. */
tag root_task_of(tag job);

/**
 * A task and all below it, each before its sub-tasks, in their order. What is no tree, as only a
 * damaged file has it, is refused.
 */
std::vector<tag> tasks_from(tag task);

/** The tasks of a job that are of a type, or all of them for eFLOWAnyTask. */
std::vector<tag> tasks_of_type(tag job, int type);

/** Sets the result of a condition task that is not over or under way; it is not saved. */
void set_condition_result(tag task, int result);

/** Refuses an attachment of an unknown type, and what may not be attached in this way. */
void require_attachable(const Attachment& attachment);

/** These attach to a task, or take away, all of the objects or none. */
void add_attachments(tag task, const std::vector<Attachment>& attachments);
void remove_attachments(tag task, int count, const tag* objects);

}  // namespace host::flow
