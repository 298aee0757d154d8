/*
 * A library of one workflow handler, "examine-targets". It looks at the targets of its job,
 * attaches a report to each item revision among them, and decides a condition task of the process:
 * true when all of these revisions have a release status already.
 *
 * Arguments:
 *   condition=NAME   name of the condition task; none is decided when it is left out
 *   report=PATH      where the report is written before it is imported (examination.txt)
 *
 * Try it with: zolp handler run LIBRARY --job JOB --argument 'condition=Tested before?'
 */
#include <stdio.h>
#include <string.h>

#include "ork/flow.h"
#include "ork/mem.h"
#include "ork/wso.h"
#include "zolp_call_frame.h"
#include "zolp_orktool.h"

enum { argument_size = 256, text_size = 512 };

/* Copies the value of an argument "name=value"; leaves the buffer alone when there is none. */
static void read_argument(const char* arguments, const char* name, char* value) {
  const size_t length = strlen(name);
  const char* line = arguments;
  while (line != NULL && *line != '\0') {
    if (strncmp(line, name, length) == 0 && line[length] == '=') {
      snprintf(value, argument_size, "%.*s", (int)strcspn(line + length + 1, "\n"),
               line + length + 1);
      return;
    }
    line = strchr(line, '\n');
    line = line != NULL ? line + 1 : NULL;
  }
}

/* The names of an object's release statuses, with ", " between, and their number. */
static int list_statuses(tag object, int* count, char* text) {
  char** names = NULL;
  size_t used = 0;
  int i = 0;
  const int status = ZOLP_ask_status_names(object, count, &names);
  text[0] = '\0';
  for (i = 0; status == ORK_ok && i < *count; ++i) {
    if (used < text_size) {
      used += (size_t)snprintf(text + used, text_size - used, "%s%s", i > 0 ? ", " : "", names[i]);
    }
    MEM_free(names[i]);
  }
  MEM_free(names);
  return status;
}

static int write_report(const char* path, tag revision, const char* statuses) {
  char* id = NULL;
  FILE* report = NULL;
  ZOLP_ENTER("write_report");
  ZOLP_GUARDED(WSO_get_object_id_string(revision, &id));
  report = fopen(path, "w");
  if (report == NULL) {
    MEM_free(id);
    return ZOLP_LEAVE(ORK_invalid_argument);
  }
  fprintf(report, "Examination of %s\n\nRelease statuses: %s\n", id,
          statuses[0] != '\0' ? statuses : "none");
  MEM_free(id);
  return ZOLP_LEAVE(fclose(report) == 0 ? ORK_ok : ORK_invalid_argument);
}

static int attach_report(tag revision, const char* report) {
  tag dataset = NULLTAG;
  ZOLP_ENTER("attach_report");
  /* It gives back the lock on the file, which ZOLP_fct_import_text_dataset keeps. */
  ZOLP_GUARDED(ZOLP_importTextDataset(NULL, "Examination report", report, &dataset));
  ZOLP_GUARDED(ZOLP_createRelation(revision, dataset, "VELO_reference"));
  return ZOLP_LEAVE(ORK_ok);
}

/* Examines one target; takes back *all_released when it has no release status. */
static int examine(tag target, const char* report, logical* all_released) {
  char statuses[text_size];
  int count = 0;
  logical is_revision = 0;
  int status = ZOLP_isObjectOfClass(target, "ItemRevision", &is_revision);
  if (status != ORK_ok || !is_revision) {
    return status;
  }
  status = list_statuses(target, &count, statuses);
  if (status != ORK_ok) {
    return status;
  }
  if (count == 0) {
    *all_released = 0;
  }
  status = write_report(report, target, statuses);
  if (status == ORK_ok) {
    status = attach_report(target, report);
  }
  remove(report);
  return status;
}

static int examine_targets(const FLOW_action_message_s* message) {
  char condition[argument_size] = "";
  char report[argument_size] = "examination.txt";
  tag job = NULLTAG;
  int count = 0;
  tag* targets = NULL;
  logical all_released = 1;
  int i = 0;
  int status = ORK_ok;
  ZOLP_ENTER("examine_targets");
  status = ZOLP_getRHTargetObjects(message, &job, &count, &targets);
  if (status != ORK_ok) {
    return ZOLP_LEAVE(status);
  }
  read_argument(message->arguments, "condition", condition);
  read_argument(message->arguments, "report", report);
  for (i = 0; i < count && status == ORK_ok; ++i) {
    status = examine(targets[i], report, &all_released);
  }
  MEM_free(targets);
  if (status == ORK_ok && condition[0] != '\0') {
    status = ZOLP_set_named_condition_task_result(
        job, condition, all_released ? FLOW_condition_true : FLOW_condition_false);
  }
  return ZOLP_LEAVE(status);
}

/* Called by the host when it loads this library. */
#if defined(_WIN32)
__declspec(dllexport)
#elif defined(__GNUC__)
__attribute__((visibility("default")))
#endif
    int ORK_register_handlers(void);

int ORK_register_handlers(void) {
  return FLOW_register_handler("examine-targets", examine_targets);
}
