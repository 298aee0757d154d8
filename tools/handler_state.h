/** @file What a process that calls handlers tells the one that waits for it, in memory of both. */
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace tool {

/** A handler that has been called and has not returned. */
struct RunningHandler {
  char name[129];
  char task_name[129];
  char job_name[129];
  std::uint32_t task;
  std::uint32_t job;
  std::int32_t action;
  std::atomic<std::int64_t> since; /**< milliseconds of a clock that both processes read */
};

/** A call of a platform operation. */
struct ObservedCall {
  char operation[64];
  char function[96]; /**< the traced function that makes it; empty for none */
  std::int32_t status;
  bool has_ended;
};

enum class Phase : std::int32_t { beginning, loading, working, finished };

/** All of it is 0 at first. */
struct HandlerState {
  static constexpr std::size_t most_handlers =
      24; /**< more than the engine lets run in one another */
  static constexpr std::size_t most_calls = 12;

  std::atomic<Phase> phase;
  std::atomic<std::int64_t> loading_since;
  char library[1024]; /**< that is being loaded */
  std::atomic<std::uint32_t> depth;
  RunningHandler handlers[most_handlers]; /**< each is called inside the one before */
  std::uint32_t calls;                    /**< how many there were since the outermost began */
  ObservedCall last_calls[most_calls];    /**< a ring */
};

}  // namespace tool
