// FLOW_: jobs, their tasks, and workflow handlers.

#include "ork/flow.h"

#include <algorithm>

#include "access.h"
#include "flow_engine.h"
#include "flow_handlers.h"
#include "handout.h"
#include "operation.h"
#include "ork/access.h"
#include "ork/signoff.h"

namespace host::flow {

namespace {

struct StateName {
  int state;
  const char* name;
};

constexpr StateName state_names[] = {{FLOW_pending, "Pending"},
                                     {FLOW_started, "Started"},
                                     {FLOW_completed, "Completed"},
                                     {FLOW_skipped, "Skipped"}};

const char* name_of_state(int state) {
  const auto* found =
      std::find_if(std::begin(state_names), std::end(state_names),
                   [state](const StateName& entry) { return entry.state == state; });
  if (found == std::end(state_names)) {
    refuse(FLOW_unknown_state, std::to_string(state));
  }
  return found->name;
}

std::vector<Attachment> attachments_of(int count, const tag* objects, const int* types) {
  require(count >= 0, "the number of attachments is negative");
  require(count == 0 || (objects != nullptr && types != nullptr), "there are no attachments");
  std::vector<Attachment> attachments;
  for (int i = 0; i < count; ++i) {
    attachments.push_back({objects[i], types[i]});
  }
  return attachments;
}

void run_handler(tag task, const char* name, const char* arguments) {
  require_task(task);
  call_handler(name, {task, FLOW_perform_action, store().integer(task, "state"),
                      arguments != nullptr ? arguments : ""});
}

}  // namespace

}  // namespace host::flow

namespace flow = host::flow;
using host::Needs;
using host::operation;

int FLOW_find_process_template(const char* name, tag* process_template) {
  host::clear(process_template);
  return operation("FLOW_find_process_template", Needs::session, [&] {
    host::require_all(name, process_template);
    const tag found =
        host::store().find_one("ProcessTemplate", {{"template_name", std::string(name)}});
    if (found == NULLTAG) {
      host::refuse(FLOW_unknown_process_template, name);
    }
    *process_template = found;
  });
}

int FLOW_create_process(const char* name, const char* description, tag process_template, int count,
                        const tag* objects, const int* types, tag* job) {
  host::clear(job);
  return operation("FLOW_create_process", Needs::session, [&] {
    host::require_all(name, description, job);
    host::require(*name != '\0', "the job has no name");
    if (!host::store().is_a(process_template, "ProcessTemplate")) {
      host::refuse(FLOW_not_a_process_template, "object " + std::to_string(process_template));
    }
    *job = flow::create_job(name, description, process_template,
                            flow::attachments_of(count, objects, types));
    flow::continue_job(*job);
  });
}

int FLOW_continue_job(tag job) {
  return operation("FLOW_continue_job", Needs::session, [&] {
    flow::require_job(job);
    flow::continue_job(job);
  });
}

int FLOW_find_jobs(const char* name, int* count, tag** jobs) {
  host::clear(count);
  host::clear(jobs);
  return operation("FLOW_find_jobs", Needs::session, [&] {
    host::require_all(count, jobs);
    host::Store::Criteria criteria;
    if (name != nullptr) {
      criteria.emplace_back("object_name", std::string(name));
    }
    host::hand_out(host::store().find("Job", criteria), count, jobs);
  });
}

int FLOW_get_root_task(tag job, tag* root_task) {
  host::clear(root_task);
  return operation("FLOW_get_root_task", Needs::session, [&] {
    host::require_all(root_task);
    flow::require_job(job);
    *root_task = host::store().reference(job, "root_task");
  });
}

int FLOW_refresh_entire_job(tag job) {
  return operation("FLOW_refresh_entire_job", Needs::session, [&] {
    flow::require_job(job);
    flow::refresh_job(job);
  });
}

int FLOW_get_type_tasks(tag job, int type, int* count, tag** tasks) {
  host::clear(count);
  host::clear(tasks);
  return operation("FLOW_get_type_tasks", Needs::session, [&] {
    host::require_all(count, tasks);
    host::hand_out(flow::tasks_of_type(job, type), count, tasks);
  });
}

int FLOW_get_job(tag task, tag* job) {
  host::clear(job);
  return operation("FLOW_get_job", Needs::session, [&] {
    host::require_all(job);
    flow::require_task(task);
    *job = host::store().reference(task, "job");
  });
}

int FLOW_get_name(tag task, char* name) {
  host::clear(name);
  return operation("FLOW_get_name", Needs::session, [&] {
    host::require_all(name);
    flow::require_task(task);
    host::copy_out(host::store().text(task, "object_name"), name, FLOW_name_size + 1);
  });
}

int FLOW_get_task_type(tag task, int* type) {
  host::clear(type);
  return operation("FLOW_get_task_type", Needs::session, [&] {
    host::require_all(type);
    flow::require_task(task);
    *type = host::store().integer(task, "task_type");
  });
}

int FLOW_get_state(tag task, int* state) {
  host::clear(state);
  return operation("FLOW_get_state", Needs::session, [&] {
    host::require_all(state);
    flow::require_task(task);
    *state = host::store().integer(task, "state");
  });
}

int FLOW_get_state_string(int state, char* name) {
  host::clear(name);
  return operation("FLOW_get_state_string", Needs::session, [&] {
    host::require_all(name);
    host::copy_out(flow::name_of_state(state), name, FLOW_state_name_size + 1);
  });
}

int FLOW_get_sub_tasks(tag task, int* count, tag** tasks) {
  host::clear(count);
  host::clear(tasks);
  return operation("FLOW_get_sub_tasks", Needs::session, [&] {
    host::require_all(count, tasks);
    flow::require_task(task);
    host::hand_out(flow::references(task, "sub_tasks"), count, tasks);
  });
}

int FLOW_get_sub_task(tag task, const char* name, tag* sub_task) {
  host::clear(sub_task);
  return operation("FLOW_get_sub_task", Needs::session, [&] {
    host::require_all(name, sub_task);
    flow::require_task(task);
    const std::vector<tag> tasks = flow::references(task, "sub_tasks");
    const auto found = std::find_if(tasks.begin(), tasks.end(), [name](tag candidate) {
      return host::store().text(candidate, "object_name") == name;
    });
    *sub_task = found != tasks.end() ? *found : NULLTAG;
  });
}

int FLOW_set_condition_task_result(tag task, int result) {
  return operation("FLOW_set_condition_task_result", Needs::session,
                   [&] { flow::set_condition_result(task, result); });
}

int FLOW_get_condition_task_result(tag task, int* result) {
  host::clear(result);
  return operation("FLOW_get_condition_task_result", Needs::session, [&] {
    host::require_all(result);
    flow::require_condition_task(task);
    *result = host::store().integer(task, "condition_result");
  });
}

int FLOW_add_attachments(tag task, int count, const tag* objects, const int* types) {
  return operation("FLOW_add_attachments", Needs::session, [&] {
    flow::require_task(task);
    host::require_privilege(task, ACCESS_privilege_write);
    const auto attachments = flow::attachments_of(count, objects, types);
    std::for_each(attachments.begin(), attachments.end(), flow::require_attachable);
    flow::add_attachments(task, attachments);
  });
}

int FLOW_remove_attachments(tag task, int count, const tag* objects) {
  return operation("FLOW_remove_attachments", Needs::session, [&] {
    flow::require_task(task);
    host::require_privilege(task, ACCESS_privilege_write);
    host::require(count >= 0 && (count == 0 || objects != nullptr), "there are no attachments");
    flow::remove_attachments(task, count, objects);
  });
}

int FLOW_get_attachments(tag task, int type, int* count, tag** objects) {
  host::clear(count);
  host::clear(objects);
  return operation("FLOW_get_attachments", Needs::session, [&] {
    host::require_all(count, objects);
    flow::require_task(task);
    host::hand_out(flow::references(task, flow::attachment_attribute(type)), count, objects);
  });
}

int FLOW_get_signoff_member(tag signoff, tag* member, int* member_type) {
  host::clear(member);
  host::clear(member_type);
  return operation("FLOW_get_signoff_member", Needs::session, [&] {
    host::require_all(member, member_type);
    flow::require_signoff(signoff);
    const tag found = host::store().reference(signoff, "signoff_member");
    *member_type =
        host::store().is_a(found, "ResourcePool") ? SIGNOFF_resource_pool : SIGNOFF_group_member;
    *member = found;
  });
}

int FLOW_get_resource_pool_group_role(tag pool, tag* group, tag* role, logical* allow_subgroup) {
  host::clear(group);
  host::clear(role);
  host::clear(allow_subgroup);
  return operation("FLOW_get_resource_pool_group_role", Needs::session, [&] {
    host::require_all(group, role, allow_subgroup);
    if (!host::store().is_a(pool, "ResourcePool")) {
      host::refuse(FLOW_not_a_resource_pool, "object " + std::to_string(pool));
    }
    *group = host::store().reference(pool, "pool_group");
    *role = host::store().reference(pool, "pool_role");
    *allow_subgroup = host::store().logical_value(pool, "allow_subgroup");
  });
}

int FLOW_register_handler(const char* name, FLOW_handler handler) {
  return operation("FLOW_register_handler", Needs::nothing, [&] {
    host::require_all(name);
    host::require(*name != '\0', "the handler has no name");
    flow::register_handler(name, handler);
  });
}

int FLOW_list_handlers(int* count, char*** names) {
  host::clear(count);
  host::clear(names);
  return operation("FLOW_list_handlers", Needs::nothing, [&] {
    host::require_all(count, names);
    const std::vector<std::string> found = flow::handler_names();
    *names = host::hand_out(found);
    *count = static_cast<int>(found.size());
  });
}

int FLOW_run_handler(tag task, const char* name, const char* arguments) {
  return operation("FLOW_run_handler", Needs::session, [&] {
    host::require_all(name);
    flow::run_handler(task, name, arguments);
  });
}
