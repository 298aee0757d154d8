#include "flow_describe.h"

#include "flow_engine.h"
#include "json_values.h"
#include "object_id.h"
#include "ork/flow.h"

namespace host {

namespace {

using Json = nlohmann::ordered_json;

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

Json describe_template(Store& store, tag task) {
  Json described = describe_definition(store, task);
  if (Json members = labels(store, task, "signoff_members"); !members.empty()) {
    described["signoffs"] = std::move(members);
  }
  for (const tag sub_task : flow::references(task, "sub_tasks")) {
    described["tasks"].push_back(describe_template(store, sub_task));
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

}  // namespace

Json describe_process_templates(Site& site) {
  Store& store = site.store();
  Json all = Json::array();
  for (const tag process : store.find("ProcessTemplate")) {
    const tag root_template = store.required_reference(process, "root_template");
    flow::tasks_from(root_template);  // refuses a damaged one
    all.push_back({{"tag", process},
                   {"name", store.text(process, "template_name")},
                   {"description", store.text(process, "template_desc")},
                   {"root", describe_template(store, root_template)}});
  }
  return all;
}

namespace {

/** What has stopped a job; null for nothing. */
Json describe_stop(Store& store, tag job) {
  if (store.values(job, "stop_handler").empty()) {
    return nullptr;
  }
  const tag task = store.reference(job, "stop_task");
  return {{"task", task != NULLTAG ? Json(object_label(store, task)) : Json()},
          {"handler", store.text(job, "stop_handler")},
          {"on", store.integer(job, "stop_action") == FLOW_start_action ? "start" : "complete"},
          {"code", store.integer(job, "stop_code")},
          {"text", store.text(job, "stop_text")}};
}

}  // namespace

void write_jobs(Site& site, JsonStream& stream) {
  Store& store = site.store();
  write_each(store, "Job", stream, [&](tag job) -> Json {
    return {{"tag", job},
            {"name", store.text(job, "object_name")},
            {"process_template", object_label(store, store.reference(job, "process_template"))},
            {"stop", describe_stop(store, job)},
            {"root", describe_task(store, flow::root_task_of(job))}};
  });
}

}  // namespace host
