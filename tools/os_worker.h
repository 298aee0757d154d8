/** @file A second process of this program, which does what might end a process. */
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace tool::os {

/** How a process has ended. */
struct ProcessEnd {
  int exit_code = 0;
  int signal = 0;      /**< that ended it, or what the system says instead; 0 for none */
  std::string crash;   /**< the signal's name and what it means: "SIGSEGV, ..."; empty for none */
  bool is_own = false; /**< it ended because this process was asked to end, too */
};

/**
 * The program goes on twice from where one is made: in the process that was, which waits for the
 * other one, and in that other one, the worker. Where a system cannot split processes, the worker
 * is started with the same command line, and gets here by itself.
 *
 * The worker ends with the process that waits for it, and requests to end the program are its, too.
 */
class Worker {
 public:
  /** @param shared_size bytes of memory that both have, all of them 0 at first. */
  explicit Worker(std::size_t shared_size);
  ~Worker();
  Worker(const Worker&) = delete;
  Worker& operator=(const Worker&) = delete;

  /** Whether this process is the worker. */
  bool is_here() const { return is_here_; }

  void* shared() const { return shared_; }

  /** The worker's process, for the process that waits. */
  unsigned long id() const { return id_; }

  /**
   * Waits for the worker's end.
   * @param milliseconds how long at most; for ever when negative.
   * @return whether it has ended.
   */
  bool wait(int milliseconds);

  /** Ends it, whatever it is at. */
  void kill();

  /** How it has ended. */
  const ProcessEnd& end() const { return end_; }

 private:
  bool is_here_ = false;
  void* shared_ = nullptr;
  std::size_t shared_size_ = 0;
  unsigned long id_ = 0;
  std::intptr_t process_ = 0; /**< what the system knows it by */
  int request_ = 0;           /**< the signal by which this process was asked to end */
  ProcessEnd end_;
};

/** Ends this process as another one has ended, of which nothing needs to be said. */
[[noreturn]] void end_like(const ProcessEnd& end);

/** Has what is printed appear at once: what a process prints before it crashes is worth reading. */
void print_at_once();

}  // namespace tool::os
