/** @file Failures of a command, as the user is told about them. */
#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace tool {

enum ExitCode { exit_ok = 0, exit_failure = 1, exit_usage = 2 };

/** An entry of the platform's error stack. */
struct ErrorEntry {
  std::string severity; /**< "information", "warning" or "error" */
  int code = 0;
  std::string text;
};

/** The workflow handler by which a command has failed. */
struct FailedHandler {
  std::string name, task, job;
  std::string action;               /**< "start", "complete" or "run" */
  std::string ended;                /**< "failure", "crash", "exit" or "timeout" */
  std::string signal;               /**< of a crash: "SIGSEGV"; empty for none */
  int exit_code = 0;                /**< of an exit */
  std::vector<std::string> remarks; /**< what became of its job */
  std::vector<std::string> calls;   /**< its last ones, the newest last */
};

/**
 * A command cannot go on. Thrown where it happens and reported once, by `main`: a command is a
 * straight line of steps, and whatever it has begun is undone by destructors on the way out.
 */
class Error : public std::runtime_error {
 public:
  /**
   * @param problem what is wrong.
   * @param advice what the user can do about it.
   */
  Error(const std::string& problem, const std::string& advice, ExitCode exit_code = exit_failure)
      : std::runtime_error(problem + ": " + advice),
        problem_(problem),
        advice_(advice),
        exit_code_(exit_code) {}

  /** The same for a failure of the platform: its code, and what stood on its error stack. */
  Error(const std::string& problem, const std::string& advice, int code,
        std::vector<ErrorEntry> stack)
      : Error(problem, advice) {
    code_ = code;
    stack_ = std::move(stack);
  }

  const std::string& problem() const { return problem_; }
  const std::string& advice() const { return advice_; }
  ExitCode exit_code() const { return exit_code_; }
  /** The platform's code; 0 for what the program itself refuses. */
  int code() const { return code_; }
  const std::vector<ErrorEntry>& stack() const { return stack_; }
  /** The handler that has failed; of others, none. */
  const std::optional<FailedHandler>& handler() const { return handler_; }

  Error& blame(FailedHandler handler) {
    handler_ = std::move(handler);
    return *this;
  }

 private:
  std::string problem_, advice_;
  ExitCode exit_code_;
  int code_ = 0;
  std::vector<ErrorEntry> stack_;
  std::optional<FailedHandler> handler_;
};

/** The command line is wrong in a way that the parser does not see. */
inline Error usage_error(const std::string& problem, const std::string& advice) {
  return {problem, advice, exit_usage};
}

}  // namespace tool
