#include "flow_engine.h"

#include <algorithm>
#include <array>
#include <set>

#include "change.h"
#include "error_stack.h"
#include "failure.h"
#include "flow_handlers.h"
#include "flow_stops.h"
#include "ork/flow.h"
#include "ork/signoff.h"
#include "os.h"
#include "site.h"
#include "types.h"

namespace host::flow {

namespace {

/** How many jobs may run inside one another, each started by a handler of the one before. */
constexpr std::size_t max_nesting = 16;

bool is_over(int state) {
  return state == FLOW_completed || state == FLOW_skipped;
}

// ----------------------------------------------------------------------------------- creation

class JobMaker {
 public:
  JobMaker(Change& change, tag job) : change_(change), job_(job) {}

  tag make_task(tag task_template, tag parent) {
    Store& objects = store();
    const tag task =
        change_.create("Task", {{"job", job_},
                                {"parent_task", parent},
                                {"state", int{FLOW_pending}},
                                {"object_name", objects.text(task_template, "object_name")},
                                {"task_type", objects.integer(task_template, "task_type")},
                                {"quorum", objects.integer(task_template, "quorum")},
                                {"branch", objects.integer(task_template, "branch")}});
    for (const char* list : {"handler_names", "handler_actions", "handler_arguments"}) {
      objects.set_values(task, list, objects.values(task_template, list));
    }
    make_signoffs(task_template, task, parent);
    Values sub_tasks;
    for (const tag sub_template : references(task_template, "sub_tasks")) {
      sub_tasks.emplace_back(make_task(sub_template, task));
    }
    objects.set_values(task, "sub_tasks", std::move(sub_tasks));
    return task;
  }

 private:
  /** The signoffs of a team are attached to its task and to the review above. */
  void make_signoffs(tag team_template, tag team_task, tag review) {
    Values signoffs;
    for (const tag member : references(team_template, "signoff_members")) {
      signoffs.emplace_back(change_.create("Signoff", {{"signoff_member", member},
                                                       {"review_task", review},
                                                       {"decision", int{SIGNOFF_no_decision}}}));
    }
    if (signoffs.empty()) {
      return;
    }
    store().set_values(team_task, "signoff_attachments", signoffs);
    store().set_values(review, "signoff_attachments", std::move(signoffs));
  }

  Change& change_;
  tag job_;
};

/** Sets the attachments of a new root task. */
void attach(tag root, const std::vector<Attachment>& attachments) {
  std::array<Values, FLOW_release_status_attachment + 1> by_type;
  std::set<std::pair<int, tag>> known;
  for (const Attachment& attachment : attachments) {
    require_attachable(attachment);
    if (!known.emplace(attachment.type, attachment.object).second) {
      refuse(FLOW_already_attached, "object " + std::to_string(attachment.object));
    }
    by_type[static_cast<std::size_t>(attachment.type)].emplace_back(attachment.object);
  }
  for (std::size_t type = 0; type < by_type.size(); ++type) {
    if (!by_type[type].empty()) {
      store().set_values(root, attachment_attribute(static_cast<int>(type)),
                         std::move(by_type[type]));
    }
  }
}

// ------------------------------------------------------------------------------------ running

/** The jobs that run in this process, each inside the one before. */
std::vector<tag>& running_jobs() {
  static std::vector<tag> jobs;
  return jobs;
}

bool is_running(tag job) {
  const std::vector<tag>& jobs = running_jobs();
  return std::find(jobs.begin(), jobs.end(), job) != jobs.end();
}

void require_room_to_run() {
  if (running_jobs().size() >= max_nesting) {
    refuse(FLOW_nested_too_deeply, std::to_string(max_nesting) + " jobs run inside one another");
  }
}

/** Keeps a job from being run twice at once, by this process or by another one. */
class JobLock {
 public:
  explicit JobLock(tag job) : job_(job), taken_(!store().is_locked(job)) { store().lock(job); }
  ~JobLock() {
    // A handler may have deleted the job, or ended the session, by now.
    guarded_silently([this] {
      if (taken_ && open_site() != nullptr && store().exists(job_) && store().is_locked(job_)) {
        store().refresh(job_, false);
      }
    });
  }
  JobLock(const JobLock&) = delete;
  JobLock& operator=(const JobLock&) = delete;

 private:
  template <typename Action>
  static void guarded_silently(const Action& action) noexcept {
    try {
      action();
    } catch (const std::exception&) {
      // The lock ends with the process or the site at the latest.
    }
  }

  tag job_;
  bool taken_;
};

class JobRun {
 public:
  explicit JobRun(tag job) : job_(job), lock_(job) { running_jobs().push_back(job); }
  ~JobRun() { running_jobs().pop_back(); }
  JobRun(const JobRun&) = delete;
  JobRun& operator=(const JobRun&) = delete;

  void go() { advance(root_task_of(job_)); }

 private:
  enum class Progress { over, waiting, deleted };

  Progress advance(tag task) {
    store().bring_up_to_date(task);
    if (is_over(store().integer(task, "state"))) {
      return Progress::over;
    }
    if (store().integer(task, "state") == FLOW_pending) {
      if (!call_handlers(task, FLOW_start_action, FLOW_started)) {
        return Progress::deleted;
      }
      take_state({task}, FLOW_started);
    }
    if (is_held_back_by_result(task)) {
      return Progress::waiting;
    }
    const Progress progress = advance_sub_tasks(task);
    if (progress != Progress::over) {
      return progress;
    }
    if (is_held_back_by_signoffs(task)) {
      return Progress::waiting;
    }
    if (!call_handlers(task, FLOW_complete_action, FLOW_completed)) {
      return Progress::deleted;
    }
    take_state({task}, FLOW_completed);
    return Progress::over;
  }

  Progress advance_sub_tasks(tag task) {
    const bool is_condition = store().integer(task, "task_type") == eFLOWConditionTask;
    const int result = store().integer(task, "condition_result");
    for (const tag sub_task : references(task, "sub_tasks")) {
      if (is_condition && store().integer(sub_task, "branch") != result) {
        skip(sub_task);
        continue;
      }
      const Progress progress = advance(sub_task);
      if (progress != Progress::over) {
        return progress;
      }
    }
    return Progress::over;
  }

  void skip(tag task) {
    store().bring_up_to_date(task);
    if (!is_over(store().integer(task, "state"))) {
      take_state(tasks_from(task), FLOW_skipped);
    }
  }

  bool is_held_back_by_result(tag task) const {
    return store().integer(task, "task_type") == eFLOWConditionTask &&
           store().integer(task, "condition_result") == FLOW_condition_unset;
  }

  bool is_held_back_by_signoffs(tag task) const {
    if (store().integer(task, "task_type") != eFLOWReviewTask) {
      return false;
    }
    const std::vector<tag> signoffs = references(task, "signoff_attachments");
    const auto approvals = std::count_if(signoffs.begin(), signoffs.end(), [](tag signoff) {
      store().bring_up_to_date(signoff);
      return store().integer(signoff, "decision") == SIGNOFF_approve;
    });
    const int quorum = store().integer(task, "quorum");
    const auto needed = quorum != 0 ? quorum : static_cast<std::ptrdiff_t>(signoffs.size());
    return approvals < needed;
  }

  void take_state(const std::vector<tag>& tasks, int state) {
    store().lock(job_);  // a handler may have given it back
    Change change(store());
    for (const tag task : tasks) {
      change.set(task, "state", state);
    }
    forget_stop(change, job_);
    change.commit();
  }

  /** False when a handler has deleted the job. */
  bool call_handlers(tag task, int action, int proposed_state) {
    // Copies: a handler may unload or refresh the task.
    const Values names = store().values(task, "handler_names");
    const Values actions = store().values(task, "handler_actions");
    const Values arguments = store().values(task, "handler_arguments");
    for (std::size_t i = 0; i < names.size(); ++i) {
      if (std::get<int>(actions[i]) != action) {
        continue;
      }
      const std::string& text = std::get<std::string>(arguments[i]);
      call_or_stop(std::get<std::string>(names[i]), {task, action, proposed_state, text.c_str()});
      session();  // refuses to go on without one
      if (!store().exists(job_)) {
        return false;
      }
    }
    return true;
  }

  /** Calls a handler; when it fails, the job remembers that. */
  static void call_or_stop(const std::string& name, const FLOW_action_message_s& message) {
    const ErrorEntry* const newest = errors().empty() ? nullptr : &errors().back();
    try {
      call_handler(name, message);
    } catch (const Failure& failure) {
      try {
        record_stop({message.task, name, message.action, failure.status(),
                     stop_text(name, failure, newest)});
      } catch (const std::exception&) {
        // The job, the session or the site is gone, or cannot be written: the failure tells more.
      }
      throw;
    }
  }

  /** What the handler itself has said of its failure goes before what is said of it. */
  static std::string stop_text(const std::string& handler, const Failure& failure,
                               const ErrorEntry* newest_before) {
    for (auto entry = errors().rbegin(); entry != errors().rend() && &*entry != newest_before;
         ++entry) {
      if (entry->code == failure.status()) {
        return entry->text;
      }
    }
    const bool tells_only_where = failure.detail().starts_with("handler " + handler + " on task ");
    return text_with_detail(failure.status(), tells_only_where ? "" : failure.detail());
  }

  tag job_;
  JobLock lock_;
};

// ------------------------------------------------------------------------------------ signoffs

bool is_whose_decision(tag member, tag user) {
  Store& objects = store();
  if (objects.is_a(member, "GroupMember")) {
    return objects.reference(member, "member_user") == user;
  }
  Store::Criteria membership = {{"member_user", user}};
  for (const auto& [in_pool, in_member] :
       {std::pair{"pool_group", "member_group"}, std::pair{"pool_role", "member_role"}}) {
    const tag wanted = objects.reference(member, in_pool);
    if (wanted != NULLTAG) {
      membership.emplace_back(in_member, wanted);
    }
  }
  return objects.find_one("GroupMember", membership) != NULLTAG;
}

bool is_decision(int decision) {
  return decision == SIGNOFF_no_decision || decision == SIGNOFF_reject ||
         decision == SIGNOFF_approve;
}

/** The signoffs of the reviews among tasks. */
std::vector<tag> signoffs_among(const std::vector<tag>& tasks) {
  std::vector<tag> signoffs;
  for (const tag task : tasks) {
    if (store().integer(task, "task_type") != eFLOWReviewTask) {
      continue;
    }
    const std::vector<tag> of_review = store().find("Signoff", {{"review_task", task}});
    signoffs.insert(signoffs.end(), of_review.begin(), of_review.end());
  }
  return signoffs;
}

}  // namespace

tag create_job(const std::string& name, const std::string& description, tag process_template,
               const std::vector<Attachment>& attachments) {
  require_room_to_run();
  Change change(store());
  const tag job = change.adopt(make_workspace_object(
      type_of_class("Job", "Job"), name,
      {{"object_desc", description}, {"process_template", process_template}}));
  const tag root_template = store().required_reference(process_template, "root_template");
  tasks_from(root_template);  // refuses a damaged one
  const tag root = JobMaker(change, job).make_task(root_template, NULLTAG);
  attach(root, attachments);
  store().set(job, "root_task", root);
  change.commit();
  return job;
}

void continue_job(tag job) {
  if (is_running(job)) {
    return;  // it goes on when the handler has returned
  }
  if (store().database().holds_changes()) {
    site().held_back_jobs.push_back(job);
    return;
  }
  require_room_to_run();
  JobRun(job).go();
}

void run_held_back_jobs() {
  const std::vector<tag> jobs = std::exchange(site().held_back_jobs, {});
  for (const tag job : jobs) {
    continue_job(job);
  }
}

void continue_after_save(tag object) {
  Store& objects = store();
  if (objects.is_a(object, "Task") && objects.integer(object, "state") == FLOW_started &&
      objects.integer(object, "task_type") == eFLOWConditionTask) {
    continue_job(objects.required_reference(object, "job"));
  }
}

void decide(tag signoff, int decision, const std::string& comments) {
  require_signoff(signoff);
  if (!is_decision(decision)) {
    refuse(SIGNOFF_unknown_decision, std::to_string(decision));
  }
  const tag review = store().required_reference(signoff, "review_task");
  const tag job = store().required_reference(review, "job");
  const tag user = session().user;
  const JobLock lock(job);
  store().bring_up_to_date(review);
  if (!is_whose_decision(store().reference(signoff, "signoff_member"), user)) {
    refuse(SIGNOFF_not_the_member,
           "user " + session().user_id + ", review " + store().text(review, "object_name"));
  }
  if (store().integer(review, "state") != FLOW_started) {
    refuse(SIGNOFF_not_in_progress, store().text(review, "object_name"));
  }
  {
    const bool is_decided = decision != SIGNOFF_no_decision;
    Change change(store());
    change.set(signoff, "decision", decision);
    change.set(signoff, "comments", comments);
    change.set(signoff, "decision_date", is_decided ? os::local_time() : date_s{});
    change.set(signoff, "decision_user", is_decided ? user : NULLTAG);
    change.commit();
  }
  continue_job(job);
}

void delete_job(tag job) {
  std::vector<tag> parts = tasks_from(root_task_of(job));
  const std::vector<tag> signoffs = signoffs_among(parts);
  parts.insert(parts.end(), signoffs.begin(), signoffs.end());
  store().remove(job, parts);
}

void refresh_job(tag job) {
  store().refresh(job, false);
  // The tree of tasks is what it was when the job was made.
  const std::vector<tag> tasks = tasks_from(root_task_of(job));
  std::vector<tag> parts = signoffs_among(tasks);
  parts.insert(parts.end(), tasks.begin(), tasks.end());
  for (const tag part : parts) {
    store().refresh(part, false);
  }
}

}  // namespace host::flow
