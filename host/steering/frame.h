/**
 * @file
 * The frame around every operation of the platform: it refuses threads whose turn it is not, plays
 * what tests have injected, and turns whatever is thrown into a status and an entry of the error
 * stack.
 */
#pragma once

#include <cstddef>

#include "failure.h"
#include "ork/ork.h"
#include "steering.h"
#include "turn.h"

namespace host {

/** Error operations are left out of the journal: callers make them to report other calls. */
enum class Recorded { no, yes };

/** These put a failure on the error stack and return its status. */
int report(const Failure& failure) noexcept;
int report_current_exception() noexcept;

/** Runs a body that returns nothing; what it throws becomes the status. */
template <typename Body>
int status_of(Body&& body) noexcept {
  try {
    body();
    return ORK_ok;
  } catch (const Failure& failure) {
    return report(failure);
  } catch (...) {
    return report_current_exception();
  }
}

/** The same for a call from outside, which other threads are refused. */
template <typename Body>
int guarded(Body&& body) noexcept {
  const Turn turn;
  // The error stack is the other thread's, too.
  return turn.is_granted() ? status_of(body) : ORK_wrong_thread;
}

template <typename Body>
int framed(const char* name, Recorded recorded, Body&& body) noexcept {
  const Turn turn;
  if (!turn.is_granted()) {
    return ORK_wrong_thread;
  }
  const bool steered = steering().active();
  std::size_t entry = Steering::no_entry;
  const int status = status_of([&] {
    if (!steered) {
      return body();
    }
    const OperationMark mark(name);
    steering().begin(name, recorded == Recorded::yes, &entry);
    body();
  });
  if (steered) {
    steering().end(name, recorded == Recorded::yes, entry, status);
  }
  return status;
}

}  // namespace host
