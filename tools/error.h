/** @file Failures of a command, as the user is told about them. */
#pragma once

#include <stdexcept>
#include <string>

namespace tool {

enum ExitCode { exit_ok = 0, exit_failure = 1, exit_usage = 2 };

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
      : std::runtime_error(problem + ": " + advice), exit_code_(exit_code) {}

  ExitCode exit_code() const { return exit_code_; }

 private:
  ExitCode exit_code_;
};

/** The command line is wrong in a way that the parser does not see. */
inline Error usage_error(const std::string& problem, const std::string& advice) {
  return {problem, advice, exit_usage};
}

}  // namespace tool
