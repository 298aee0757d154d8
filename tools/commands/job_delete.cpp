/** @file `zolp job delete`: deletes a job. */
#include <cstdio>

#include "commands/job.h"
#include "text.h"
#include "zolp_orktool.h"

namespace tool {

namespace {

void remove(const JobOptions& options) {
  const tag job = find_job(options.job);
  const Json deleted = {{"deleted", job_summary(job)}};
  require_changed(ZOLP_deleteJob(job), "job " + options.job + " is not deleted");
  print(deleted, options.json, [](const Json& card) {
    std::puts(printable("deleted " + card["deleted"]["name"].get<std::string>()).c_str());
  });
}

}  // namespace

void add_job_delete(CommandParser& group) {
  add_job_argument(add_job_command(group, "delete", "Delete a job; its targets stay", remove));
}

}  // namespace tool
