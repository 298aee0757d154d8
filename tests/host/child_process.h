/** @file A process that a test runs beside itself. */
#pragma once

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <stdexcept>
#include <string>
#include <vector>

namespace test {

class ChildProcess {
 public:
  explicit ChildProcess(std::vector<std::string> command) {
    int input[2];
    int output[2];
    if (pipe(input) != 0 || pipe(output) != 0) {
      throw std::runtime_error("no pipe");
    }
    id_ = fork();
    if (id_ < 0) {
      throw std::runtime_error("no process");
    }
    if (id_ == 0) {
      run(std::move(command), input, output);
    }
    close(input[0]);
    close(output[1]);
    input_ = input[1];
    output_ = fdopen(output[0], "r");
  }
  ~ChildProcess() {
    kill_and_keep();
    wait();
    std::fclose(output_);
    if (input_ >= 0) {
      close(input_);
    }
  }
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  /** The next line that it writes, without line feed; empty at the end. */
  std::string read_line() {
    std::string line;
    for (int letter = std::fgetc(output_); letter != EOF && letter != '\n';
         letter = std::fgetc(output_)) {
      line += static_cast<char>(letter);
    }
    return line;
  }

  /** Ends its standard input. */
  void close_input() {
    close(input_);
    input_ = -1;
  }

  /** Kills it in whatever it is at. It stays as a process that has ended, but was not waited for.
   */
  void kill_and_keep() {
    if (is_waited_for_) {
      return;
    }
    kill(id_, SIGKILL);
    siginfo_t ignored;
    waitid(P_PID, static_cast<id_t>(id_), &ignored, WEXITED | WNOWAIT);
  }

  /** Waits for its end and returns its exit code; -1 when a signal ended it. */
  int wait() {
    if (!is_waited_for_) {
      waitpid(id_, &result_, 0);
    }
    is_waited_for_ = true;
    return WIFEXITED(result_) ? WEXITSTATUS(result_) : -1;
  }

 private:
  [[noreturn]] static void run(std::vector<std::string> command, int* input, int* output) {
    dup2(input[0], STDIN_FILENO);
    dup2(output[1], STDOUT_FILENO);
    for (const int end : {input[0], input[1], output[0], output[1]}) {
      close(end);
    }
    std::vector<char*> arguments;
    for (std::string& argument : command) {
      arguments.push_back(argument.data());
    }
    arguments.push_back(nullptr);
    execv(arguments[0], arguments.data());
    _exit(127);
  }

  pid_t id_ = -1;
  int input_ = -1;
  std::FILE* output_ = nullptr;
  int result_ = 0;
  bool is_waited_for_ = false;
};

}  // namespace test
