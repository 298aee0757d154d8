#include "error_stack.h"

#include <algorithm>
#include <new>
#include <vector>

#include "ork/err.h"
#include "texts.h"

namespace host {

namespace {

struct Stack {
  std::list<ErrorEntry> entries;
  std::list<ErrorEntry> spare{{ERR_severity_error, ORK_out_of_memory, "Memory is exhausted"}};
  std::vector<std::size_t> protect_marks; /**< each the number of entries that it covers */

  std::size_t protected_count() const {
    return protect_marks.empty() ? 0 : std::min(protect_marks.back(), entries.size());
  }
};

Stack& stack() {
  // Never destroyed: programs may call the platform while they end.
  static Stack& instance = *new Stack;
  return instance;
}

}  // namespace

const std::list<ErrorEntry>& errors() {
  return stack().entries;
}

void push_error(int severity, int code, std::string_view detail) noexcept {
  try {
    std::string text = error_text(code);
    if (!detail.empty()) {
      text.append(": ").append(detail);
    }
    auto& entries = stack().entries;
    entries.push_back({severity, code, std::move(text)});
    if (entries.size() > ERR_stack_size) {
      entries.pop_front();
      for (std::size_t& mark : stack().protect_marks) {
        mark -= mark > 0 ? 1 : 0;
      }
    }
  } catch (const std::bad_alloc&) {
    stack().entries.splice(stack().entries.end(), stack().spare);
  }
}

void clear_errors() noexcept {
  stack().entries.clear();
  stack().protect_marks.clear();
}

void clear_unprotected_errors() {
  stack().entries.resize(stack().protected_count());
}

void clear_last_error(int code) {
  auto& entries = stack().entries;
  if (entries.size() > stack().protected_count() && entries.back().code == code) {
    entries.pop_back();
  }
}

void set_protect_mark() {
  stack().protect_marks.push_back(stack().entries.size());
}

void clear_protect_mark() {
  if (!stack().protect_marks.empty()) {
    stack().protect_marks.pop_back();
  }
}

}  // namespace host
