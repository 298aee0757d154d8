/** @file A program that a test runs beside itself. */
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace test {

/** What a program gets. */
struct Launch {
  std::vector<std::string> command;     /**< path and arguments */
  std::vector<std::string> environment; /**< as "NAME=value" */
  std::string output;                   /**< file for its standard output; empty for a pipe */
  std::string error; /**< file that its standard error is appended to; empty for the test's own */
  bool has_reader = true; /**< whether anybody reads the pipe of its standard output */
};

/** The test's own environment, as "NAME=value". */
std::vector<std::string> own_environment();

/** The most memory that the test's own process has had so far, in bytes. */
std::size_t peak_memory();

/** A running program. With a file for its output it has no input either. */
class Process {
 public:
  /** What `wait` returns for a program that was killed, interrupted, or had nobody to read it. */
  static constexpr int killed = -9;
  static constexpr int interrupted = -2;
  static constexpr int unread = -13;

  explicit Process(const Launch& launch);
  /** Kills it if it still runs. */
  ~Process();
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;

  unsigned long id() const { return id_; }

  /** Writes to its standard input. @return false when it does not read any more. */
  bool write(const std::string& text);

  /** Ends its standard input. */
  void close_input();

  /** The next line that it writes to its standard output, without its end; empty at the end. */
  std::string read_line();

  /** Kills it in whatever it is at, and waits for that; the system still knows of it. */
  void kill();

  /** Asks it to end, as Ctrl-C does. Not on Windows, where nobody can ask a single process. */
  void interrupt();

  /** Waits for its end. @return its exit code, or the negative number of the signal that ended it.
   */
  int wait();

 private:
  bool read(char& character);

  unsigned long id_ = 0;
  std::intptr_t process_ = -1; /**< what the system knows it by; -1 once it was waited for */
  std::intptr_t input_ = -1;
  std::intptr_t output_ = -1;
  int result_ = -1;
};

}  // namespace test
