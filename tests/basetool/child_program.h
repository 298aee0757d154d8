/** @file Runs trace_program with an environment of its own. */
#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include "support/process.h"
#include "support/temporary_folder.h"

namespace test {

/** A running program; its standard error goes to the folder's file "stderr". */
class ProgramRun : public Process {
 public:
  ProgramRun(const std::string& program, const TemporaryFolder& folder,
             std::vector<std::string> environment, std::vector<std::string> commands,
             const std::string& standard_error = "stderr")
      : Process({with_program(program, std::move(commands)), std::move(environment), "",
                 folder.path(standard_error)}) {}

  /** Waits until it has come to its next "meet". */
  void meet() { read_line(); }

  /** Lets it go on after a "meet". */
  void go_on() {
    if (!write("\n")) {
      throw std::runtime_error("the child is gone");
    }
  }

 private:
  static std::vector<std::string> with_program(const std::string& program,
                                               std::vector<std::string> commands) {
    commands.insert(commands.begin(), program);
    return commands;
  }
};

/** A running trace_program. */
class ChildProgram : public ProgramRun {
 public:
  ChildProgram(const TemporaryFolder& folder, std::vector<std::string> environment,
               std::vector<std::string> commands, const std::string& standard_error = "stderr")
      : ProgramRun(TRACE_PROGRAM, folder, std::move(environment), std::move(commands),
                   standard_error) {}
};

/** Runs a program to its end. @return as `ProgramRun::wait`. */
inline int run_program_at(const std::string& program, const TemporaryFolder& folder,
                          std::vector<std::string> environment, std::vector<std::string> commands) {
  return ProgramRun(program, folder, std::move(environment), std::move(commands)).wait();
}

/** Runs trace_program to its end. @return as `ChildProgram::wait`. */
inline int run_program(const TemporaryFolder& folder, std::vector<std::string> environment,
                       std::vector<std::string> commands,
                       const std::string& standard_error = "stderr") {
  return ChildProgram(folder, std::move(environment), std::move(commands), standard_error).wait();
}

}  // namespace test
