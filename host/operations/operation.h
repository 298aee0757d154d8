/**
 * @file
 * What all operations begin with. An operation clears its out-parameters and does the rest inside
 * `operation`, the frame (frame.h) of a call that may need an open session.
 */
#pragma once

#include "failure.h"
#include "frame.h"
#include "ork/ork.h"
#include "site.h"

namespace host {

enum class Needs { nothing, session };

template <typename Body>
int operation(const char* name, Needs needs, Body&& body,
              Recorded recorded = Recorded::yes) noexcept {
  return framed(name, recorded, [&] {
    if (needs == Needs::session) {
      session();
    }
    body();
  });
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
