#include "flow_describe.h"

#include <sstream>

#include "flow_engine.h"
#include "object_id.h"
#include "ork/flow.h"

namespace host {

namespace {

using Json = nlohmann::ordered_json;

/** Seeds take no tasks further down. */
constexpr int deepest_task_of_seeds = 32;

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

Json labels(Store& store, tag object, const char* attribute) {
  Json all = Json::array();
  for (const tag one : flow::references(object, attribute)) {
    all.push_back(object_label(store, one));
  }
  return all;
}

Json describe_handlers(Store& store, tag task) {
  const Values& names = store.values(task, "handler_names");
  const Values& actions = store.values(task, "handler_actions");
  const Values& arguments = store.values(task, "handler_arguments");
  Json all = Json::array();
  for (std::size_t i = 0; i < names.size(); ++i) {
    all.push_back({{"on", std::get<int>(actions[i]) == FLOW_start_action ? "start" : "complete"},
                   {"name", std::get<std::string>(names[i])},
                   {"arguments", std::get<std::string>(arguments[i])}});
  }
  return all;
}

/** What tasks and their templates have in common. */
Json describe_definition(Store& store, tag task) {
  const int type = store.integer(task, "task_type");
  Json described = {{"name", store.text(task, "object_name")}, {"type", type_text(type)}};
  if (const int branch = store.integer(task, "branch"); branch != 0) {
    described["branch"] = branch;
  }
  if (type == eFLOWReviewTask) {
    described["quorum"] = store.integer(task, "quorum");
  }
  if (Json handlers = describe_handlers(store, task); !handlers.empty()) {
    described["handlers"] = std::move(handlers);
  }
  return described;
}

Json describe_task(Store& store, tag task) {
  Json described = describe_definition(store, task);
  described["tag"] = task;
  described["state"] = store.integer(task, "state");
  if (store.integer(task, "task_type") == eFLOWConditionTask) {
    described["result"] = store.integer(task, "condition_result");
  }
  for (const char* attribute : flow::attachment_attributes()) {
    if (Json attached = labels(store, task, attribute); !attached.empty()) {
      described[attribute] = std::move(attached);
    }
  }
  for (const tag sub_task : flow::references(task, "sub_tasks")) {
    described["tasks"].push_back(describe_task(store, sub_task));
  }
  return described;
}

/** What has stopped a job. */
Json describe_stop(Store& store, tag job) {
  const tag task = store.reference(job, "stop_task");
  return {{"task", task != NULLTAG ? Json(object_label(store, task)) : Json()},
          {"handler", store.text(job, "stop_handler")},
          {"on", store.integer(job, "stop_action") == FLOW_start_action ? "start" : "complete"},
          {"code", store.integer(job, "stop_code")},
          {"text", store.text(job, "stop_text")}};
}

/** A process template as seeds have it, where they can say all of it. */
class TemplateJson {
 public:
  TemplateJson(Store& store, Places& places) : store_(store), places_(places) {}

  std::optional<Json> of(tag process) {
    const tag root = store_.required_reference(process, "root_template");
    flow::tasks_from(root);  // refuses a damaged one
    const std::string& name = store_.text(process, "template_name");
    require(!name.empty() && name == store_.text(root, "object_name"));
    require(is_of_type(root, eFLOWRootTask) && is_plain(root, process));
    Json described = {{"name", name}};
    if (!store_.text(process, "template_desc").empty()) {
      described["description"] = store_.text(process, "template_desc");
    }
    add_handlers(described, root);
    add_tasks(described, root, 0);
    return is_sayable_ ? std::optional(std::move(described)) : std::nullopt;
  }

 private:
  void require(bool is_sayable) { is_sayable_ = is_sayable_ && is_sayable; }

  bool is_of_type(tag task, int type) { return store_.integer(task, "task_type") == type; }

  /** Nothing but what is above refers to it, and it has none of what only reviews have. */
  bool is_plain(tag task, tag above) {
    return store_.referrer(task, above) == NULLTAG && store_.integer(task, "quorum") == 0 &&
           store_.values(task, "signoff_members").empty();
  }

  void add_handlers(Json& described, tag task) {
    const Values names = store_.values(task, "handler_names");
    const Values actions = store_.values(task, "handler_actions");
    const Values arguments = store_.values(task, "handler_arguments");
    for (std::size_t i = 0; i < names.size(); ++i) {
      const int action = std::get<int>(actions[i]);
      const std::string& name = std::get<std::string>(names[i]);
      require(!name.empty() && (action == FLOW_start_action || action == FLOW_complete_action));
      Json handler = {{"on", action == FLOW_start_action ? "start" : "complete"}, {"name", name}};
      add_arguments(handler, std::get<std::string>(arguments[i]));
      described["handlers"].push_back(std::move(handler));
    }
  }

  /** One a line. */
  void add_arguments(Json& handler, const std::string& lines) {
    require(!lines.starts_with('\n'));
    std::istringstream text(lines + '\n');
    for (std::string line; !lines.empty() && std::getline(text, line);) {
      handler["arguments"].push_back(line);
    }
  }

  void add_tasks(Json& described, tag task, int depth) {
    for (const tag sub_task : flow::references(task, "sub_tasks")) {
      require(store_.integer(sub_task, "branch") == 0);
      described["tasks"].push_back(task_json(sub_task, task, depth + 1));
    }
  }

  Json task_json(tag task, tag above, int depth) {
    const std::string& name = store_.text(task, "object_name");
    require(!name.empty() && depth <= deepest_task_of_seeds);
    Json described = {{"name", name}};
    const int type = store_.integer(task, "task_type");
    if (!is_sayable_) {
      return described;
    }
    if (type != eFLOWPlainTask) {
      described["type"] = type_text(type);
    }
    add_handlers(described, task);
    if (type == eFLOWReviewTask) {
      require(store_.referrer(task, above) == NULLTAG &&
              store_.values(task, "signoff_members").empty());
      add_team(described, task);
      return described;
    }
    require(is_plain(task, above));
    if (type == eFLOWConditionTask) {
      add_branches(described, task, depth);
    } else {
      require(type == eFLOWPlainTask);
      add_tasks(described, task, depth);
    }
    return described;
  }

  void add_branches(Json& described, tag condition, int depth) {
    int last = 0;
    for (const tag task : flow::references(condition, "sub_tasks")) {
      const int branch = store_.integer(task, "branch");
      require(branch > 0);
      if (branch != last) {
        const bool is_logical = branch == FLOW_condition_true || branch == FLOW_condition_false;
        described["branches"].push_back(
            {{"result", is_logical ? Json(branch == FLOW_condition_true) : Json(branch)}});
        last = branch;
      }
      described["branches"].back()["tasks"].push_back(task_json(task, condition, depth + 1));
    }
  }

  void add_team(Json& described, tag review) {
    const int quorum = store_.integer(review, "quorum");
    const std::vector<tag> teams = flow::references(review, "sub_tasks");
    require(quorum >= 0 && teams.size() <= 1);
    for (const tag team : teams) {
      const std::vector<tag> members = flow::references(team, "signoff_members");
      require(is_of_type(team, eFLOWSelectSignoffTask) && !members.empty() &&
              store_.text(team, "object_name") == flow::team_task_name &&
              store_.values(team, "handler_names").empty() &&
              store_.values(team, "sub_tasks").empty() && store_.integer(team, "branch") == 0 &&
              store_.integer(team, "quorum") == 0 && store_.referrer(team, review) == NULLTAG);
      for (const tag member : members) {
        Json place = places_.of(member);
        require(place.contains("membership") || place.contains("pool"));
        described["signoffs"].push_back(place.value("membership", place));
      }
    }
    require(static_cast<std::size_t>(quorum) <= described.value("signoffs", Json::array()).size());
    if (quorum != 0) {
      described["quorum"] = quorum;
    }
  }

  Store& store_;
  Places& places_;
  bool is_sayable_ = true;
};

}  // namespace

std::optional<Json> process_template_json(Store& store, Places& places, tag process) {
  return TemplateJson(store, places).of(process);
}

void write_jobs(Site& site, ElementList& list) {
  Store& store = site.store();
  for_each_element(store, "Job", [&](tag job) {
    Json described = {
        {"tag", job},
        {"name", store.text(job, "object_name")},
        {"process_template", object_label(store, store.reference(job, "process_template"))}};
    if (!store.values(job, "stop_handler").empty()) {
      described["stop"] = describe_stop(store, job);
    }
    described["root"] = describe_task(store, flow::root_task_of(job));
    list.add(described);
  });
}

}  // namespace host
