#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <stdexcept>
#include <utility>

#include "process.h"

extern char** environ;  // NOLINT(readability-redundant-declaration): the C library declares it not

namespace test {

namespace {

std::vector<char*> pointers(const std::vector<std::string>& texts) {
  std::vector<char*> result;
  for (const std::string& text : texts) {
    result.push_back(const_cast<char*>(text.c_str()));
  }
  result.push_back(nullptr);
  return result;
}

}  // namespace

std::vector<std::string> own_environment() {
  std::vector<std::string> variables;
  for (char** variable = environ; *variable != nullptr; ++variable) {
    variables.emplace_back(*variable);
  }
  return variables;
}

std::size_t peak_memory() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return static_cast<std::size_t>(usage.ru_maxrss) << 10;
}

Process::Process(const Launch& launch) {
  int input[2];
  int output[2];
  if (pipe2(input, O_CLOEXEC) != 0 || pipe2(output, O_CLOEXEC) != 0) {
    throw std::runtime_error("no pipes");
  }
  if (!launch.has_reader) {
    close(std::exchange(output[0], -1));
  }
  const std::vector<char*> arguments = pointers(launch.command);
  const std::vector<char*> environment = pointers(launch.environment);
  const pid_t child = fork();
  if (child < 0) {
    throw std::runtime_error("no process");
  }
  if (child == 0) {
    if (launch.output.empty()) {
      dup2(input[0], STDIN_FILENO);
      dup2(output[1], STDOUT_FILENO);
    } else {
      dup2(open("/dev/null", O_RDONLY), STDIN_FILENO);
      dup2(open(launch.output.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666), STDOUT_FILENO);
    }
    if (!launch.error.empty()) {
      dup2(open(launch.error.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0666), STDERR_FILENO);
    }
    execve(arguments[0], arguments.data(), environment.data());
    _exit(127);
  }
  id_ = static_cast<unsigned long>(child);
  process_ = child;
  close(input[0]);
  close(output[1]);
  input_ = input[1];
  output_ = output[0];
}

Process::~Process() {
  if (process_ != -1) {
    kill();
    wait();
  }
  close_input();
  if (output_ != -1) {
    close(static_cast<int>(output_));
  }
}

bool Process::write(const std::string& text) {
  return ::write(static_cast<int>(input_), text.data(), text.size()) ==
         static_cast<ssize_t>(text.size());
}

void Process::close_input() {
  if (input_ != -1) {
    close(static_cast<int>(input_));
  }
  input_ = -1;
}

bool Process::read(char& character) {
  return ::read(static_cast<int>(output_), &character, 1) == 1;
}

void Process::kill() {
  ::kill(static_cast<pid_t>(process_), SIGKILL);
  siginfo_t ignored;
  waitid(P_PID, static_cast<id_t>(process_), &ignored, WEXITED | WNOWAIT);
}

void Process::interrupt() {
  ::kill(static_cast<pid_t>(process_), SIGINT);
}

int Process::wait() {
  if (process_ != -1) {
    int status = 0;
    waitpid(static_cast<pid_t>(process_), &status, 0);
    process_ = -1;
    result_ = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  }
  return result_;
}

}  // namespace test
