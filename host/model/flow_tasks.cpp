#include "flow_tasks.h"

#include <string>
#include <unordered_set>

#include "change.h"
#include "failure.h"
#include "ork/signoff.h"
#include "site.h"
#include "stored_values.h"

namespace host::flow {

namespace {

std::string object_text(tag object) {
  return "object " + std::to_string(object);
}

}  // namespace

void require_job(tag job) {
  if (!store().is_a(job, "Job")) {
    refuse(FLOW_not_a_job, object_text(job));
  }
}

void require_task(tag task) {
  if (!store().is_a(task, "Task")) {
    refuse(FLOW_not_a_task, object_text(task));
  }
}

void require_signoff(tag signoff) {
  if (!store().is_a(signoff, "Signoff")) {
    refuse(SIGNOFF_not_a_signoff, object_text(signoff));
  }
}

std::vector<tag> references(tag object, const char* attribute) {
  std::vector<tag> objects;
  for (const Scalar& value : store().values(object, attribute)) {
    objects.push_back(std::get<tag>(value));
  }
  return objects;
}

const std::vector<const char*>& attachment_attributes() {
  static const std::vector<const char*> all = {"target_attachments", "reference_attachments",
                                               "signoff_attachments", "release_status_attachments"};
  return all;
}

const char* attachment_attribute(int type) {
  switch (type) {
    case FLOW_target_attachment:
      return attachment_attributes()[0];
    case FLOW_reference_attachment:
      return attachment_attributes()[1];
    case FLOW_signoff_attachment:
      return attachment_attributes()[2];
    case FLOW_release_status_attachment:
      return attachment_attributes()[3];
    default:
      refuse(FLOW_unknown_attachment_type, std::to_string(type));
  }
}

tag root_task_of(tag job) {
  const tag root = store().required_reference(job, "root_task");
  tasks_from(root);  // refuses a damaged one
  return root;
}

std::vector<tag> tasks_from(tag task) {
  std::vector<tag> tasks;
  std::vector<tag> left = {task};
  std::unordered_set<tag> known = {task};
  while (!left.empty()) {
    const tag next = left.back();
    left.pop_back();
    tasks.push_back(next);
    const std::vector<tag> sub_tasks = references(next, "sub_tasks");
    for (const tag sub_task : sub_tasks) {
      if (!known.insert(sub_task).second) {
        refuse_damage(next, "sub_tasks",
                      object_text(sub_task) + " is a part of one tree of tasks twice");
      }
    }
    left.insert(left.end(), sub_tasks.rbegin(), sub_tasks.rend());
  }
  return tasks;
}

void require_attachable(const Attachment& attachment) {
  attachment_attribute(attachment.type);  // refuses an unknown type
  if (attachment.type == FLOW_signoff_attachment) {
    require_signoff(attachment.object);
  }
  store().state(attachment.object);  // says what is wrong with the tag
}

void require_condition_task(tag task) {
  require_task(task);
  if (store().integer(task, "task_type") != eFLOWConditionTask) {
    refuse(FLOW_not_a_condition_task, store().text(task, "object_name"));
  }
}

std::vector<tag> tasks_of_type(tag job, int type) {
  require_job(job);
  if (type < eFLOWAnyTask || type > eFLOWConditionTask) {
    refuse(FLOW_unknown_task_type, std::to_string(type));
  }
  std::vector<tag> tasks = tasks_from(root_task_of(job));
  if (type != eFLOWAnyTask) {
    std::erase_if(tasks, [type](tag task) { return store().integer(task, "task_type") != type; });
  }
  return tasks;
}

void set_condition_result(tag task, int result) {
  require_condition_task(task);
  const int state = store().integer(task, "state");
  const bool is_under_way =
      state == FLOW_started && store().integer(task, "condition_result") != FLOW_condition_unset;
  if (state == FLOW_completed || state == FLOW_skipped || is_under_way) {
    refuse(FLOW_task_is_over, store().text(task, "object_name"));
  }
  store().set(task, "condition_result", result);
}

void add_attachments(tag task, const std::vector<Attachment>& attachments) {
  Change change(store());
  for (const char* attribute : attachment_attributes()) {
    Values values = store().values(task, attribute);
    std::unordered_set<tag> known;
    for (const Scalar& value : values) {
      known.insert(std::get<tag>(value));
    }
    for (const Attachment& attachment : attachments) {
      if (attachment_attribute(attachment.type) != attribute) {
        continue;
      }
      require_attachable(attachment);
      if (!known.insert(attachment.object).second) {
        refuse(FLOW_already_attached, "object " + std::to_string(attachment.object));
      }
      values.emplace_back(attachment.object);
    }
    change.set_values(task, attribute, std::move(values));
  }
  change.commit();
}

void remove_attachments(tag task, int count, const tag* objects) {
  const std::unordered_set<tag> wanted(objects, objects + count);
  std::unordered_set<tag> missing = wanted;
  Change change(store());
  for (const char* attribute : attachment_attributes()) {
    Values kept;
    for (const Scalar& value : store().values(task, attribute)) {
      if (wanted.contains(std::get<tag>(value))) {
        missing.erase(std::get<tag>(value));
      } else {
        kept.push_back(value);
      }
    }
    change.set_values(task, attribute, std::move(kept));
  }
  if (!missing.empty()) {
    refuse(FLOW_not_attached, "object " + std::to_string(*missing.begin()));
  }
  change.commit();
}

}  // namespace host::flow
