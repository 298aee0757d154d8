#include <signal.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>
#if defined(__linux__)
#include <sys/prctl.h>
#endif

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <vector>

#include "error.h"
#include "ignored_signals_posix.h"
#include "os_worker.h"

namespace tool::os {

namespace {

/** Signals that ask the program to end. */
const std::vector<int>& requests() {
  static const std::vector<int> heeded = [] {
    std::vector<int> all = {SIGINT, SIGTERM, SIGHUP};
    std::erase_if(all, is_ignored);
    return all;
  }();
  return heeded;
}

bool is_request(int signal_number) {
  return std::find(requests().begin(), requests().end(), signal_number) != requests().end();
}

sigset_t watched_signals() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGCHLD);
  for (const int signal_number : requests()) {
    sigaddset(&signals, signal_number);
  }
  return signals;
}

/** As it was before a worker was made. */
sigset_t& earlier_signals() {
  static sigset_t signals;
  return signals;
}

struct SignalName {
  int number;
  const char* name;
};

std::string crash_text(int signal_number) {
  static constexpr SignalName names[] = {
      {SIGSEGV, "SIGSEGV"}, {SIGABRT, "SIGABRT"}, {SIGBUS, "SIGBUS"},   {SIGFPE, "SIGFPE"},
      {SIGILL, "SIGILL"},   {SIGKILL, "SIGKILL"}, {SIGTERM, "SIGTERM"}, {SIGINT, "SIGINT"},
      {SIGTRAP, "SIGTRAP"}, {SIGPIPE, "SIGPIPE"}, {SIGALRM, "SIGALRM"}, {SIGSYS, "SIGSYS"}};
  for (const SignalName& known : names) {
    if (known.number == signal_number) {
      return known.name;
    }
  }
  return "signal " + std::to_string(signal_number);
}

/** Whether a request to end the program has come that nobody has looked at. */
bool has_pending_request() {
  sigset_t pending;
  sigpending(&pending);
  return std::any_of(requests().begin(), requests().end(),
                     [&pending](int number) { return sigismember(&pending, number) == 1; });
}

/** The worker is not to outlive the process that waits for it, even when that is killed. */
void end_with_parent(pid_t parent) {
#if defined(__linux__)
  prctl(PR_SET_PDEATHSIG, SIGKILL);
#endif
  if (getppid() != parent) {
    _exit(1);  // it is gone already
  }
}

}  // namespace

Worker::Worker(std::size_t shared_size) : shared_size_(shared_size) {
  shared_ = mmap(nullptr, shared_size, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (shared_ == MAP_FAILED) {
    throw Error("a process for handlers cannot be started", "make room for the program");
  }
  std::fflush(nullptr);
  const sigset_t watched = watched_signals();
  sigprocmask(SIG_BLOCK, &watched, &earlier_signals());
  const pid_t parent = getpid();
  const pid_t process = fork();
  if (process < 0) {
    const std::string why = std::strerror(errno);
    sigprocmask(SIG_SETMASK, &earlier_signals(), nullptr);
    munmap(shared_, shared_size_);
    throw Error("a process for handlers cannot be started (" + why + ")",
                "end some of your processes");
  }
  is_here_ = process == 0;
  if (is_here_) {
    end_with_parent(parent);
    sigprocmask(SIG_SETMASK, &earlier_signals(), nullptr);
  }
  id_ = static_cast<unsigned long>(process);
  process_ = process;
}

Worker::~Worker() {
  if (is_here_) {
    return;  // it tells what it does until the end
  }
  if (process_ != 0) {
    kill();
    wait(-1);
  }
  munmap(shared_, shared_size_);
  sigprocmask(SIG_SETMASK, &earlier_signals(), nullptr);
}

bool Worker::wait(int milliseconds) {
  const sigset_t watched = watched_signals();
  const timespec limit = {milliseconds / 1000, milliseconds % 1000 * 1'000'000L};
  while (process_ != 0) {
    int status = 0;
    const pid_t ended = waitpid(static_cast<pid_t>(process_), &status, WNOHANG);
    if (ended > 0 || (ended < 0 && errno != EINTR)) {
      process_ = 0;
      end_.exit_code = WIFEXITED(status) ? WEXITSTATUS(status) : 0;
      end_.signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
      end_.crash = end_.signal != 0 ? crash_text(end_.signal) : "";
      if (end_.is_own && end_.signal == SIGKILL) {
        end_.signal = request_;
      }
      end_.is_own = is_request(end_.signal) && (end_.is_own || has_pending_request());
      break;
    }
    siginfo_t info;
    const int number =
        milliseconds < 0 ? sigwaitinfo(&watched, &info) : sigtimedwait(&watched, &info, &limit);
    if (number < 0 && errno == EAGAIN) {
      return false;
    }
    if (is_request(number)) {
      if (end_.is_own) {
        kill();  // it has been asked before
      }
      end_.is_own = true;
      request_ = number;
      // A terminal has asked the worker itself.
      if (info.si_code <= 0) {
        ::kill(static_cast<pid_t>(process_), number);
      }
    }
  }
  return true;
}

void Worker::kill() {
  if (process_ != 0) {
    ::kill(static_cast<pid_t>(process_), SIGKILL);
  }
}

void end_like(const ProcessEnd& end) {
  std::fflush(nullptr);
  if (end.signal != 0) {
    signal(end.signal, SIG_DFL);
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, end.signal);
    raise(end.signal);
    sigprocmask(SIG_UNBLOCK, &signals, nullptr);
    _exit(128 + end.signal);
  }
  _exit(end.exit_code);
}

void print_at_once() {
  setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
}

}  // namespace tool::os
