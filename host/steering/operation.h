/**
 * @file
 * The frame around every operation of the platform. An operation clears its out-parameters and does
 * the rest inside `operation`, which plays what tests have injected, sees to it that a session is
 * open, and turns whatever is thrown into a status and an entry of the error stack.
 */
#pragma once

#include <type_traits>

#include "failure.h"
#include "ork/ork.h"
#include "site.h"
#include "steering.h"

namespace host {

enum class Needs { nothing, session };

/** Error operations are left out of the journal: callers make them to report other calls. */
enum class Recorded { no, yes };

/** These put a failure on the error stack and return its status. */
int report(const Failure& failure) noexcept;
int report_current_exception() noexcept;

/** Runs a body that returns nothing; what it throws becomes the status. */
template <typename Body>
int guarded(Body&& body) noexcept {
  try {
    body();
    return ORK_ok;
  } catch (const Failure& failure) {
    return report(failure);
  } catch (...) {
    return report_current_exception();
  }
}

template <typename Body>
int operation(const char* name, Needs needs, Body&& body,
              Recorded recorded = Recorded::yes) noexcept {
  const bool steered = steering().active();
  std::size_t entry = Steering::no_entry;
  const int status = guarded([&] {
    if (steered) {
      steering().begin(name, recorded == Recorded::yes, &entry);
    }
    if (needs == Needs::session) {
      session();
    }
    body();
  });
  if (steered) {
    steering().end(entry, status);
  }
  return status;
}

inline void require(bool condition, const char* what) {
  if (!condition) {
    refuse(ORK_invalid_argument, what);
  }
}

/** Requires that arguments are not null; for out-parameters and texts. */
template <typename... Pointers>
void require_all(const Pointers*... pointers) {
  require(((pointers != nullptr) && ...), "a required argument is null");
}

/** Sets an out-parameter to 0 or null, where there is one. */
template <typename Type>
void clear(Type* out) {
  if (out != nullptr) {
    *out = Type{};
  }
}

}  // namespace host
