#include "text_lane.h"

namespace trace {

void TextLane::settle() {
  add_pending_failure();
  if (stack.is_top_doubtful()) {
    stack.settle_doubt();
  }
}

void TextLane::add_pending_failure() {
  error_text_ = ErrorText::none;
  if (has_pending_failure_) {
    has_pending_failure_ = false;
    pending_.error_text = pending_text_;
    stack.add_failure(pending_site_, pending_);
    pending_text_.clear();
  }
}

void TextLane::fail(uint32_t site, const Exit& failure) {
  settle();
  if (!stack.is_empty() && stack.top() == site) {
    stack.fail_top(failure.status);
  } else {
    has_pending_failure_ = true;
    pending_site_ = site;
    pending_ = failure;
  }
  error_text_ = ErrorText::may_follow;
}

bool TextLane::take_error_text(std::string_view line) {
  if (error_text_ == ErrorText::none) {
    return false;
  }
  constexpr std::string_view dashes = "--";
  const bool is_first = error_text_ == ErrorText::may_follow;
  const bool is_arrow = line.starts_with("->") || line.starts_with("<-");
  if (is_first ? !line.starts_with(dashes) : is_arrow) {
    error_text_ = ErrorText::none;
    return false;
  }
  line.remove_prefix(is_first ? dashes.size() : 0);
  const bool is_last = line.ends_with(dashes);
  line.remove_suffix(is_last ? dashes.size() : 0);
  error_text_ = is_last ? ErrorText::none : ErrorText::goes_on;
  const std::string part = (is_first ? "" : "\n") + std::string(line);
  if (has_pending_failure_) {
    pending_text_ += part;
    if (is_last) {
      add_pending_failure();
    }
  } else {
    stack.add_error_text(part);
  }
  return true;
}

}  // namespace trace
