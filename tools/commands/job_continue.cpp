/** @file `zolp job continue`: runs a job on that a handler has stopped. */
#include "commands/job.h"
#include "ork/flow.h"

namespace tool {

namespace {

void run_on(const JobOptions& options) {
  const tag job = find_job(options.job);
  require_not_stopped(job, FLOW_continue_job(job), options);
  show_what_is_left(job, options);
}

}  // namespace

void add_job_continue(CommandParser& group) {
  const JobCommand continuing =
      add_job_command(group, "continue", "Run a job on that a handler has stopped", run_on);
  add_job_argument(continuing);
  continuing.parser.footer(
      "\nExample: zolp job continue R-17 --handlers ./libcheck.so --host site.db");
}

}  // namespace tool
