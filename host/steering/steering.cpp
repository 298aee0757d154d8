#include "steering.h"

#include "failure.h"
#include "os.h"
#include "outside.h"

namespace host {

namespace {

/** What the environment has asked for. Never destroyed, like `steering`. */
struct Outside {
  JournalFile file;
  bool only_file = false; /**< nobody reads the journal in memory */
  std::string problem;    /**< why what was asked for cannot be done; operations are refused then */
};

Outside& outside() {
  static Outside& instance = *new Outside;
  return instance;
}

Steering& steering_from_environment() {
  auto& made = *new Steering;
  try {
    for (const FaultOrder& order : fault_orders(os::environment("ORK_HOST_FAULTS"))) {
      made.fail_call(order.operation, order.nth, order.status);
    }
    const std::string journal = os::environment("ORK_HOST_JOURNAL");
    if (!journal.empty()) {
      outside().file.open(journal);
      made.stop_journal();
    }
  } catch (const Failure& failure) {
    outside().problem = failure.detail();
    made.start_journal();  // has operations look here
  }
  return made;
}

}  // namespace

Steering& steering() {
  // Never destroyed: programs may call the platform while they end.
  static Steering& instance = steering_from_environment();
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
  outside().only_file = false;
  update_active();
}

void Steering::stop_journal() {
  recording_ = outside().file.is_open();
  outside().only_file = recording_;
  update_active();
}

void Steering::begin(const char* operation, bool recorded, std::size_t* entry) {
  if (recorded && !outside().problem.empty()) {
    refuse(ORK_invalid_argument, outside().problem);
  }
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
  if (entry >= journal_.size()) {
    return;
  }
  journal_[entry].status = status;
  if (outside().file.is_open()) {
    outside().file.write(journal_[entry].operation, status);
    if (outside().only_file && entry + 1 == journal_.size()) {
      journal_.pop_back();
    }
  }
}

}  // namespace host
