#include "flow_stops.h"

#include <algorithm>

#include "failure.h"
#include "flow_tasks.h"
#include "os.h"
#include "site.h"
#include "texts.h"

namespace host::flow {

namespace {

constexpr const char* attributes[] = {"stop_task", "stop_handler", "stop_action",
                                      "stop_code", "stop_text",    "stop_date"};

/** As much of a text as an attribute takes; no character is cut in two. */
std::string fitting(std::string text, const Attribute& attribute) {
  const auto most = static_cast<std::size_t>(attribute.max_length);
  if (text.size() > most) {
    std::size_t end = most;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80U) {
      --end;
    }
    text.resize(end);
  }
  return text;
}

/** A handler that has failed may have left the job itself changed: that is not to be saved. */
void drop_changes_of(tag job) {
  const std::vector<tag> changed = store().changed_instances();
  if (std::find(changed.begin(), changed.end(), job) != changed.end()) {
    store().refresh(job, false);
  }
}

}  // namespace

std::string text_with_detail(int code, const std::string& detail) {
  return detail.empty() ? error_text(code) : error_text(code) + ": " + detail;
}

void record_stop(const Stop& stop) {
  const tag job = store().required_reference(stop.task, "job");
  const Class& type = store().class_of(job);
  drop_changes_of(job);
  Change change(store());
  change.set(job, "stop_task", stop.task);
  change.set(job, "stop_handler", fitting(stop.handler, *type.find_attribute("stop_handler")));
  change.set(job, "stop_action", stop.action);
  change.set(job, "stop_code", stop.code);
  change.set(job, "stop_text", fitting(stop.text, *type.find_attribute("stop_text")));
  change.set(job, "stop_date", os::local_time());
  change.commit();
}

void record_stop_of_other(const Stop& stop) {
  require_task(stop.task);
  store().bring_up_to_date(stop.task);
  const int expected = stop.action == FLOW_start_action ? FLOW_pending : FLOW_started;
  if (store().integer(stop.task, "state") != expected) {
    refuse(FLOW_task_is_over, store().text(stop.task, "object_name"));
  }
  record_stop(stop);
}

void forget_stop(Change& change, tag job) {
  if (store().values(job, "stop_handler").empty()) {
    return;
  }
  for (const char* attribute : attributes) {
    change.set_values(job, attribute, {});
  }
}

}  // namespace host::flow
