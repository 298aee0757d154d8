/** @file Watches the handlers that this process calls. */
#pragma once

#include "handler_state.h"

namespace tool {

/**
 * As long as one lives, the state says what this process is at, and what handlers leave behind is
 * told on standard error.
 */
class HandlerWatch {
 public:
  HandlerWatch(HandlerState& state, bool as_json);
  ~HandlerWatch();
  HandlerWatch(const HandlerWatch&) = delete;
  HandlerWatch& operator=(const HandlerWatch&) = delete;

 private:
  HandlerState& state_;
};

/** Has the state say, as long as one lives, that a library is being loaded. */
class LoadingMark {
 public:
  explicit LoadingMark(const char* library);
  ~LoadingMark();
  LoadingMark(const LoadingMark&) = delete;
  LoadingMark& operator=(const LoadingMark&) = delete;
};

/** The clock of the state. */
std::int64_t state_clock();

}  // namespace tool
