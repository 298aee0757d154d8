/** @file `zolp job show` and `zolp job list`: one job, or all of a site. */
#include "commands/job.h"
#include "flow_picture.h"
#include "objects.h"
#include "ork/flow.h"
#include "text.h"

namespace tool {

namespace {

void print_jobs(const Json& jobs) {
  Table table({"number", "name", "template", "owner", "state", "release level", "stopped"});
  for (const Json& job : jobs) {
    const Json& stop = job["stop"];
    const std::string why = stop.is_null()
                                ? ""
                                : stop_text(stop) + ": " + std::to_string(stop["code"].get<int>()) +
                                      " " + stop["text"].get<std::string>();
    table.add_row({job["number"], job["name"], job["template"], job["owner"], job["state"],
                   job["release_level"], why});
  }
  table.print();
}

void show_job(const JobOptions& options) {
  const View one_state;
  const tag job = find_job(options.job);
  if (options.picture.wanted()) {
    const Json json = job_json(job);
    return print_picture(flow_picture(json["name"], json["root"]), options.picture);
  }
  show(job, options);
}

void list(const JobOptions& options) {
  const View one_state;
  Json jobs = Json::array();
  for (const tag job : listed("the jobs", [](int*count, tag**found) {
         return FLOW_find_jobs(nullptr, count, found);
       })) {
    jobs.push_back(job_summary(job));
  }
  print(jobs, options.json, print_jobs);
}

}  // namespace

void add_job_show(CommandParser& group) {
  const JobCommand showing = add_job_command(group, "show", "Print a job as a tree", show_job);
  add_job_argument(showing);
  add_picture_options(showing.parser, showing.options->picture);
  showing.parser.footer(
      "\nPictures are flow charts: what is done, runs or was left out has a colour of its own.\n"
      "Example: zolp job show R-17 --host site.db\n"
      "         zolp job show R-17 --svg > R-17.svg");
}

void add_job_list(CommandParser& group) {
  add_job_command(group, "list", "List the jobs of a site", list);
}

}  // namespace tool
