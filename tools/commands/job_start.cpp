/** @file `zolp job start`: starts a job after a process template. */
#include <string>
#include <vector>

#include "commands/job.h"
#include "error.h"
#include "objects.h"
#include "ork/flow.h"
#include "ork/store.h"
#include "site.h"

namespace tool {

namespace {

tag find_template(const std::string& name) {
  tag found = NULLTAG;
  require(FLOW_find_process_template(name.c_str(), &found), "process template " + name,
          {FLOW_unknown_process_template});
  if (found == NULLTAG) {
    throw Error("there is no process template " + name,
                "see \"zolp host show FILE process_templates\" for what there is");
  }
  return found;
}

void require_no_more_jobs(const std::string& name, std::size_t limit) {
  const std::vector<tag> jobs = listed("the jobs", [&name](int* count, tag** found) {
    return FLOW_find_jobs(name.c_str(), count, found);
  });
  if (jobs.size() > limit) {
    throw Error("there is a job " + name + " already", "take another name");
  }
}

/** Also when that cannot be found out: it was made. */
bool exists(tag job) {
  logical found = 0;
  const int status = STORE_instance_exists(job, &found);
  forget_failure(status);
  return status != ORK_ok || found != 0;
}

void start(const JobOptions& options) {
  const tag process = find_template(options.process_template);
  require_no_more_jobs(options.job, 0);
  std::vector<tag> objects = find_objects(options.targets);
  std::vector<int> types(objects.size(), FLOW_target_attachment);
  const std::vector<tag> references = find_objects(options.references);
  objects.insert(objects.end(), references.begin(), references.end());
  types.resize(objects.size(), FLOW_reference_attachment);
  const std::string problem = "job " + options.job + " is not made";
  tag job = NULLTAG;
  Change changes;
  require_changed(
      FLOW_create_process(options.job.c_str(), options.description.c_str(), process,
                          static_cast<int>(objects.size()), objects.data(), types.data(), &job),
      problem);
  require_no_more_jobs(options.job, 1);  // again: others that start one wait by now
  const int status = changes.keep();     // the job runs
  if (status != ORK_ok && !exists(job)) {
    require_changed(status, problem);
  }
  require_not_stopped(job, status, options);
  show_what_is_left(job, options);
}

}  // namespace

void add_job_start(CommandParser& group) {
  const JobCommand starting =
      add_job_command(group, "start", "Start a job after a process template", start);
  add_text(starting, "TEMPLATE", starting.options->process_template, "Name of the process template")
      .required();
  add_text(starting, "--name", starting.options->job, "Name of the job").required();
  add_text(starting, "--description", starting.options->description, "Description of the job");
  add_ids(starting, "--target", starting.options->targets, "Target; may be repeated");
  add_ids(starting, "--reference", starting.options->references, "Reference; may be repeated");
  starting.parser.footer(
      "\nExample: zolp job start Release --name R-17 --target GB-1000/C --host site.db");
}

}  // namespace tool
