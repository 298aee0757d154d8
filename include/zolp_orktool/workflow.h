/**
 * @file
 * Jobs for those who write workflow handlers, and for programs that steer jobs: targets and
 * references, condition tasks, release levels and reviewers, and statuses by means of a job.
 *
 * @code
 * int decide_by_targets(const FLOW_action_message_s* message) {
 *   tag job;
 *   tag* targets;
 *   int count;
 *   int status = ZOLP_getRHTargetObjects(message, &job, &count, &targets);
 *   if (status != ORK_ok) {
 *     return status;
 *   }
 *   MEM_free(targets);
 *   return ZOLP_set_named_condition_task_result(
 *       job, "Many?", count > 10 ? FLOW_condition_true : FLOW_condition_false);
 * }
 * @endcode
 */
#ifndef ZOLP_ORKTOOL_WORKFLOW_H
#define ZOLP_ORKTOOL_WORKFLOW_H

#include <stdio.h>

#include "ork/date.h"
#include "ork/flow.h"
#include "ork/mem.h"
#include "ork/ork.h"
#include "zolp_orktool/api.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ------------------------------------------------- workflow attachments, tasks and reviewers -- */

/*
 * A job is given by its tag. What is attached to a job is attached to its root task. Types of
 * attachments, states and results of tasks are those of `ork/flow.h`.
 */

/**
 * Attaches objects to a job.
 * @param[in] job the job.
 * @param[in] attachment_type the type of attachment of all of them, for example
 *   #FLOW_target_attachment.
 * @param[in] count number of objects; 0 and less are passed to the platform as they are.
 * @param[in] objects the objects.
 * @return 0; 2002 when memory is exhausted, which is put on the platform's error stack, too; or the
 *   platform's status.
 */
ZOLP_API int ZOLP_add_attachments(tag job, int attachment_type, int count, tag* objects);

/**
 * Attaches objects to a job as references.
 * @param[in] job the job.
 * @param[in] count number of objects; 0 and less are passed to the platform as they are.
 * @param[in] reference_objects the objects.
 * @return as `ZOLP_add_attachments`.
 */
ZOLP_API int ZOLP_add_reference_objects(tag job, int count, tag* reference_objects);

/**
 * Attaches objects to a job as targets.
 * @param[in] job the job.
 * @param[in] count number of objects; 0 and less are passed to the platform as they are.
 * @param[in] target_objects the objects.
 * @return as `ZOLP_add_attachments`.
 */
ZOLP_API int ZOLP_add_target_objects(tag job, int count, tag* target_objects);

/**
 * Detaches objects from a job, whatever the type of their attachment.
 * @param[in] job the job.
 * @param[in] count number of objects.
 * @param[in] objects the objects.
 * @return 0 or the platform's status.
 */
ZOLP_API int ZOLP_remove_attachments(tag job, int count, tag* objects);

/**
 * Targets of a job.
 * @param[in] job the job.
 * @param[out] count number of targets.
 * @param[out] target_objects the targets, freed by the caller with `MEM_free`; null for none. Both
 *   are untouched when the job's root task cannot be found.
 * @return 0 or the platform's status.
 */
ZOLP_API int ZOLP_ask_target_objects(tag job, int* count, tag** target_objects);

/**
 * References of a job.
 * @param[in] job the job.
 * @param[out] count number of references.
 * @param[out] reference_objects the references, freed by the caller with `MEM_free`; null for none.
 *   Both are untouched when the job's root task cannot be found.
 * @return 0 or the platform's status.
 */
ZOLP_API int ZOLP_ask_reference_objects(tag job, int* count, tag** reference_objects);

/**
 * Brings a job up to date: the signoffs of its level tasks that are not completed, then targets,
 * references and release statuses, then the job itself. An attached object that is not loaded is
 * loaded; one that cannot be loaded is refreshed instead.
 * @param[in] job the job.
 * @return 0, or the status of the first step that failed, which ends the work.
 */
ZOLP_API int ZOLP_refresh_entire_job(tag job);

/**
 * Finds a condition task of a job by its name, in which case counts.
 * @param[in] job the job.
 * @param[in] task_name the name.
 * @param[out] condition_task the first condition task of this name, or 0 when there is none.
 * @return 0, also when there is none, or the platform's status.
 */
ZOLP_API int ZOLP_get_condition_task_by_name(tag job, const char* task_name, tag* condition_task);

/**
 * Sets the result of a condition task: locks the task, sets the result, saves the task and gives
 * the lock back.
 * @param[in] condition_task the task.
 * @param[in] result the result, for example #FLOW_condition_true; passed to the platform as it is.
 * @return the status of giving the lock back, and no other: failures of the steps before are in the
 *   trace and on the platform's error stack. Ask the platform for the task's result to be sure.
 */
ZOLP_API int ZOLP_set_condition_task_result(tag condition_task, int result);

/**
 * Sets the result of a condition task that is known by its name.
 * @param[in] job the job.
 * @param[in] task_name, result as for the two functions above.
 * @return 33080 when there is no condition task of this name; the status of looking for it; or as
 *   `ZOLP_set_condition_task_result`.
 */
ZOLP_API int ZOLP_set_named_condition_task_result(tag job, const char* task_name, int result);

/**
 * The release level that is running: the first review task that has started, or else the first one
 * that is pending.
 * @param[in] job the job.
 * @param[out] release_level the review task, or 0 when there is none.
 * @param[out] release_level_name caller's buffer for its name as users see it; "" when there is
 * none. The name is copied whole, so the buffer must hold the longest one that the platform shows.
 * Names are stored with at most #FLOW_name_size bytes, but may be shown in other words: one of
 * `STORE_max_string_length` + 1 (4001) bytes is room enough.
 * @return 0, also when there is none, or the platform's status.
 */
ZOLP_API int ZOLP_ask_current_release_level(tag job, tag* release_level, char* release_level_name);

/**
 * Name of the release level that is running.
 * @param[in] job the job.
 * @param[out] release_level_name caller's buffer for its name, with the room that
 *   `ZOLP_ask_current_release_level` needs; "" when there is none.
 * @return 0, also when there is none, or the platform's status.
 */
ZOLP_API int ZOLP_ask_current_release_level_name(tag job, char* release_level_name);

/**
 * Finds a release level by its name, in which case counts.
 * @param[in] job the job.
 * @param[in] release_level_name the name.
 * @param[out] release_level the first review task of this name, or 0 when there is none.
 * @return 0, also when there is none, or the platform's status.
 */
ZOLP_API int ZOLP_find_release_level(tag job, const char* release_level_name, tag* release_level);

/**
 * Members of the team of a release level. Their signoffs are refreshed.
 * @param[in] job the job.
 * @param[in] release_level_name name of the release level.
 * @param[out] count number of members; 0 when there is no such level or it has no team.
 * @param[out] members group members and resource pools, freed by the caller with `MEM_free`; null
 *   for none. After a failure both have the members that were read before it.
 * @return 0, the platform's status, or 2002 when memory is exhausted.
 */
ZOLP_API int ZOLP_ask_reviewers(tag job, const char* release_level_name, int* count, tag** members);

/**
 * Members of one type of the team of a release level. Their signoffs are refreshed.
 * @param[in] job the job.
 * @param[in] release_level_name name of the release level.
 * @param[in] member_type #SIGNOFF_group_member or #SIGNOFF_resource_pool. In the lines of the trace
 *   the names of the two types are interchanged.
 * @param[out] count number of members; 0 when there is no such level or it has no team.
 * @param[out] members the members, freed by the caller with `MEM_free`; null for none. After a
 *   failure both have the members that were read before it.
 * @return as `ZOLP_ask_reviewers`.
 */
ZOLP_API int ZOLP_ask_reviewers_by_type(tag job, const char* release_level_name, int member_type,
                                        int* count, tag** members);

/**
 * Members of the team of a release level that are group members; after a failure there are none.
 * @param[in] job the job.
 * @param[in] release_level_name name of the release level.
 * @param[out] count number of members.
 * @param[out] members the members, freed by the caller with `MEM_free`; null for none.
 * @return as `ZOLP_ask_reviewers`.
 */
ZOLP_API int ZOLP_ask_reviewers_groupmembers(tag job, const char* release_level_name, int* count,
                                             tag** members);

/**
 * Members of the team of a release level that are resource pools; after a failure there are none.
 * @param[in] job the job.
 * @param[in] release_level_name name of the release level.
 * @param[out] count number of members.
 * @param[out] members the members, freed by the caller with `MEM_free`; null for none.
 * @return as `ZOLP_ask_reviewers`.
 */
ZOLP_API int ZOLP_ask_reviewers_resourcepools(tag job, const char* release_level_name, int* count,
                                              tag** members);

/**
 * For handlers: who signs off, and when. In a job without review tasks that is the job's owner, at
 * no date; otherwise the user who runs the handler, with the date of the signoff of the handler's
 * task that was examined last. Signoffs are examined up to the first one that approves.
 * @param[in] msg the handler's message; its task counts.
 * @param[out] user_name caller's buffer of #ORG_name_size + 1 (33) bytes for the user's id. The
 *   owner's id stays in it when that user is not found.
 * @param[out] signoff_date the date; the null date when there is none.
 * @param[out] user the user; 0 when the owner's id belongs to nobody, or when a failure came before
 *   the user was known.
 * @return 0 or the platform's status. After an approving decision also 0 when a later read of this
 *   signoff has failed, which shows in the trace alone.
 */
ZOLP_API int ZOLP_getJobInfo(const FLOW_action_message_s* msg, char* user_name,
                             date_s* signoff_date, tag* user);

/* --------------------------------------------------------------------------- handler targets -- */

/**
 * For handlers: the job of the handler's task and its targets, whose classes are traced.
 * @param[in] msg the handler's message; its task counts.
 * @param[out] job the job.
 * @param[out] target_count number of targets.
 * @param[out] targets the targets, freed by the caller with `MEM_free`; after a failure null, with
 *   the number 0.
 * @return 0, 33030 (#FLOW_target_object_not_attached) when there are no targets, or the platform's
 *   status.
 */
ZOLP_API int ZOLP_getRHTargetObjects(const FLOW_action_message_s* msg, tag* job, int* target_count,
                                     tag** targets);

/**
 * Deletes a job. Its targets stay.
 * @param[in] job the job; one that does not exist is no failure.
 * @return 0 or the platform's status.
 */
ZOLP_API int ZOLP_deleteJob(tag job);

/**
 * Writes a line for each dataset that is attached to a target of a job, for targets that are item
 * revisions: the target's id, the dataset's type and its name, each padded to 25 columns. It does
 * not tell whether one of them is a drawing: the reader does. An attachment whose class cannot be
 * read is passed over.
 * @param[in] job the job.
 * @param[in] report address of the open stream that the lines go to.
 * @return 0 or the platform's status; a failing test of a target's class is also printed to
 *   standard output.
 */
ZOLP_API int ZOLP_HasTargetADrawing(tag job, FILE** report);

/**
 * Puts the targets of a job into a folder, before what is inside. When there is no folder of the
 * name, the first call only makes it, and a second one files the targets.
 * @param[in] job the job.
 * @param[in] folder_name name of the folder; of several the first one found is taken.
 * @param[in] description description of a folder that is made.
 * @return 0; 1 when the name is empty or the targets cannot be put into the folder; or the
 *   platform's status.
 */
ZOLP_API int ZOLP_moveTargetToFolder(tag job, const char* folder_name, const char* description);

/** Longest name of a job, in bytes; a buffer needs one byte more. */
#define ZOLP_JOB_NAME_SIZE 128

/**
 * Gives objects a release status by means of a job that lives no longer than that: its process
 * template has a handler that sets the status.
 * @param[in] object_count number of objects.
 * @param[in] objects the objects, the targets of the job.
 * @param[in,out] job_name name of the job, to which the current time is appended, in seconds, in
 *   the caller's buffer. The buffer needs room for eleven more bytes, or #ZOLP_JOB_NAME_SIZE + 1 in
 *   all if that is less: beyond that nothing is written, and the time loses its end.
 * @param[in] procedure_name name of the process template.
 * @return 0, the platform's status when there is no such template, or 1 when the job could not be
 *   made, was stopped or could not be deleted. A job that was stopped stays.
 */
ZOLP_API int ZOLP_addReleaseStatusWithTmpJob(int object_count, tag* objects, char* job_name,
                                             const char* procedure_name);

#ifdef __cplusplus
}
#endif

#endif
