#include "steering.h"

#include "failure.h"
#include "heap.h"
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

/** What a variable asks for, if it is set; a refusal names it. */
template <typename Use>
void use_variable(const char* variable, const Use& use) {
  const std::string text = os::environment(variable);
  if (text.empty()) {
    return;
  }
  try {
    use(text);
  } catch (const Failure& failure) {
    refuse(failure.status(), std::string(variable) + ": " + failure.detail());
  }
}

Steering& steering_from_environment() {
  auto& made = *new Steering;
  try {
    use_variable("ORK_HOST_FAULTS", [&](const std::string& text) { made.order_faults(text); });
    use_variable("ORK_HOST_DELAYS", [&](const std::string& text) { made.order_delays(text); });
    use_variable("ORK_HOST_JOURNAL", [&](const std::string& text) { made.write_journal(text); });
    use_variable("ORK_HOST_BLOCKS", [&](const std::string& text) {
      if (!reports_origins()) {
        refuse(ORK_invalid_argument, "\"" + text + "\" is not \"report\"");
      }
      made.stop_journal();  // has operations tell where they are
      heap::report_blocks();
    });
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

void Steering::order_faults(const std::string& orders) {
  for (const FaultOrder& order : fault_orders(orders)) {
    fail_call(order.operation, order.nth, order.status);
  }
}

void Steering::order_delays(const std::string& orders) {
  for (const DelayOrder& order : delay_orders(orders)) {
    delay_call(order.operation, order.milliseconds);
  }
}

void Steering::write_journal(const std::string& path) {
  outside().file.open(path);
  stop_journal();
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

void Steering::observe(Observer observer) {
  observer_ = std::move(observer);
  keep_origins();
  update_active();
}

void Steering::begin(const char* operation, bool recorded, std::size_t* entry) {
  if (observer_ && recorded) {
    observer_(operation, false, ORK_ok);
  }
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

void Steering::end(const char* operation, bool recorded, std::size_t entry, int status) noexcept {
  if (observer_ && recorded) {
    observer_(operation, true, status);
  }
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
