#include <fcntl.h>
#include <fnmatch.h>
#include <signal.h>
#include <spawn.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <termios.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <memory>
#include <utility>

#include "ignored_signals_posix.h"
#include "os.h"

namespace tool::os {

namespace {

volatile sig_atomic_t interrupted = 0;  /**< the signal, or 0 */
volatile sig_atomic_t empty_input = -1; /**< what takes the place of standard input then, or -1 */
bool is_watching = false;
void (*before_pager)(int) = SIG_DFL; /**< what an interruption did */

void note(int signal_number) {
  interrupted = signal_number;
  if (empty_input != -1) {
    const int earlier = errno;
    dup2(empty_input, STDIN_FILENO);
    errno = earlier;
  }
}

/** @param flags whether calls of the system that are interrupted go on. */
void watch(int flags) {
  is_watching = true;
  struct sigaction action = {};
  action.sa_handler = note;
  action.sa_flags = flags | static_cast<int>(SA_RESETHAND);
  for (const int signal_number : {SIGINT, SIGTERM, SIGHUP}) {
    if (!is_ignored(signal_number)) {
      sigaction(signal_number, &action, nullptr);
    }
  }
  // Nobody reads what is printed any more: that is seen once what has been begun is undone.
  action.sa_flags = flags;
  sigaction(SIGPIPE, &action, nullptr);
}

/** A terminal that does not show what is typed; it shows it again in the end. */
class SilentTerminal {
 public:
  explicit SilentTerminal(std::FILE* terminal) : file_(fileno(terminal)) {
    tcgetattr(file_, &earlier_);
    termios silent = earlier_;
    silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    tcsetattr(file_, TCSAFLUSH, &silent);
  }
  ~SilentTerminal() { tcsetattr(file_, TCSAFLUSH, &earlier_); }
  SilentTerminal(const SilentTerminal&) = delete;
  SilentTerminal& operator=(const SilentTerminal&) = delete;

 private:
  int file_;
  termios earlier_{};
};

}  // namespace

void prepare_process() {
  // Terminals show UTF-8.
  signal(SIGXFSZ, SIG_IGN);
  // Who starts programs without waiting for them has SIGCHLD ignored: then the system would not
  // tell how those have ended that this one starts.
  signal(SIGCHLD, SIG_DFL);
}

bool is_error_on_terminal() {
  return isatty(STDERR_FILENO) != 0;
}

bool is_input_on_terminal() {
  return isatty(STDIN_FILENO) != 0;
}

void pass_bytes_unchanged(std::FILE*) {}

bool is_output_on_terminal() {
  return isatty(STDOUT_FILENO) != 0;
}

OutputProgram start_pager(const std::string& command) {
  constexpr const char* usual =
      "if command -v less >/dev/null; then exec less -FRSX; else exec more; fi";
  std::fflush(stdout);
  OutputProgram pager;
  pager.pipe = popen(command.empty() ? usual : command.c_str(), "w");
  if (pager.pipe != nullptr) {
    pager.earlier_output = dup(STDOUT_FILENO);
    dup2(fileno(pager.pipe), STDOUT_FILENO);
    // An interruption is the pager's: it stays, and so must what feeds it.
    before_pager = signal(SIGINT, SIG_IGN);
  }
  return pager;
}

void end_pager(const OutputProgram& pager) {
  if (pager.pipe != nullptr) {
    restore_standard_output(pager.earlier_output);
    pclose(pager.pipe);
    signal(SIGINT, before_pager);
  }
}

void pause_milliseconds(int milliseconds) {
  const timespec pause = {milliseconds / 1000, milliseconds % 1000 * 1'000'000L};
  nanosleep(&pause, nullptr);
}

bool is_accessible(const std::string& path) {
  return access(path.c_str(), R_OK | W_OK) == 0;
}

bool fits_file_template(const std::string& name, const std::string& file_template) {
  return fnmatch(file_template.c_str(), name.c_str(), FNM_CASEFOLD) == 0;
}

bool is_file_name(const std::string&) {
  return true;
}

bool make_private_folder(const std::filesystem::path& path) {
  return mkdir(path.c_str(), S_IRWXU) == 0;
}

bool move_without_replacing(const std::filesystem::path& from, const std::filesystem::path& to) {
#if defined(RENAME_NOREPLACE)
  if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) {
    return true;
  }
  if (errno != EINVAL && errno != ENOSYS) {
    return false;
  }
#endif
  // A file system without that: a link never replaces. A folder can only replace an empty one.
  if (!std::filesystem::is_directory(from)) {
    return link(from.c_str(), to.c_str()) == 0 && unlink(from.c_str()) == 0;
  }
  if (access(to.c_str(), F_OK) == 0) {
    errno = EEXIST;
    return false;
  }
  return rename(from.c_str(), to.c_str()) == 0;
}

void set_variable(const char* name, const std::string& value) {
  setenv(name, value.c_str(), 1);
}

std::filesystem::path make_work_folder(const std::filesystem::path& parent) {
  std::string pattern = (parent / ".zolp-XXXXXX").string();
  return mkdtemp(pattern.data()) != nullptr ? pattern : "";
}

void watch_for_interruption() {
  watch(SA_RESTART);
}

InterruptibleReads::InterruptibleReads() {
  if (is_watching) {
    empty_input = open("/dev/null", O_RDONLY | O_CLOEXEC);
    watch(0);
  }
}

InterruptibleReads::~InterruptibleReads() {
  const int earlier = std::exchange(empty_input, -1);
  if (earlier != -1) {
    close(earlier);
  }
  if (is_watching && !was_interrupted()) {
    watch(SA_RESTART);
  }
}

bool was_interrupted() {
  return interrupted != 0;
}

void end_as_interrupted() {
  std::fflush(stdout);
  const int signal_number = interrupted;
  signal(signal_number, SIG_DFL);
  raise(signal_number);
  _exit(128 + signal_number);  // where it is blocked
}

std::optional<std::string> ask_secretly(const std::string& question) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> terminal(std::fopen("/dev/tty", "r+e"),
                                                                 std::fclose);
  if (terminal == nullptr) {
    return std::nullopt;
  }
  watch(0);  // the terminal is to be as it was; reading ends
  std::string answer;
  {
    const SilentTerminal silence(terminal.get());
    std::fputs(question.c_str(), terminal.get());
    std::fflush(terminal.get());
    char character = 0;
    while (read(fileno(terminal.get()), &character, 1) == 1 && character != '\n') {
      answer += character;
    }
  }
  std::fputs("\n", terminal.get());
  return answer;
}

bool run_program(const std::string& name, const std::vector<std::string>& arguments) {
  std::vector<char*> texts{const_cast<char*>(name.c_str())};
  for (const std::string& argument : arguments) {
    texts.push_back(const_cast<char*>(argument.c_str()));
  }
  texts.push_back(nullptr);
  pid_t process = 0;
  if (posix_spawnp(&process, name.c_str(), nullptr, nullptr, texts.data(), environ) != 0) {
    return false;
  }
  int status = 0;
  while (waitpid(process, &status, 0) < 0) {
    if (errno != EINTR) {
      return false;
    }
  }
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

int redirect_standard_output(Redirection where) {
  std::fflush(stdout);
  const int earlier = dup(STDOUT_FILENO);
  if (where == Redirection::to_standard_error) {
    dup2(STDERR_FILENO, STDOUT_FILENO);
  } else if (const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC); nowhere >= 0) {
    dup2(nowhere, STDOUT_FILENO);
    close(nowhere);
  }
  return earlier;
}

void restore_standard_output(int earlier) {
  std::fflush(stdout);
  if (earlier < 0) {
    return;
  }
  dup2(earlier, STDOUT_FILENO);
  close(earlier);
}

}  // namespace tool::os
