/** @file `zolp job result`: sets the result of a condition task. */
#include <charconv>
#include <string>

#include "commands/job.h"
#include "error.h"
#include "objects.h"
#include "ork/flow.h"
#include "site.h"
#include "zolp_orktool.h"

namespace tool {

namespace {

int result_code(const std::string& text) {
  if (text == "true" || text == "false") {
    return text == "true" ? FLOW_condition_true : FLOW_condition_false;
  }
  int number = 0;
  const auto parsed = std::from_chars(text.data(), text.data() + text.size(), number);
  if (parsed.ec != std::errc() || parsed.ptr != text.data() + text.size()) {
    throw usage_error("the result " + text + " is no result", "give true, false or a number");
  }
  return number;
}

void set_result(const JobOptions& options) {
  const int result = result_code(options.result);
  const tag job = find_job(options.job);
  tag task = NULLTAG;
  require(ZOLP_get_condition_task_by_name(job, options.task.c_str(), &task), "the task");
  if (task == NULLTAG) {
    throw Error("the job has no condition task " + options.task,
                "see its tasks with \"zolp job show\"");
  }
  const std::string problem = "the result of " + options.task + " is not taken";
  Change change;
  require_changed(ZOLP_set_condition_task_result(task, result), problem);
  require_run(job, change.keep(), problem + ", or stopped the job");  // the job goes on
  show_what_is_left(job, options);
}

}  // namespace

void add_job_result(CommandParser& group) {
  const JobCommand deciding =
      add_job_command(group, "result", "Set the result of a condition task", set_result);
  add_job_argument(deciding);
  add_text(deciding, "TASK", deciding.options->task, "Name of the condition task").required();
  add_text(deciding, "RESULT", deciding.options->result, "true, false or a number").required();
  deciding.parser.footer("\nExample: zolp job result R-17 'Large?' true --host site.db");
}

}  // namespace tool
