#include "call_stack.h"

#include <algorithm>
#include <cctype>
#include <utility>

namespace trace {
namespace {

/** How far an exit is looked for: one that has no entry must not cost more than this. */
constexpr size_t most_levels_searched = 4096;

/** Functions whose exit lines have a name that is spelled differently: letters count alone. */
std::string spelled_plainly(std::string_view name) {
  constexpr std::string_view before = "ERROR:";
  constexpr std::string_view after = " with ERROR";
  if (name.starts_with(before)) {
    name.remove_prefix(before.size());
  }
  if (name.ends_with(after)) {
    name.remove_suffix(after.size());
  }
  std::string plain;
  for (const char c : name) {
    if (c != '_' && c != ' ') {
      plain += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
  }
  return plain;
}

}  // namespace

void CallStack::enter(uint32_t site, int64_t time, uint64_t position) {
  CallEvent& event = queue_.add(CallEvent::Kind::enter);
  event.lane = lane_;
  event.site = site;
  event.depth = depth();
  event.time = latest_time_ = time;
  event.position = position;
  open_.push_back({site, 0, false, time});
}

void CallStack::emit_leave(Ending ending, const Exit& exit) {
  const OpenCall call = open_.back();
  open_.pop_back();
  CallEvent& event = queue_.add(CallEvent::Kind::leave);
  event.ending = ending;
  event.lane = lane_;
  event.site = call.site;
  event.depth = depth();
  event.time = exit.time;
  event.entered = call.entered;
  event.position = exit.position;
  event.knows_status = exit.knows_status || call.has_failed;
  event.status = call.has_failed ? call.status : exit.status;
  event.has_failed = call.has_failed;
  if (!error_text_.empty()) {
    event.text = queue_.keep(std::exchange(error_text_, {}));
  } else if (!exit.error_text.empty()) {
    event.text = queue_.keep(std::string(exit.error_text));
  }
}

void CallStack::leave_top(const Exit& exit) {
  is_top_doubtful_ = false;
  OpenCall& call = open_.back();
  const CallKind kind = sites_[call.site].kind;
  if (kind != CallKind::frame) {
    if (exit.knows_status && exit.status != 0) {
      call.has_failed = true;
      call.status = exit.status;
    } else if (!call.has_failed) {
      // A text tells of failures alone.
      call.status = 0;
    }
  }
  const OpenCall left = call;
  Exit told = exit;
  told.knows_status = exit.knows_status || kind != CallKind::frame;
  emit_leave(Ending::left, told);
  latest_time_ = exit.time;
  if (left.has_failed && kind == CallKind::guarded) {
    doubt_function_around(left.site, left.status, exit.time);
  }
}

/**
 * A guarded call that has failed ends its function, which has no exit line then. Only the function
 * that the call is written in: a helper without lines of its own may stand in between, most likely
 * above the function, or in another file.
 */
void CallStack::doubt_function_around(uint32_t failed_site, int32_t status, int64_t) {
  if (open_.empty()) {
    return;
  }
  const CallSite& function = sites_[open_.back().site];
  const CallSite& failed = sites_[failed_site];
  if (function.kind == CallKind::frame && function.file == failed.file &&
      function.line < failed.line) {
    is_top_doubtful_ = true;
    doubtful_status_ = status;
  }
}

void CallStack::settle_doubt() {
  is_top_doubtful_ = false;
  open_.back().has_failed = true;
  open_.back().status = doubtful_status_;
  Exit exit;
  exit.time = latest_time_;
  emit_leave(Ending::early, exit);
}

void CallStack::leave_inner(size_t wanted_depth, const Exit& exit) {
  Exit implied;
  implied.time = latest_time_;
  implied.position = exit.position;
  while (open_.size() > wanted_depth) {
    emit_leave(Ending::implied, implied);
  }
}

bool CallStack::leave_at(size_t index, const Exit& exit) {
  leave_inner(index + 1, exit);
  leave_top(exit);
  return true;
}

bool CallStack::leave(const NamedCall& named, const Exit& exit) {
  if (is_top_doubtful_) {
    // The function's own exit line after all, unless it has called itself.
    const CallSite& top = sites_[open_.back().site];
    const bool calls_itself = open_.size() > 1 && open_[open_.size() - 2].site == open_.back().site;
    if (top.text != named.text || top.file != named.file || calls_itself) {
      settle_doubt();
    }
  }
  const size_t lowest =
      open_.size() > most_levels_searched ? open_.size() - most_levels_searched : 0;
  for (size_t i = open_.size(); i > lowest; --i) {
    const CallSite& site = sites_[open_[i - 1].site];
    if (site.text == named.text && site.file == named.file &&
        (site.kind == CallKind::frame || site.line == named.line)) {
      return leave_at(i - 1, exit);
    }
  }
  const std::string plain = spelled_plainly(named.text);
  const bool tells_error = named.text.starts_with("ERROR:");
  for (size_t i = open_.size(); i > lowest; --i) {
    const CallSite& site = sites_[open_[i - 1].site];
    if (site.kind == CallKind::frame && site.file == named.file &&
        (tells_error || spelled_plainly(site.text) == plain)) {
      return leave_at(i - 1, exit);
    }
  }
  return false;
}

bool CallStack::leave(uint32_t site, const Exit& exit) {
  if (!open_.empty() && open_.back().site == site && !is_top_doubtful_) {
    leave_top(exit);
    return true;
  }
  const CallSite& left = sites_[site];
  return leave({left.text, left.file, left.line}, exit);
}

bool CallStack::abandon(uint32_t site, const Exit& exit) {
  const bool was_doubtful = std::exchange(is_top_doubtful_, false);
  for (size_t i = open_.size(); i > 0; --i) {
    if (open_[i - 1].site == site) {
      const bool is_top = i == open_.size();
      leave_inner(i, exit);
      if (was_doubtful && is_top) {
        open_.back().has_failed = true;
        open_.back().status = doubtful_status_;
      }
      emit_leave(Ending::early, exit);
      latest_time_ = exit.time;
      return true;
    }
  }
  return false;
}

void CallStack::fail_top(int32_t status) {
  open_.back().has_failed = true;
  open_.back().status = status;
}

void CallStack::add_error_text(std::string_view text) {
  error_text_ += text;
}

void CallStack::add_failure(uint32_t site, const Exit& exit) {
  if (is_top_doubtful_) {
    settle_doubt();
  }
  enter(site, exit.time, exit.position);
  queue_.last().is_failure_only = true;
  open_.back().has_failed = true;
  open_.back().status = exit.status;
  Exit told = exit;
  told.knows_status = true;
  emit_leave(Ending::left, told);
  queue_.last().is_failure_only = true;
  if (sites_[site].kind == CallKind::guarded) {
    doubt_function_around(site, exit.status, exit.time);
  }
}

void CallStack::end(uint64_t position) {
  if (is_top_doubtful_) {
    settle_doubt();
  }
  Exit exit;
  exit.time = latest_time_;
  exit.position = position;
  while (!open_.empty()) {
    emit_leave(Ending::open, exit);
  }
}

}  // namespace trace
