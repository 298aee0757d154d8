/** @file The calls of one process in a text trace, and what its latest lines leave open. */
#pragma once

#include <string>
#include <string_view>

#include "call_stack.h"

namespace trace {

/**
 * A failure is told before the exit line of its call, or without one where only errors are shown;
 * the platform's text of it may follow in lines of its own. So what a failure's line tells is kept
 * until the lines behind it have shown what belongs to it.
 */
class TextLane {
 public:
  TextLane(const CallSites& sites, EventQueue& queue, uint32_t lane, uint64_t its_process)
      : stack(sites, queue, lane), index(lane), process(its_process) {}

  /** Whether the next line may say more than that a call was entered or left. */
  bool needs_care() const { return stack.is_top_doubtful() || error_text_ != ErrorText::none; }

  /** What stands before the next line has come to its end. */
  void settle();

  /** The same of a call of which nothing but its failure is shown. */
  void add_pending_failure();

  /** A line tells of the failure of a call. */
  void fail(uint32_t site, const Exit& failure);

  /**
   * Takes a line of an error text, the first of which begins with two dashes.
   * @return false when the line is none.
   */
  bool take_error_text(std::string_view line);

  CallStack stack;
  const uint32_t index;
  const uint64_t process;
  int64_t start = unknown_time;
  int64_t latest_time = unknown_time;

 private:
  enum class ErrorText { none, may_follow, goes_on };

  ErrorText error_text_ = ErrorText::none;
  bool has_pending_failure_ = false;
  uint32_t pending_site_ = 0;
  Exit pending_;
  std::string pending_text_;
};

}  // namespace trace
