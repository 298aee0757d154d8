/**
 * @file
 * Calls of workflow handlers, for those who watch them: which one begins, how it ends, and what it
 * leaves behind of what it should have given back.
 */
#pragma once

#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "origin.h"
#include "ork/flow.h"

namespace host::flow {

/** A call of a handler. The task, and even the job, may be gone when it has ended. */
struct HandlerCall {
  std::string handler;
  tag task = NULLTAG;
  tag job = NULLTAG;
  std::string task_name, job_name;
  int action = 0;
};

/** Blocks that were not freed, and locks on objects that were not given back. */
struct LeftBehind {
  BlocksByOrigin blocks;
  std::vector<std::pair<std::string, Origin>> locks;
};

struct HandlerEnd {
  int status = ORK_ok;
  LeftBehind left;
};

/** Is told of a call when it begins, without an end, and when it has ended. */
using HandlerObserver = std::function<void(const HandlerCall& call, const HandlerEnd* end)>;

/** Sets who is told from now on, and has origins kept; an empty one is nobody. */
void observe_handlers(HandlerObserver observer);

/** A call that is under way, as long as one lives. */
class WatchedCall {
 public:
  WatchedCall(const std::string& handler, const FLOW_action_message_s& message);
  /** One that was not told how the call has ended tells of an internal error. */
  ~WatchedCall();
  WatchedCall(const WatchedCall&) = delete;
  WatchedCall& operator=(const WatchedCall&) = delete;

  void end(int status);

 private:
  LeftBehind take_left() const;

  bool is_told_;
  HandlerCall call_;
  std::uint64_t first_number_ = 0; /**< of the blocks that it gets */
  std::set<tag> earlier_locks_;
};

}  // namespace host::flow
