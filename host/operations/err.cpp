// ERR_: the error stack.

#include "ork/err.h"

#include <algorithm>
#include <deque>
#include <vector>

#include "error_stack.h"
#include "handout.h"
#include "operation.h"
#include "texts.h"

namespace host {

namespace {

struct Entry {
  int severity;
  int code;
  std::string text;
};

struct Stack {
  std::deque<Entry> entries;
  std::vector<std::size_t> protect_marks; /**< each the number of entries that it covers */

  std::size_t protected_count() const {
    return protect_marks.empty() ? 0 : std::min(protect_marks.back(), entries.size());
  }

  // What ERR_get_errors hands out.
  std::vector<int> severities;
  std::vector<int> codes;
  std::vector<const char*> texts;
};

Stack& stack() {
  // Never destroyed: programs may call the platform while they end.
  static Stack& instance = *new Stack;
  return instance;
}

void require_severity(int severity) {
  require(severity >= ERR_severity_information && severity <= ERR_severity_error, "severity");
}

}  // namespace

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
    // The status of the operation has to do.
  }
}

void clear_errors() noexcept {
  stack().entries.clear();
  stack().protect_marks.clear();
}

}  // namespace host

using host::Needs;
using host::operation;
using host::Recorded;

int ERR_get_error_text(int status, char** text) {
  host::clear(text);
  return operation(
      "ERR_get_error_text", Needs::nothing,
      [&] {
        host::require_all(text);
        *text = host::hand_out(host::error_text(status));
      },
      Recorded::no);
}

int ERR_get_errors(int* count, const int** severities, const int** codes, const char*** texts) {
  host::clear(count);
  host::clear(severities);
  host::clear(codes);
  host::clear(texts);
  return operation(
      "ERR_get_errors", Needs::nothing,
      [&] {
        host::require_all(count, severities, codes, texts);
        host::Stack& stack = host::stack();
        stack.severities.clear();
        stack.codes.clear();
        stack.texts.clear();
        for (const host::Entry& entry : stack.entries) {
          stack.severities.push_back(entry.severity);
          stack.codes.push_back(entry.code);
          stack.texts.push_back(entry.text.c_str());
        }
        *count = static_cast<int>(stack.entries.size());
        *severities = stack.severities.data();
        *codes = stack.codes.data();
        *texts = stack.texts.data();
      },
      Recorded::no);
}

int ERR_store_error(int severity, int code) {
  return operation(
      "ERR_store_error", Needs::nothing,
      [&] {
        host::require_severity(severity);
        host::push_error(severity, code, {});
      },
      Recorded::no);
}

int ERR_store_error_s1(int severity, int code, const char* detail) {
  return operation(
      "ERR_store_error_s1", Needs::nothing,
      [&] {
        host::require_severity(severity);
        host::push_error(severity, code, detail != nullptr ? detail : "");
      },
      Recorded::no);
}

int ERR_clear_errors(void) {
  return operation(
      "ERR_clear_errors", Needs::nothing,
      [] { host::stack().entries.resize(host::stack().protected_count()); }, Recorded::no);
}

int ERR_clear_last_error(int code) {
  return operation(
      "ERR_clear_last_error", Needs::nothing,
      [&] {
        auto& entries = host::stack().entries;
        if (entries.size() > host::stack().protected_count() && entries.back().code == code) {
          entries.pop_back();
        }
      },
      Recorded::no);
}

int ERR_set_protect_mark(void) {
  return operation(
      "ERR_set_protect_mark", Needs::nothing,
      [] { host::stack().protect_marks.push_back(host::stack().entries.size()); }, Recorded::no);
}

int ERR_clear_protect_mark(void) {
  return operation(
      "ERR_clear_protect_mark", Needs::nothing,
      [] {
        if (!host::stack().protect_marks.empty()) {
          host::stack().protect_marks.pop_back();
        }
      },
      Recorded::no);
}
