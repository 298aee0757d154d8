/** @file Runs trace_program with an environment of its own. */
#pragma once

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <initializer_list>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/temporary_folder.h"

namespace test {

/** A running trace_program; its standard error goes to the folder's file "stderr". */
class ChildProgram {
 public:
  ChildProgram(const TemporaryFolder& folder, std::vector<std::string> environment,
               std::vector<std::string> commands, const std::string& standard_error = "stderr") {
    int to_child[2];
    int from_child[2];
    if (pipe2(to_child, O_CLOEXEC) != 0 || pipe2(from_child, O_CLOEXEC) != 0) {
      throw std::runtime_error("no pipes");
    }
    std::string errors = folder.path(standard_error);
    commands.insert(commands.begin(), TRACE_PROGRAM);
    std::vector<char*> argument_pointers = pointers(commands);
    std::vector<char*> environment_pointers = pointers(environment);
    process_ = fork();
    if (process_ == 0) {
      dup2(to_child[0], STDIN_FILENO);
      dup2(from_child[1], STDOUT_FILENO);
      dup2(open(errors.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0666), STDERR_FILENO);
      execve(TRACE_PROGRAM, argument_pointers.data(), environment_pointers.data());
      _exit(127);
    }
    close(to_child[0]);
    close(from_child[1]);
    input_ = to_child[1];
    output_ = from_child[0];
  }
  ~ChildProgram() {
    close(input_);
    close(output_);
    if (process_ > 0) {
      kill();
      wait();
    }
  }
  ChildProgram(const ChildProgram&) = delete;
  ChildProgram& operator=(const ChildProgram&) = delete;

  /** Waits until it has come to its next "meet". */
  void meet() {
    char character = '\0';
    while (character != '\n' && read(output_, &character, 1) == 1) {
    }
  }
  /** Lets it go on after a "meet". */
  void go_on() {
    if (write(input_, "\n", 1) != 1) {
      throw std::runtime_error("the child is gone");
    }
  }
  void kill() { ::kill(process_, SIGKILL); }

  /** @return exit code, or the negative number of the signal that ended it. */
  int wait() {
    int status = 0;
    waitpid(process_, &status, 0);
    process_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  }
  pid_t process() const { return process_; }

 private:
  static std::vector<char*> pointers(std::vector<std::string>& texts) {
    std::vector<char*> result;
    for (std::string& text : texts) {
      result.push_back(text.data());
    }
    result.push_back(nullptr);
    return result;
  }

  pid_t process_ = -1;
  int input_ = -1;
  int output_ = -1;
};

/** Runs trace_program to its end. @return as `ChildProgram::wait`. */
inline int run_program(const TemporaryFolder& folder, std::vector<std::string> environment,
                       std::vector<std::string> commands,
                       const std::string& standard_error = "stderr") {
  return ChildProgram(folder, std::move(environment), std::move(commands), standard_error).wait();
}

}  // namespace test
