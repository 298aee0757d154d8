#include "jobs.h"

#include <array>
#include <charconv>
#include <cstdio>

#include "error.h"
#include "objects.h"
#include "ork/flow.h"
#include "ork/obj.h"
#include "ork/org.h"
#include "ork/signoff.h"
#include "ork/store.h"
#include "ork/wso.h"
#include "zolp_orktool.h"

namespace tool {

namespace {

struct AttachmentType {
  int type;
  const char* member; /**< of the JSON */
  const char* heading;
};

constexpr AttachmentType attachment_types[] = {
    {FLOW_target_attachment, "targets", "target"},
    {FLOW_reference_attachment, "references", "reference"},
    {FLOW_release_status_attachment, "statuses", "status"}};

/** Of a job, and of the task that it is at, when a handler has failed there. */
constexpr const char* stopped_state = "Stopped";

std::string state_name(tag task) {
  int state = 0;
  std::array<char, FLOW_state_name_size + 1> name{};
  require(FLOW_get_state(task, &state), "the state of a task");
  require(FLOW_get_state_string(state, name.data()), "the state of a task");
  return name.data();
}

int task_type(tag task) {
  int type = 0;
  require(FLOW_get_task_type(task, &type), "the type of a task");
  return type;
}

const char* type_text(int type) {
  switch (type) {
    case eFLOWReviewTask:
      return "review";
    case eFLOWRootTask:
      return "root";
    case eFLOWSelectSignoffTask:
      return "team";
    case eFLOWConditionTask:
      return "condition";
    default:
      return "task";
  }
}

std::vector<tag> attachments(tag task, int type) {
  return listed("the attachments", [task, type](int* count, tag** objects) {
    return FLOW_get_attachments(task, type, count, objects);
  });
}

std::vector<tag> sub_tasks(tag task) {
  return listed("the sub-tasks",
                [task](int* count, tag** tasks) { return FLOW_get_sub_tasks(task, count, tasks); });
}

std::vector<tag> all_tasks(tag job) {
  return listed("the tasks", [job](int* count, tag** tasks) {
    return FLOW_get_type_tasks(job, eFLOWAnyTask, count, tasks);
  });
}

tag root_task(tag job) {
  tag root = NULLTAG;
  require(FLOW_get_root_task(job, &root), "the job");
  return root;
}

// ------------------------------------------------------------------------------------ signoffs

using Name = std::array<char, ORG_name_size + 1>;

std::string user_id(tag user) {
  Name name{};
  if (user != NULLTAG) {
    require(ORG_get_user_identifier(user, name.data()), "the id of a user");
  }
  return name.data();
}

/** "*" for none, which stands for any. */
std::string group_and_role(tag group, tag role) {
  Name group_name{'*'};
  Name role_name{'*'};
  if (group != NULLTAG) {
    require(ORG_get_group_name(group, group_name.data()), "the name of a group");
  }
  if (role != NULLTAG) {
    require(ORG_get_role_name(role, role_name.data()), "the name of a role");
  }
  return std::string(group_name.data()) + "/" + role_name.data();
}

/** The user with group and role, or whom a pool stands for. */
std::string member_text(tag signoff) {
  tag member = NULLTAG;
  tag group = NULLTAG;
  tag role = NULLTAG;
  int type = 0;
  require(FLOW_get_signoff_member(signoff, &member, &type), "a signoff");
  if (type == SIGNOFF_resource_pool) {
    logical allow_subgroup = 0;
    require(FLOW_get_resource_pool_group_role(member, &group, &role, &allow_subgroup),
            "a resource pool");
    return "anybody of " + group_and_role(group, role);
  }
  tag user = NULLTAG;
  require(ORG_get_groupmember_user(member, &user), "a member");
  require(ORG_get_groupmember_group(member, &group), "a member");
  require(ORG_get_groupmember_role(member, &role), "a member");
  return user_id(user) + " (" + group_and_role(group, role) + ")";
}

Json signoff_json(tag signoff) {
  int decision = 0;
  std::array<char, SIGNOFF_comment_size + 1> comments{};
  date_s date{};
  tag user = NULLTAG;
  require(SIGNOFF_get_signoff_decision(signoff, &decision, comments.data(), &date), "a signoff");
  require(SIGNOFF_get_signoff_user(signoff, &user), "a signoff");
  const char* const text = decision == SIGNOFF_approve  ? "approve"
                           : decision == SIGNOFF_reject ? "reject"
                                                        : "none";
  return {{"member", member_text(signoff)},
          {"decision", text},
          {"user", user_id(user)},
          {"date", date_text(date)},
          {"comment", comments.data()}};
}

// --------------------------------------------------------------------------------------- tasks

int number_of(tag object, const char* attribute) {
  const std::string text = display_value(object, attribute);
  int number = 0;
  std::from_chars(text.data(), text.data() + text.size(), number);
  return number;
}

/** The task of a job that a stop has left as it is; null for none. */
tag stopped_task(tag job) {
  const std::vector<tag> tasks = listed("the task that is stopped", [job](int* count, tag** found) {
    return OBJ_get_value_tags(job, "stop_task", count, found);
  });
  return tasks.empty() ? NULLTAG : tasks.front();
}

Json task_json(tag task, tag stopped) {
  const int type = task_type(task);
  Json json = {{"name", task_name(task)},
               {"type", type_text(type)},
               {"state", task == stopped ? stopped_state : state_name(task)}};
  if (type == eFLOWConditionTask) {
    int result = 0;
    require(FLOW_get_condition_task_result(task, &result), "a result");
    json["result"] = result;
  }
  if (type == eFLOWReviewTask) {
    json["signoffs"] = Json::array();
    for (const tag signoff : attachments(task, FLOW_signoff_attachment)) {
      json["signoffs"].push_back(signoff_json(signoff));
    }
  }
  json["tasks"] = Json::array();
  for (const tag sub_task : sub_tasks(task)) {
    Json sub_json = task_json(sub_task, stopped);
    if (type == eFLOWConditionTask) {
      sub_json["on_result"] = number_of(sub_task, "branch");  // that leads to it
    }
    json["tasks"].push_back(std::move(sub_json));
  }
  return json;
}

// ----------------------------------------------------------------------------------- the tree

std::string task_line(const Json& task) {
  std::string line;
  if (task.contains("on_result")) {
    line = "on " + result_text(task["on_result"].get<int>()) + ": ";
  }
  line += task["name"].get<std::string>() + "  " + task["state"].get<std::string>();
  if (task["type"] != "root" && task["type"] != "task") {
    line += "  (" + task["type"].get<std::string>() + ")";
  }
  if (task.value("result", 0) != FLOW_condition_unset) {
    line += "  result " + result_text(task["result"].get<int>());
  }
  return line;
}

std::string signoff_line(const Json& signoff) {
  const auto text = [&signoff](const char* member) { return signoff[member].get<std::string>(); };
  std::string line = "[" + text("decision") + "]  " + text("member");
  if (text("decision") == "none") {
    return line;
  }
  line += "  by " + text("user") + " on " + text("date");
  return text("comment").empty() ? line : line + "  \"" + text("comment") + "\"";
}

/** A line of the tree and what hangs on it. */
struct Branch {
  std::string line;
  std::vector<Branch> branches;
};

Branch task_branch(const Json& task) {
  Branch branch{task_line(task), {}};
  if (task.contains("signoffs")) {
    for (const Json& signoff : task["signoffs"]) {
      branch.branches.push_back({signoff_line(signoff), {}});
    }
  }
  for (const Json& sub_task : task["tasks"]) {
    branch.branches.push_back(task_branch(sub_task));
  }
  return branch;
}

void print_branches(const std::vector<Branch>& branches, const std::string& indent) {
  for (const Branch& branch : branches) {
    const bool is_last = &branch == &branches.back();
    std::printf("%s%s%s\n", indent.c_str(), is_last ? "└── " : "├── ",
                printable(branch.line).c_str());
    print_branches(branch.branches, indent + (is_last ? "    " : "│   "));
  }
}

}  // namespace

std::string result_text(int result) {
  return result == FLOW_condition_true    ? "true"
         : result == FLOW_condition_false ? "false"
                                          : std::to_string(result);
}

std::string task_name(tag task) {
  std::array<char, FLOW_name_size + 1> name{};
  require(FLOW_get_name(task, name.data()), "the name of a task");
  return name.data();
}

tag find_job(const std::string& name) {
  tag by_tag = NULLTAG;
  if (name.starts_with('#')) {
    std::from_chars(name.data() + 1, name.data() + name.size(), by_tag);
  }
  const std::vector<tag> jobs = listed("the jobs", [&name, by_tag](int* count, tag** found) {
    return FLOW_find_jobs(by_tag == NULLTAG ? name.c_str() : nullptr, count, found);
  });
  if (by_tag != NULLTAG) {
    for (const tag job : jobs) {
      if (job == by_tag) {
        return job;
      }
    }
  } else if (jobs.size() == 1) {
    return jobs.front();
  } else if (jobs.size() > 1) {
    throw Error("there are " + std::to_string(jobs.size()) + " jobs " + name,
                "name one by its number, as \"zolp job list\" shows it");
  }
  throw Error("there is no job " + name, "see \"zolp job list\" for what there is");
}

tag find_task(tag job, const std::string& name) {
  for (const tag task : all_tasks(job)) {
    if (task_name(task) == name) {
      return task;
    }
  }
  throw Error("the job has no task " + name, "see \"zolp job show\" for its tasks");
}

tag current_task(tag job) {
  if (const tag stopped = stopped_task(job); stopped != NULLTAG) {
    return stopped;
  }
  tag current = root_task(job);
  for (const tag task : all_tasks(job)) {
    int state = 0;
    require(FLOW_get_state(task, &state), "the state of a task");
    if (state == FLOW_started) {
      current = task;  // sub-tasks come behind the tasks that they are in
    }
  }
  return current;
}

Json job_stop(tag job) {
  const std::string handler = display_value(job, "stop_handler");
  if (handler.empty()) {
    return nullptr;
  }
  const tag task = stopped_task(job);
  date_s date{};
  require(OBJ_get_value_date(job, "stop_date", &date), "when the job was stopped");
  return {{"task", task != NULLTAG ? Json(task_name(task)) : Json()},
          {"handler", handler},
          {"on", number_of(job, "stop_action") == FLOW_start_action ? "start" : "complete"},
          {"code", number_of(job, "stop_code")},
          {"text", display_value(job, "stop_text")},
          {"date", date_text(date)}};
}

std::string stop_text(const Json& stop) {
  const std::string task =
      stop["task"].is_null() ? "" : "at task " + stop["task"].get<std::string>() + " ";
  return task + "by handler " + stop["handler"].get<std::string>() + ", called on " +
         stop["on"].get<std::string>();
}

Json job_summary(tag job) {
  std::array<char, STORE_max_string_length + 1> level{};  // shown in other words, maybe
  require(ZOLP_ask_current_release_level_name(job, level.data()), "the release level");
  const Json stop = job_stop(job);
  return {{"number", "#" + std::to_string(job)},
          {"name", display_value(job, "object_name")},
          {"template", display_value(job, "process_template")},
          {"owner", display_value(job, "owning_user")},
          {"state", stop.is_null() ? state_name(root_task(job)) : stopped_state},
          {"release_level", level.data()},
          {"stop", stop}};
}

Json job_json(tag job) {
  const tag root = root_task(job);
  Json json = job_summary(job);
  for (const AttachmentType& type : attachment_types) {
    json[type.member] = Json::array();
    for (const tag object : attachments(root, type.type)) {
      json[type.member].push_back(id_of(object));
    }
  }
  json["root"] = task_json(root, stopped_task(job));
  return json;
}

void print_job(const Json& job) {
  const auto text = [&job](const char* member) { return job[member].get<std::string>(); };
  Branch root = task_branch(job["root"]);
  std::vector<Branch> branches;
  if (const Json& stop = job["stop"]; !stop.is_null()) {
    branches.push_back(
        {"stopped " + stop_text(stop) + ", on " + stop["date"].get<std::string>(),
         {{std::to_string(stop["code"].get<int>()) + " " + stop["text"].get<std::string>(), {}}}});
  }
  for (const AttachmentType& type : attachment_types) {
    for (const Json& object : job[type.member]) {
      branches.push_back({std::string(type.heading) + " " + object.get<std::string>(), {}});
    }
  }
  branches.insert(branches.end(), root.branches.begin(), root.branches.end());
  std::puts(printable(text("name") + "  " + text("state") + "  (template " + text("template") +
                      ", owner " + text("owner") + ")")
                .c_str());
  print_branches(branches, "");
}

}  // namespace tool
