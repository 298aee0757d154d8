#include "failures.h"

#include <algorithm>
#include <charconv>
#include <string_view>
#include <utility>
#include <vector>

#include "error.h"
#include "ork/access.h"
#include "ork/err.h"
#include "ork/store.h"
#include "ork/wso.h"
#include "platform_block.h"

namespace tool {

namespace {

/** The entries of the error stack, the oldest first; valid until the next operation fails. */
struct ErrorStack {
  ErrorStack() { ERR_get_errors(&count, &severities, &codes, &texts); }

  int count = 0;
  const int* severities = nullptr;
  const int* codes = nullptr;
  const char** texts = nullptr;
};

using Codes = std::initializer_list<int>;

bool is_one_of(Codes codes, int code) {
  return std::find(codes.begin(), codes.end(), code) != codes.end();
}

/** Whether an entry is of a failure, other than one that is an answer. */
bool is_failure(const ErrorStack& stack, int entry, Codes answers) {
  return stack.severities[entry] == ERR_severity_error && !is_one_of(answers, stack.codes[entry]);
}

bool has_failure(Codes answers) {
  const ErrorStack stack;
  for (int i = 0; i < stack.count; ++i) {
    if (is_failure(stack, i, answers)) {
      return true;
    }
  }
  return false;
}

std::string general_text(int status) {
  char* text = nullptr;
  ERR_get_error_text(status, &text);
  const PlatformBlock<char> block(text);
  return text != nullptr ? text : "error " + std::to_string(status);
}

struct Reason {
  int code = ORK_ok;
  std::string text;
};

/** The newest entry of the status, and the oldest one, from which the others follow. */
Reason reason_of(int status, Codes answers) {
  const ErrorStack stack;
  const char* own = nullptr;
  for (int i = 0; status != ORK_ok && i < stack.count; ++i) {
    own = stack.codes[i] == status ? stack.texts[i] : own;
  }
  int first = 0;
  while (first < stack.count && !is_failure(stack, first, answers)) {
    ++first;
  }
  if (first == stack.count) {
    return {status, own != nullptr ? own : general_text(status)};
  }
  const std::string cause = stack.texts[first];
  return {stack.codes[first], own == nullptr                 ? cause
                              : stack.codes[first] == status ? own
                                                             : own + (", because: " + cause)};
}

/** What a user can do about a failure whose reason tells; `otherwise` where it does not. */
std::string advice_for(int code, const std::string& otherwise) {
  switch (code) {
    case ACCESS_denied:
      return "log in as somebody who may";
    case STORE_locked_by_other:
      return "wait until it is free, or take the lock away with \"zolp host unlock\"";
    case ORK_site_busy:
      return "start again when it has finished";
    default:
      return otherwise;
  }
}

/** Tags are numbers of one process, which tell a user nothing. */
std::string with_names(const std::string& text) {
  constexpr std::string_view mark = "object ";
  std::string named;
  std::size_t from = 0;
  for (std::size_t at = text.find(mark); at != std::string::npos; at = text.find(mark, from)) {
    const char* const digits = text.data() + at + mark.size();
    tag object = NULLTAG;
    const char* const end = std::from_chars(digits, text.data() + text.size(), object).ptr;
    const std::size_t next = static_cast<std::size_t>(end - text.data());
    named += text.substr(from, at - from) + (end != digits ? known_as(object) : std::string(mark));
    from = next;
  }
  return named + text.substr(from);
}

/** The error stack, the oldest entry first. */
std::vector<ErrorEntry> stacked_entries() {
  const ErrorStack stack;
  std::vector<ErrorEntry> entries;
  for (int i = 0; i < stack.count; ++i) {
    const int severity = stack.severities[i];
    entries.push_back({severity == ERR_severity_error     ? "error"
                       : severity == ERR_severity_warning ? "warning"
                                                          : "information",
                       stack.codes[i], stack.texts[i]});
  }
  return entries;
}

}  // namespace

bool has_failed() {
  return has_failure({});
}

void forget_failures() {
  ERR_clear_errors();
}

void forget_failure(int status) {
  if (status != ORK_ok) {
    ERR_clear_last_error(status);
  }
}

std::string known_as(tag object) {
  char* id = nullptr;
  WSO_get_object_id_string(object, &id);
  const PlatformBlock<char> block(id);
  return id != nullptr && *id != '\0' ? id : "object " + std::to_string(object);
}

std::string failure_text(int status, std::initializer_list<int> answers) {
  return with_names(reason_of(status, answers).text);
}

Error failure_error(int status, const std::string& problem, const std::string& advice,
                    std::initializer_list<int> answers) {
  const Reason reason = reason_of(status, answers);
  std::vector<ErrorEntry> entries = stacked_entries();  // asking for names may add some
  for (ErrorEntry& entry : entries) {
    entry.text = with_names(entry.text);
  }
  return {problem + " (" + with_names(reason.text) + ")", advice_for(reason.code, advice),
          reason.code, std::move(entries)};
}

void require_success(int status, const std::string& problem, const std::string& advice,
                     std::initializer_list<int> answers) {
  const int failure = is_one_of(answers, status) ? ORK_ok : status;
  if (failure != ORK_ok || has_failure(answers)) {
    throw failure_error(failure, problem, advice, answers);
  }
  if (answers.size() > 0) {
    forget_failures();
  }
}

void require(int status, const std::string& what, std::initializer_list<int> answers) {
  require_success(status, "cannot read " + what, "see the call trace, set ZOLP_TRACE_LEVEL=4",
                  answers);
}

}  // namespace tool
