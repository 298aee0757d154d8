/** @file The calls of a lane that are open, and which of them an exit ends. */
#pragma once

#include <deque>
#include <string>
#include <vector>

#include "calls.h"

namespace trace {

/** Events on their way to the reader's user, with the texts that they point to. */
class EventQueue {
 public:
  void clear() {
    events_.clear();
    texts_.clear();
  }
  /** Whether the user should have them before more is read. */
  bool is_full() const { return events_.size() >= most_events; }
  bool is_empty() const { return events_.empty(); }
  const std::vector<CallEvent>& events() const { return events_; }

  CallEvent& add(CallEvent::Kind kind) {
    CallEvent& event = events_.emplace_back();
    event.kind = kind;
    return event;
  }
  CallEvent& last() { return events_.back(); }
  std::string_view keep(std::string text) { return texts_.emplace_back(std::move(text)); }

 private:
  static constexpr size_t most_events = 256;
  std::vector<CallEvent> events_;
  std::deque<std::string> texts_;
};

/** What an exit tells. */
struct Exit {
  int64_t time = unknown_time;
  uint64_t position = 0;
  bool knows_status = false;
  int32_t status = 0;
  std::string_view error_text;
};

/**
 * The open calls of one lane. A function that ends because a guarded call has failed, or refuses
 * its arguments, has no exit line: it stays open here until an exit of a call around it shows that
 * it has ended, or the failure of its guarded call.
 */
class CallStack {
 public:
  CallStack(const CallSites& sites, EventQueue& queue, uint32_t lane)
      : sites_(sites), queue_(queue), lane_(lane) {}

  bool is_empty() const { return open_.empty(); }
  uint32_t depth() const { return static_cast<uint32_t>(open_.size()); }
  uint32_t top() const { return open_.back().site; }

  void enter(uint32_t site, int64_t time, uint64_t position);

  /** Ends the innermost call, which the exit is known to name. */
  void leave_top(const Exit& exit);

  /**
   * Ends the call that an exit line names, and with it those inside it.
   * @return false when none of the open calls is meant.
   */
  bool leave(const NamedCall& named, const Exit& exit);

  /** Ends a call of a site, or another of the same name; the same. */
  bool leave(uint32_t site, const Exit& exit);

  /** A function has ended without exit line, as a recording tells. */
  bool abandon(uint32_t site, const Exit& exit);

  /** Notes that the innermost call has failed, before its exit line. */
  void fail_top(int32_t status);
  void add_error_text(std::string_view text);
  bool top_has_failed() const { return !open_.empty() && open_.back().has_failed; }

  /** A call has failed of which nothing else is shown. */
  void add_failure(uint32_t site, const Exit& exit);

  /** Whether the innermost function seems to have ended with the failure of its guarded call. */
  bool is_top_doubtful() const { return is_top_doubtful_; }

  /** It has ended: something else follows than its exit line. */
  void settle_doubt();

  /** The trace ends. */
  void end(uint64_t position);

 private:
  struct OpenCall {
    uint32_t site = 0;
    int32_t status = 0;
    bool has_failed = false;
    int64_t entered = unknown_time;
  };

  void emit_leave(Ending ending, const Exit& exit);
  void leave_inner(size_t wanted_depth, const Exit& exit);
  bool leave_at(size_t index, const Exit& exit);
  void doubt_function_around(uint32_t failed_site, int32_t status, int64_t time);

  const CallSites& sites_;
  EventQueue& queue_;
  uint32_t lane_;
  std::vector<OpenCall> open_;
  int64_t latest_time_ = unknown_time;
  std::string error_text_;
  bool is_top_doubtful_ = false;
  int32_t doubtful_status_ = 0;
};

}  // namespace trace
