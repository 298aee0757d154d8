/** @file `zolp job targets`: lists, adds and removes the targets of a job. */
#include <vector>

#include "commands/job.h"
#include "objects.h"
#include "site.h"
#include "text.h"
#include "zolp_orktool.h"

namespace tool {

namespace {

Json targets_of(tag job) {
  Json targets = Json::array();
  for (const tag target : listed("the targets", [job](int*count, tag**found) {
         return ZOLP_ask_target_objects(job, count, found);
       })) {
    targets.push_back({{"id", id_of(target)}, {"class", class_of(target)}});
  }
  return targets;
}

/** Attaches and detaches, all of it or nothing. @return the targets that there are then. */
Json change_targets(tag job, std::vector<tag> added, std::vector<tag> removed) {
  Change change;
  if (!removed.empty()) {
    require_changed(ZOLP_remove_attachments(job, static_cast<int>(removed.size()), removed.data()),
                    "the objects are not detached");
  }
  if (!added.empty()) {
    require_changed(ZOLP_add_target_objects(job, static_cast<int>(added.size()), added.data()),
                    "the objects are not attached");
  }
  Json targets = targets_of(job);
  require_changed(change.keep(), "the targets are not changed");
  return targets;
}

void show_targets(const JobOptions& options) {
  const tag job = find_job(options.job);
  const std::vector<tag> added = find_objects(options.added);
  const std::vector<tag> removed = find_objects(options.removed);
  const bool changes = !added.empty() || !removed.empty();
  const Json targets = changes ? change_targets(job, added, removed) : targets_of(job);
  print(targets, options.json, [](const Json& rows) {
    Table table({"id", "class"});
    for (const Json& row : rows) {
      table.add_row({row["id"], row["class"]});
    }
    table.print();
  });
}

}  // namespace

void add_job_targets(CommandParser& group) {
  const JobCommand targeting =
      add_job_command(group, "targets", "List, add and remove the targets of a job", show_targets);
  add_job_argument(targeting);
  add_ids(targeting, "--add", targeting.options->added, "Target to add; may be repeated");
  add_ids(targeting, "--remove", targeting.options->removed, "Object to detach; may be repeated");
}

}  // namespace tool
