/**
 * @file
 * Whose turn it is: one thread at a time may use the host, and while a site is open, the one that
 * opened it. The others are refused; the comparison costs a few nanoseconds, and a host that two
 * threads change at once would be of no use to either.
 */
#pragma once

#include <atomic>
#include <thread>

namespace host {

class Turn {
 public:
  Turn() noexcept;
  ~Turn();
  Turn(const Turn&) = delete;
  Turn& operator=(const Turn&) = delete;

  bool is_granted() const { return is_granted_; }

  /** Whether the calling thread has the turn. */
  static bool is_ours() noexcept;

  /** Keeps the turn for the calling thread, which has it, when its call ends; or no longer. */
  static void keep(bool is_kept) noexcept;

  /** When the calling thread's call ends, the turn is kept for the thread that calls next. */
  static void hand_over() noexcept;

 private:
  bool is_granted_;
};

}  // namespace host
