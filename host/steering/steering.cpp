#include "steering.h"

#include "failure.h"
#include "os.h"

namespace host {

Steering& steering() {
  // Never destroyed: programs may call the platform while they end.
  static Steering& instance = *new Steering;
  return instance;
}

void Steering::fail_call(const std::string& operation, int nth, int status) {
  faults_.push_back({operation, nth, status});
  update_active();
}

void Steering::delay_call(const std::string& operation, int milliseconds) {
  if (milliseconds > 0) {
    delays_[operation] = milliseconds;
  } else {
    delays_.erase(operation);
  }
  update_active();
}

void Steering::clear_faults() {
  faults_.clear();
  delays_.clear();
  update_active();
}

void Steering::start_journal() {
  journal_.clear();
  recording_ = true;
  update_active();
}

void Steering::stop_journal() {
  recording_ = false;
  update_active();
}

void Steering::begin(const char* operation, bool recorded, std::size_t* entry) {
  if (recording_ && recorded) {
    *entry = journal_.size();
    journal_.push_back({operation, ORK_ok});
  }
  const auto delay = delays_.find(std::string_view(operation));
  if (delay != delays_.end()) {
    os::sleep_milliseconds(delay->second);
  }

  int due = 0;
  bool is_due = false;
  for (Fault& fault : faults_) {
    if (fault.operation != operation && !(recorded && fault.operation == "*")) {
      continue;
    }
    if (--fault.calls_left > 0 || is_due) {
      continue;
    }
    is_due = true;
    due = fault.status;
  }
  if (!is_due) {
    return;
  }
  std::erase_if(faults_, [](const Fault& fault) { return fault.calls_left <= 0; });
  update_active();
  refuse(due, std::string("injected into ") + operation);
}

void Steering::end(std::size_t entry, int status) noexcept {
  if (entry < journal_.size()) {
    journal_[entry].status = status;
  }
}

}  // namespace host
