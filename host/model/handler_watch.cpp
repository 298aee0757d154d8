#include "handler_watch.h"

#include <exception>

#include "heap.h"
#include "object_id.h"
#include "site.h"
#include "steering.h"

namespace host::flow {

namespace {

HandlerObserver& observer() {
  // Never destroyed: programs may call the platform while they end.
  static HandlerObserver& instance = *new HandlerObserver;
  return instance;
}

/** Locks that a handler inside another one has left, and that were told of. */
std::set<tag>& told_locks() {
  static std::set<tag> locks;
  return locks;
}

std::vector<std::pair<tag, Origin>> own_locks() {
  return open_site() != nullptr ? store().own_locks() : std::vector<std::pair<tag, Origin>>();
}

std::string label_of(tag object) {
  try {
    return object_label(store(), object);
  } catch (const std::exception&) {
    return "object " + std::to_string(object);  // gone, or damaged
  }
}

std::vector<std::pair<std::string, Origin>> take_locks_left(const std::set<tag>& earlier) {
  std::vector<std::pair<std::string, Origin>> left;
  std::set<tag> told;
  for (const auto& [object, origin] : own_locks()) {
    if (earlier.contains(object)) {
      continue;
    }
    if (!told_locks().contains(object)) {
      left.emplace_back(label_of(object), origin);
    }
    told.insert(object);
  }
  told_locks() = std::move(told);
  return left;
}

}  // namespace

void observe_handlers(HandlerObserver wanted) {
  observer() = std::move(wanted);
  keep_origins();
  steering().look_again();
}

WatchedCall::WatchedCall(const std::string& handler, const FLOW_action_message_s& message)
    : is_told_(observer() == nullptr) {
  if (is_told_) {
    return;
  }
  call_ = {handler,
           message.task,
           store().reference(message.task, "job"),
           store().text(message.task, "object_name"),
           "",
           message.action};
  call_.job_name = call_.job != NULLTAG ? store().text(call_.job, "object_name") : "";
  for (const auto& [object, origin] : own_locks()) {
    earlier_locks_.insert(object);
  }
  first_number_ = heap::next_number();
  observer()(call_, nullptr);
}

WatchedCall::~WatchedCall() {
  try {
    end(ORK_internal_error);
  } catch (const std::exception&) {
    // Memory is exhausted; the call's own failure says so.
  }
}

void WatchedCall::end(int status) {
  if (is_told_) {
    return;
  }
  is_told_ = true;
  const HandlerEnd ended = {status, take_left()};
  observer()(call_, &ended);
}

LeftBehind WatchedCall::take_left() const {
  return {heap::take_left_since(first_number_), take_locks_left(earlier_locks_)};
}

}  // namespace host::flow
