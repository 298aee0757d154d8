/**
 * @file
 * The statuses that are the library's own. Every other one that a function returns is a code of the
 * platform's, but for `ORK_ok`, which is success.
 *
 * @code
 * const char* advice(int status) {
 *   return status == ZOLP_dataset_type_not_found ? "Name a dataset type of the site." : "";
 * }
 * @endcode
 */
#ifndef ZOLP_ORKTOOL_STATUSES_H
#define ZOLP_ORKTOOL_STATUSES_H

enum {
  /** A failure that has no code of its own: each function's comment says which ones. */
  ZOLP_failed = 1,
  /** Workflow: memory is exhausted. On the platform's error stack, too. */
  ZOLP_out_of_memory = 2002,
  /** Occurrences: an item without a revision rule, or no item. On the error stack, too. */
  ZOLP_revision_not_determined = 2010,
  /** Workflow: the job has no targets. The platform's `FLOW_target_object_not_attached`. */
  ZOLP_no_targets = 33030,
  /** Workflow: the job has no condition task of the name. */
  ZOLP_no_condition_task = 33080,
  /** Occurrences: there is no revision rule of the name. On the error stack alone. */
  ZOLP_unknown_revision_rule = 710041,
  /** Datasets: the type cannot be looked up. On the error stack, too. */
  ZOLP_dataset_type_not_found = 919246,
  /** Datasets: the type has no default tool, or the tool's formats cannot be read. */
  ZOLP_no_default_tool = 919247,
  /** Datasets: the type's default tool has no output format. On the error stack, too. */
  ZOLP_no_output_format = 919248,
  /** Datasets: the type does not define the named reference. On the error stack, too. */
  ZOLP_no_such_reference = 919249,
  /** Why an object may not be changed: it is checked out. In the trace alone. */
  ZOLP_object_is_checked_out = 919340,
  /** Why an object may not be changed: the user lacks "WRITE". In the trace alone. */
  ZOLP_object_is_not_writable = 919341,
  /** Why an object may not be changed: the platform refuses. In the trace alone. */
  ZOLP_object_is_not_modifiable = 919342,
  /** Forms: there is not exactly one master form, or no relation for them. */
  ZOLP_no_single_master_form = 919999
};

#endif
