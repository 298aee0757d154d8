// ERR_: the error stack.

#include "ork/err.h"

#include <deque>
#include <vector>

#include "error_stack.h"
#include "handout.h"
#include "operation.h"
#include "registry.h"

namespace host {

namespace {

struct Entry {
  int severity;
  int code;
  std::string text;
};

struct Stack {
  std::deque<Entry> entries;

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
    }
  } catch (const std::bad_alloc&) {
    // The status of the operation has to do.
  }
}

void clear_errors() noexcept {
  stack().entries.clear();
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
      "ERR_clear_errors", Needs::nothing, [] { host::clear_errors(); }, Recorded::no);
}
