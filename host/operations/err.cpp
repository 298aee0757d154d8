// ERR_: the error stack.

#include "ork/err.h"

#include <vector>

#include "error_stack.h"
#include "handout.h"
#include "operation.h"
#include "texts.h"

namespace host {

namespace {

/** What ERR_get_errors hands out. */
struct Lists {
  /** Takes all the room at once: they are asked for when memory is exhausted, too. */
  Lists() {
    severities.reserve(ERR_stack_size + 1);
    codes.reserve(ERR_stack_size + 1);
    texts.reserve(ERR_stack_size + 1);
  }

  std::vector<int> severities;
  std::vector<int> codes;
  std::vector<const char*> texts;
};

Lists& lists() {
  // Never destroyed: programs may call the platform while they end.
  static Lists& instance = *new Lists;
  return instance;
}

/** For threads that are refused: it looks at nothing that the other one may change. */
int hand_out_shipped_text(int status, char** text) noexcept {
  try {
    *text = hand_out(shipped_error_text(status));
    return ORK_ok;
  } catch (const std::exception&) {
    return ORK_out_of_memory;
  }
}

void require_severity(int severity) {
  require(severity >= ERR_severity_information && severity <= ERR_severity_error, "severity");
}

}  // namespace

}  // namespace host

using host::Needs;
using host::operation;
using host::Recorded;

int ERR_get_error_text(int status, char** text) {
  host::clear(text);
  if (const host::Turn turn; !turn.is_granted() && text != nullptr) {
    return host::hand_out_shipped_text(status, text);
  }
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
        host::Lists& lists = host::lists();
        lists.severities.clear();
        lists.codes.clear();
        lists.texts.clear();
        for (const host::ErrorEntry& entry : host::errors()) {
          lists.severities.push_back(entry.severity);
          lists.codes.push_back(entry.code);
          lists.texts.push_back(entry.text.c_str());
        }
        *count = static_cast<int>(host::errors().size());
        *severities = lists.severities.data();
        *codes = lists.codes.data();
        *texts = lists.texts.data();
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
      "ERR_clear_errors", Needs::nothing, [] { host::clear_unprotected_errors(); }, Recorded::no);
}

int ERR_clear_last_error(int code) {
  return operation(
      "ERR_clear_last_error", Needs::nothing, [&] { host::clear_last_error(code); }, Recorded::no);
}

int ERR_set_protect_mark(void) {
  return operation(
      "ERR_set_protect_mark", Needs::nothing, [] { host::set_protect_mark(); }, Recorded::no);
}

int ERR_clear_protect_mark(void) {
  return operation(
      "ERR_clear_protect_mark", Needs::nothing, [] { host::clear_protect_mark(); }, Recorded::no);
}
