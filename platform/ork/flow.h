/**
 * @file
 * Workflow: jobs that run after process templates, their tasks and attachments, and handlers.
 *
 * A job has a root task; a task may have sub-tasks, which run in their order. A task begins
 * (handlers on start, then #FLOW_started), its sub-tasks run, and when nothing holds it back any
 * longer it is completed (handlers on completion, then #FLOW_completed). Two kinds of tasks hold a
 * job back: a review task until enough of its signoffs approve, and a condition task until it has a
 * result, which selects those of its sub-tasks that run; the others are skipped. A job goes on as
 * far as it can inside the operation that lets it: `FLOW_create_process`,
 * `SIGNOFF_set_signoff_decision`, `OBJ_save` of a condition task, `FLOW_continue_job`.
 *
 * Each state that a task takes is saved at once. A handler that fails stops its job there: the task
 * keeps the state that it had, and the operation returns the handler's code.
 */
#ifndef ORK_FLOW_H
#define ORK_FLOW_H

#include "ork/ork.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Codes of the workflow operations. */
enum {
  FLOW_not_a_job = 33001,                 /**< the object is not a job */
  FLOW_not_a_task = 33002,                /**< the object is not a task */
  FLOW_not_a_process_template = 33003,    /**< the object is not a process template */
  FLOW_unknown_process_template = 33004,  /**< there is no process template of this name */
  FLOW_not_a_condition_task = 33005,      /**< the task is not a condition task */
  FLOW_unknown_attachment_type = 33006,   /**< there is no such type of attachment */
  FLOW_already_attached = 33007,          /**< the object is attached in this way already */
  FLOW_not_attached = 33008,              /**< the object is not attached */
  FLOW_unknown_state = 33009,             /**< there is no such state */
  FLOW_unknown_handler = 33010,           /**< no handler of this name is registered */
  FLOW_handler_threw = 33011,             /**< an exception came out of a handler */
  FLOW_nested_too_deeply = 33012,         /**< handlers start jobs that start jobs, too deeply */
  FLOW_task_is_over = 33013,              /**< the task is completed or skipped */
  FLOW_not_a_resource_pool = 33014,       /**< the object is not a resource pool */
  FLOW_unknown_task_type = 33015,         /**< there is no such type of task */
  FLOW_cannot_load_handlers = 33016,      /**< the library of handlers cannot be used */
  FLOW_argument_missing = 33017,          /**< a handler lacks an argument */
  FLOW_handler_died = 33018,              /**< the process ended while a handler ran */
  FLOW_handler_hung = 33019,              /**< a handler took longer than it was given */
  FLOW_target_object_not_attached = 33030 /**< the job has no targets */
};

/** Types of attachments. */
enum {
  FLOW_target_attachment = 1,        /**< what the job is about */
  FLOW_reference_attachment = 3,     /**< what helps with it */
  FLOW_signoff_attachment = 4,       /**< signoffs, on a review task and its team's sub-task */
  FLOW_release_status_attachment = 5 /**< release statuses that the job has set */
};

/** States of a task. */
enum {
  FLOW_pending = 2,   /**< it has not begun */
  FLOW_started = 4,   /**< it runs, or waits for what holds it back */
  FLOW_completed = 8, /**< it is done */
  FLOW_skipped = 16   /**< it is on a branch that was not taken */
};

/** Longest name of a state, in bytes; a buffer needs one byte more. */
#define FLOW_state_name_size 32

/** Longest name of a task or a job, in bytes; a buffer needs one byte more. */
#define FLOW_name_size 128

/** Types of tasks. */
enum {
  eFLOWAnyTask = 0,           /**< for lists: all of them */
  eFLOWReviewTask = 1,        /**< waits for signoffs */
  eFLOWRootTask = 2,          /**< the job itself */
  eFLOWPlainTask = 3,         /**< has handlers and sub-tasks only */
  eFLOWSelectSignoffTask = 4, /**< "select-signoff-team" of a review task: holds its signoffs */
  eFLOWConditionTask = 5      /**< waits for a result */
};

/** Results of a condition task. Templates may use others. */
enum {
  FLOW_condition_unset = 0, /**< none yet */
  FLOW_condition_true = 1,  /**< true */
  FLOW_condition_false = 2  /**< false */
};

/** Actions that call a handler. */
enum {
  FLOW_start_action = 1,    /**< the task is about to start */
  FLOW_complete_action = 2, /**< the task is about to be completed */
  FLOW_perform_action = 3   /**< `FLOW_run_handler` */
};

/** What a workflow handler is called with. */
typedef struct FLOW_action_message_s {
  tag task;              /**< the task on which the handler stands */
  int action;            /**< the action that triggered it */
  int proposed_state;    /**< the state that the task is about to take */
  const char* arguments; /**< the handler's arguments, one a line; the platform keeps the text */
} FLOW_action_message_s;

/** A workflow handler: returns #ORK_ok, or the code that stops the task. */
typedef int (*FLOW_handler)(const FLOW_action_message_s* message);

/* ------------------------------------------------------------------------------------ jobs -- */

/**
 * Finds a process template.
 * @param[in] name its name.
 * @param[out] process_template the template; #NULLTAG on failure.
 * @return #ORK_ok or #FLOW_unknown_process_template.
 */
ORK_API int FLOW_find_process_template(const char* name, tag* process_template);

/**
 * Makes a job after a template and runs it as far as it goes.
 * @param[in] name, description name and description of the job.
 * @param[in] process_template the template.
 * @param[in] count number of attachments of its root task.
 * @param[in] objects, types the attachments and the type of each.
 * @param[out] job the job; #NULLTAG when none was made. It is set, too, when a handler stops the
 *   job, and then the job stays; and when a handler has deleted the job.
 * @return #ORK_ok, #FLOW_not_a_process_template, #FLOW_unknown_attachment_type,
 *   #FLOW_already_attached (an object stands twice in the list), #STORE_value_too_long,
 *   #FLOW_nested_too_deeply, or why the job was stopped.
 */
ORK_API int FLOW_create_process(const char* name, const char* description, tag process_template,
                                int count, const tag* objects, const int* types, tag* job);

/**
 * Runs a job on from where it was stopped, when what stopped it is mended. The handlers of the
 * action that failed are called again, from the first one.
 * @param[in] job the job. A job that waits or is completed stays as it is.
 * @return #ORK_ok, #FLOW_not_a_job, #STORE_locked_by_other, or why it was stopped again.
 */
ORK_API int FLOW_continue_job(tag job);

/**
 * Finds jobs, in the order in which they were made.
 * @param[in] name their name; null takes any.
 * @param[out] count number of jobs.
 * @param[out] jobs the jobs, freed by the caller with `MEM_free`; null for none.
 * @return 0 or an error code.
 */
ORK_API int FLOW_find_jobs(const char* name, int* count, tag** jobs);

/**
 * Root task of a job.
 * @param[in] job the job.
 * @param[out] root_task the task.
 * @return #ORK_ok or #FLOW_not_a_job.
 */
ORK_API int FLOW_get_root_task(tag job, tag* root_task);

/**
 * Brings a job, its tasks and its signoffs up to date. Changes of theirs that were not saved are
 * dropped and their locks given back. Attachments are left alone.
 * @param[in] job the job.
 * @return #ORK_ok or #FLOW_not_a_job.
 */
ORK_API int FLOW_refresh_entire_job(tag job);

/**
 * Lists the tasks of a type, each before its sub-tasks, in their order.
 * @param[in] job the job.
 * @param[in] type one of the types of tasks above; #eFLOWAnyTask lists all of them.
 * @param[out] count number of tasks.
 * @param[out] tasks the tasks, freed by the caller with `MEM_free`; null for none.
 * @return #ORK_ok, #FLOW_not_a_job or #FLOW_unknown_task_type.
 */
ORK_API int FLOW_get_type_tasks(tag job, int type, int* count, tag** tasks);

/* ----------------------------------------------------------------------------------- tasks -- */

/*
 * An object that is no task is refused with #FLOW_not_a_task by all of these.
 */

/**
 * Job of a task.
 * @param[in] task the task.
 * @param[out] job the job.
 * @return 0 or an error code.
 */
ORK_API int FLOW_get_job(tag task, tag* job);

/**
 * Name of a task. The root task has that of the template.
 * @param[in] task the task.
 * @param[out] name caller's buffer of #FLOW_name_size + 1 bytes.
 * @return 0 or an error code.
 */
ORK_API int FLOW_get_name(tag task, char* name);

/**
 * Type of a task.
 * @param[in] task the task.
 * @param[out] type one of the types above.
 * @return 0 or an error code.
 */
ORK_API int FLOW_get_task_type(tag task, int* type);

/**
 * State of a task.
 * @param[in] task the task.
 * @param[out] state one of the states above.
 * @return 0 or an error code.
 */
ORK_API int FLOW_get_state(tag task, int* state);

/**
 * Name of a state: "Pending", "Started", "Completed" or "Skipped".
 * @param[in] state the state.
 * @param[out] name caller's buffer of #FLOW_state_name_size + 1 bytes.
 * @return #ORK_ok or #FLOW_unknown_state.
 */
ORK_API int FLOW_get_state_string(int state, char* name);

/**
 * Sub-tasks of a task, in their order.
 * @param[in] task the task.
 * @param[out] count number of sub-tasks.
 * @param[out] tasks the sub-tasks, freed by the caller with `MEM_free`; null for none.
 * @return 0 or an error code.
 */
ORK_API int FLOW_get_sub_tasks(tag task, int* count, tag** tasks);

/**
 * Sub-task of a name.
 * @param[in] task the task.
 * @param[in] name the sub-task's name.
 * @param[out] sub_task the first sub-task of that name, or #NULLTAG when there is none.
 * @return 0 or an error code.
 */
ORK_API int FLOW_get_sub_task(tag task, const char* name, tag* sub_task);

/**
 * Sets the result of a condition task. It is private to the process until the task is saved;
 * `OBJ_save` then runs the job on, and also returns why it could not go on. A task that has not
 * begun keeps the result until then.
 * @param[in] task a condition task that this process has locked.
 * @param[in] result the result; the sub-tasks of branches with other results are skipped.
 *   #FLOW_condition_unset takes a result back.
 * @return #ORK_ok, #FLOW_not_a_condition_task, #FLOW_task_is_over (also when it has begun and was
 *   given a result before) or #STORE_not_locked.
 */
ORK_API int FLOW_set_condition_task_result(tag task, int result);

/**
 * Result of a condition task.
 * @param[in] task the task.
 * @param[out] result the result; #FLOW_condition_unset when it has none yet.
 * @return #ORK_ok or #FLOW_not_a_condition_task.
 */
ORK_API int FLOW_get_condition_task_result(tag task, int* result);

/**
 * Attaches objects to a task, behind those that are attached; saved at once.
 * @param[in] task the task.
 * @param[in] count number of objects.
 * @param[in] objects, types the objects and the type of attachment of each.
 * @return #ORK_ok, #FLOW_unknown_attachment_type, #FLOW_already_attached, #ACCESS_denied without
 * the privilege "WRITE" on the task or #STORE_locked_by_other. After a failure nothing is attached.
 */
ORK_API int FLOW_add_attachments(tag task, int count, const tag* objects, const int* types);

/**
 * Detaches objects from a task, whatever their types; saved at once.
 * @param[in] task the task.
 * @param[in] count number of objects.
 * @param[in] objects the objects.
 * @return #ORK_ok, #FLOW_not_attached, #ACCESS_denied without the privilege "WRITE" on the task or
 *   #STORE_locked_by_other. After a failure nothing is detached.
 */
ORK_API int FLOW_remove_attachments(tag task, int count, const tag* objects);

/**
 * Attachments of a task, in the order in which they were attached.
 * @param[in] task the task.
 * @param[in] type the type of attachment.
 * @param[out] count number of objects.
 * @param[out] objects the objects, freed by the caller with `MEM_free`; null for none.
 * @return #ORK_ok or #FLOW_unknown_attachment_type.
 */
ORK_API int FLOW_get_attachments(tag task, int type, int* count, tag** objects);

/* ---------------------------------------------------------------------------------- members -- */

/** Types of signoff members. */
enum {
  SIGNOFF_group_member = 0, /**< a user in a group and a role */
  SIGNOFF_resource_pool = 1 /**< anybody of a group, a role or both */
};

/**
 * Who is to decide on a signoff.
 * @param[in] signoff the signoff.
 * @param[out] member a group member or a resource pool.
 * @param[out] member_type which of the two.
 * @return #ORK_ok or #SIGNOFF_not_a_signoff.
 */
ORK_API int FLOW_get_signoff_member(tag signoff, tag* member, int* member_type);

/**
 * Whom a resource pool stands for.
 * @param[in] pool the pool.
 * @param[out] group, role the group and role; #NULLTAG stands for any.
 * @param[out] allow_subgroup 1 when members of groups below count, too; groups here have none.
 * @return #ORK_ok or #FLOW_not_a_resource_pool.
 */
ORK_API int FLOW_get_resource_pool_group_role(tag pool, tag* group, tag* role,
                                              logical* allow_subgroup);

/* --------------------------------------------------------------------------------- handlers -- */

/**
 * Registers a handler for this process, in place of one of the same name. The platform's own are
 * "set-release-status" (argument "status=NAME": gives the job's targets a release status and
 * attaches it to the root task) and "clear-release-status" (with "status=NAME" takes statuses of
 * that name from the targets, without it all of them). Needs no session.
 * @param[in] name name by which templates call it.
 * @param[in] handler the handler; null takes a registration back.
 * @return 0 or an error code.
 */
ORK_API int FLOW_register_handler(const char* name, FLOW_handler handler);

/**
 * Names of the registered handlers, sorted. Needs no session.
 * @param[out] count number of names.
 * @param[out] names the names in one block, freed by the caller with `MEM_free`.
 * @return 0 or an error code.
 */
ORK_API int FLOW_list_handlers(int* count, char*** names);

/**
 * Calls a handler on a task, with #FLOW_perform_action; no state changes.
 * @param[in] task the task.
 * @param[in] name the handler's name.
 * @param[in] arguments its arguments, one a line; null for none.
 * @return what the handler returns, or #FLOW_unknown_handler or #FLOW_handler_threw.
 */
ORK_API int FLOW_run_handler(tag task, const char* name, const char* arguments);

#ifdef __cplusplus
}
#endif

#endif
