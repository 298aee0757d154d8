/** @file `zolp job refresh`: brings a job up to date. */
#include "commands/job.h"
#include "zolp_orktool.h"

namespace tool {

namespace {

void refresh(const JobOptions& options) {
  const tag job = find_job(options.job);
  const int status = ZOLP_refresh_entire_job(job);
  require_run(job, status, "job " + options.job + " is not up to date");
  show(job, options);
}

}  // namespace

void add_job_refresh(CommandParser& group) {
  add_job_argument(add_job_command(group, "refresh",
                                   "Bring a job and all that hangs on it up to date", refresh));
}

}  // namespace tool
