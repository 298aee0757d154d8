/** @file `zolp job`: starts, shows and steers workflow jobs. */
#include <algorithm>
#include <charconv>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "commands.h"
#include "error.h"
#include "jobs.h"
#include "login.h"
#include "objects.h"
#include "ork/err.h"
#include "ork/flow.h"
#include "ork/org.h"
#include "ork/signoff.h"
#include "ork/store.h"
#include "text.h"
#include "zolp_orktool.h"

namespace tool {

namespace {

struct JobOptions {
  std::string job, process_template, description, task, decision, comment, result;
  std::vector<std::string> targets, references, added, removed, handlers;
  bool json = false;
  LoginOptions login;
};

/** Runs an operation that is to change a job. */
void change(int status, const std::string& what) {
  if (status != ORK_ok) {
    throw Error(what + " (" + platform_error_text(status) + ")",
                "see what the job is at with \"zolp job show\"");
  }
}

void print(const Json& json, bool as_json, void (*print_text)(const Json&)) {
  if (as_json) {
    print_json(json);
  } else {
    print_text(json);
  }
}

void show(tag job, const JobOptions& options) {
  print(job_json(job), options.json, print_job);
}

std::vector<tag> find_objects(const std::vector<std::string>& ids) {
  std::vector<tag> objects;
  std::transform(ids.begin(), ids.end(), std::back_inserter(objects), find_object);
  return objects;
}

// ----------------------------------------------------------------------------- start and list

tag find_template(const std::string& name) {
  tag found = NULLTAG;
  if (FLOW_find_process_template(name.c_str(), &found) != ORK_ok) {
    throw Error("there is no process template " + name,
                "see \"zolp host show FILE process_templates\" for what there is");
  }
  return found;
}

bool has_job(const std::string& name) {
  return !listed("the jobs", [&name](int* count, tag** jobs) {
            return FLOW_find_jobs(name.c_str(), count, jobs);
          }).empty();
}

void require_not_stopped(int status, const JobOptions& options) {
  if (status != ORK_ok) {
    throw Error("job " + options.job + " was stopped (" + platform_error_text(status) + ")",
                "mend the cause and run it on with \"zolp job continue\"");
  }
}

/** A handler may have deleted the job that it ran in. */
void show_what_is_left(tag job, const JobOptions& options) {
  logical exists = 0;
  require(STORE_instance_exists(job, &exists), "the job");
  if (exists != 0) {
    show(job, options);
  } else if (options.json) {
    print_json(nullptr);
  } else {
    std::puts(printable("a handler has deleted job " + options.job).c_str());
  }
}

void start(const JobOptions& options) {
  const tag process = find_template(options.process_template);
  if (has_job(options.job)) {
    throw Error("there is a job " + options.job + " already", "take another name");
  }
  std::vector<tag> objects = find_objects(options.targets);
  std::vector<int> types(objects.size(), FLOW_target_attachment);
  const std::vector<tag> references = find_objects(options.references);
  objects.insert(objects.end(), references.begin(), references.end());
  types.resize(objects.size(), FLOW_reference_attachment);
  tag job = NULLTAG;
  const int status =
      FLOW_create_process(options.job.c_str(), options.description.c_str(), process,
                          static_cast<int>(objects.size()), objects.data(), types.data(), &job);
  if (job == NULLTAG) {
    change(status, "job " + options.job + " is not made");
  }
  require_not_stopped(status, options);
  show_what_is_left(job, options);
}

void print_jobs(const Json& jobs) {
  Table table({"number", "name", "template", "owner", "state", "release level"});
  for (const Json& job : jobs) {
    table.add_row({job["number"], job["name"], job["template"], job["owner"], job["state"],
                   job["release_level"]});
  }
  table.print();
}

void list(const JobOptions& options) {
  Json jobs = Json::array();
  for (const tag job : listed("the jobs", [](int*count, tag**found) {
         return FLOW_find_jobs(nullptr, count, found);
       })) {
    jobs.push_back(job_summary(job));
  }
  print(jobs, options.json, print_jobs);
}

// ------------------------------------------------------------------------------------ signoff

int decision_code(const std::string& text) {
  return text == "approve"  ? SIGNOFF_approve
         : text == "reject" ? SIGNOFF_reject
                            : SIGNOFF_no_decision;
}

tag release_level(tag job, const JobOptions& options) {
  tag level = NULLTAG;
  std::vector<char> name(STORE_max_string_length + 1);  // shown in other words, maybe
  if (options.task.empty()) {
    require(ZOLP_ask_current_release_level(job, &level, name.data()), "the release level");
  } else {
    require(ZOLP_find_release_level(job, options.task.c_str(), &level), "the release level");
  }
  if (level == NULLTAG) {
    throw Error("job " + options.job + " has no review " +
                    (options.task.empty() ? "that waits" : options.task),
                "see its tasks with \"zolp job show\"");
  }
  return level;
}

tag session_user() {
  tag user = NULLTAG;
  handed_out([&user](char** name) { require(STORE_get_user(name, &user), "the session's user"); });
  return user;
}

/** How well a signoff suits a user, the best first: the user's own, then undecided ones of pools.
 */
int rank_of(tag signoff, tag user) {
  tag member = NULLTAG;
  tag member_user = NULLTAG;
  tag decided_by = NULLTAG;
  SIGNOFF_get_signoff_groupmember(signoff, &member);
  SIGNOFF_get_signoff_user(signoff, &decided_by);
  if (member != NULLTAG) {
    ORG_get_groupmember_user(member, &member_user);
    return member_user == user ? 0 : 4;
  }
  return decided_by == user ? 1 : decided_by == NULLTAG ? 2 : 3;
}

void sign_off(const JobOptions& options) {
  const tag job = find_job(options.job);
  const tag level = release_level(job, options);
  const std::string name_of_level = task_name(level);
  const tag user = session_user();
  std::vector<tag> signoffs = listed("the signoffs", [level](int* count, tag** found) {
    return FLOW_get_attachments(level, FLOW_signoff_attachment, count, found);
  });
  std::stable_sort(signoffs.begin(), signoffs.end(), [user](tag left, tag right) {
    return rank_of(left, user) < rank_of(right, user);
  });
  int status = SIGNOFF_not_the_member;
  for (const tag signoff : signoffs) {
    status = SIGNOFF_set_signoff_decision(signoff, decision_code(options.decision),
                                          options.comment.c_str());
    if (status != SIGNOFF_not_the_member) {
      break;
    }
  }
  if (status == SIGNOFF_not_the_member) {
    throw Error("review " + name_of_level + " has no signoff for this user",
                "log in as one of its members");
  }
  change(status, "the decision on " + name_of_level + " is not taken, or stopped the job");
  show_what_is_left(job, options);
}

// ------------------------------------------------------------------------------ other changes

void run_on(const JobOptions& options) {
  const tag job = find_job(options.job);
  require_not_stopped(FLOW_continue_job(job), options);
  show_what_is_left(job, options);
}

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

/** The most recent entry of the error stack; #ORK_ok when it is empty. */
int last_error() {
  int count = 0;
  const int* severities = nullptr;
  const int* codes = nullptr;
  const char** texts = nullptr;
  ERR_get_errors(&count, &severities, &codes, &texts);
  return count > 0 ? codes[count - 1] : ORK_ok;
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
  // The platform has the reason of a result that is not taken; the status does not tell.
  ERR_clear_errors();
  change(ZOLP_set_condition_task_result(task, result), "the result is not set");
  change(last_error(), "the result of " + options.task + " is not taken, or stopped the job");
  show_what_is_left(job, options);
}

void remove(const JobOptions& options) {
  change(ZOLP_deleteJob(find_job(options.job)), "job " + options.job + " is not deleted");
  std::puts(printable("deleted " + options.job).c_str());
}

void change_targets(const JobOptions& options) {
  const tag job = find_job(options.job);
  std::vector<tag> added = find_objects(options.added);
  std::vector<tag> removed = find_objects(options.removed);
  if (!removed.empty()) {
    change(ZOLP_remove_attachments(job, static_cast<int>(removed.size()), removed.data()),
           "the objects are not detached");
  }
  if (!added.empty()) {
    change(ZOLP_add_target_objects(job, static_cast<int>(added.size()), added.data()),
           "the objects are not attached");
  }
  Json targets = Json::array();
  for (const tag target : listed("the targets", [job](int*count, tag**found) {
         return ZOLP_ask_target_objects(job, count, found);
       })) {
    targets.push_back({{"id", id_of(target)}, {"class", class_of(target)}});
  }
  print(targets, options.json, [](const Json& rows) {
    Table table({"id", "class"});
    for (const Json& row : rows) {
      table.add_row({row["id"], row["class"]});
    }
    table.print();
  });
}

void refresh(const JobOptions& options) {
  const tag job = find_job(options.job);
  change(ZOLP_refresh_entire_job(job), "job " + options.job + " is not up to date");
  show(job, options);
}

// ------------------------------------------------------------------------------------ options

struct JobCommand {
  CLI::App* app;
  std::shared_ptr<JobOptions> options;
};

/** Adds a subcommand that does something in a session on a site. */
JobCommand add(CLI::App& group, const char* name, const char* description,
               void (*action)(const JobOptions&)) {
  CLI::App* const command = group.add_subcommand(name, description);
  const auto options = std::make_shared<JobOptions>();
  command
      ->add_option("--handlers", options->handlers,
                   "Library of workflow handlers to load; may be repeated")
      ->type_name("LIBRARY")
      ->take_all();
  work_in_session(*command, options, [action](const JobOptions& given) {
    for (const std::string& library : given.handlers) {
      load_handlers(library);
    }
    action(given);
  });
  return {command, options};
}

void add_job_argument(const JobCommand& command) {
  command.app->add_option("JOB", command.options->job, "Name of the job, or # and its number")
      ->required()
      ->type_name("");
}

CLI::Option* add_text(const JobCommand& command, const char* name, std::string& text,
                      const char* description) {
  return command.app->add_option(name, text, description)->type_name(name[0] == '-' ? "TEXT" : "");
}

void add_ids(const JobCommand& command, const char* name, std::vector<std::string>& ids,
             const char* description) {
  command.app->add_option(name, ids, description)->type_name("ID[/REV]")->take_all();
}

}  // namespace

void add_job_commands(CLI::App& program) {
  CLI::App& group = *program.add_subcommand("job", "Start, show and steer workflow jobs");
  group.require_subcommand(1);

  const JobCommand starting = add(group, "start", "Start a job after a process template", start);
  add_text(starting, "TEMPLATE", starting.options->process_template, "Name of the process template")
      ->required();
  add_text(starting, "--name", starting.options->job, "Name of the job")->required();
  add_text(starting, "--description", starting.options->description, "Description of the job");
  add_ids(starting, "--target", starting.options->targets, "Target; may be repeated");
  add_ids(starting, "--reference", starting.options->references, "Reference; may be repeated");
  starting.app->footer(
      "\nExample: zolp job start Release --name R-17 --target GB-1000/C --host site.db");

  add(group, "list", "List the jobs of a site", list);

  const JobCommand showing = add(group, "show", "Print a job as a tree",
                                 [](const JobOptions& o) { show(find_job(o.job), o); });
  add_job_argument(showing);
  showing.app->footer("\nExample: zolp job show R-17 --host site.db");

  const JobCommand signing =
      add(group, "signoff", "Decide on a review, as the session's user", sign_off);
  add_job_argument(signing);
  add_text(signing, "--decision", signing.options->decision, "approve, reject or none")
      ->required()
      ->check(CLI::IsMember({"approve", "reject", "none"}));
  add_text(signing, "--comment", signing.options->comment, "Comment");
  add_text(signing, "--review", signing.options->task, "Review; the current one when left out");
  signing.app->footer(
      "\nExample: zolp job signoff R-17 --decision approve -u=alice -p=secret -g=engineering");

  const JobCommand deciding =
      add(group, "result", "Set the result of a condition task", set_result);
  add_job_argument(deciding);
  add_text(deciding, "TASK", deciding.options->task, "Name of the condition task")->required();
  add_text(deciding, "RESULT", deciding.options->result, "true, false or a number")->required();
  deciding.app->footer("\nExample: zolp job result R-17 'Large?' true --host site.db");

  add_job_argument(add(group, "continue", "Run a job on that a handler has stopped", run_on));

  const JobCommand targeting =
      add(group, "targets", "List, add and remove the targets of a job", change_targets);
  add_job_argument(targeting);
  add_ids(targeting, "--add", targeting.options->added, "Target to add; may be repeated");
  add_ids(targeting, "--remove", targeting.options->removed, "Object to detach; may be repeated");

  add_job_argument(
      add(group, "refresh", "Bring a job and all that hangs on it up to date", refresh));
  add_job_argument(add(group, "delete", "Delete a job; its targets stay", remove));
}

}  // namespace tool
