/**
 * @file
 * A program that traces, for tests of what a process leaves behind:
 *
 *     trace_program COMMAND...
 *
 * The commands are carried out in order.
 */
#if !defined(_WIN32)
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

#include "support/shared_memory.h"
#include "zolp_basetool.h"

namespace {

/** Says on standard output that a step is done, and waits for a line from standard input. */
void meet() {
  std::puts("ready");
  std::fflush(stdout);
  while (std::getchar() != '\n') {
  }
}

bool has_main_returned = false;

/** Traces when `main` has returned, before the trace library itself tidies up. */
struct AfterMain {
  ~AfterMain() {
    if (is_wanted) {
      ZOLP_ERROR("after main\n");
    }
  }
  bool is_wanted = false;
} after_main;
struct MainEnd {
  ~MainEnd() { has_main_returned = true; }
};

/** One text of each level. */
void levels() {
  ZOLP_ERROR("error\n");
  ZOLP_CRERROR("memory");
  ZOLP_WARNING("warning\n");
  ZOLP_LOG(1, 1, "log\n");
  ZOLP_PRINT_VERINFO("version\n");
  ZOLP_TRACE("trace\n");
  ZOLP_DEBUG("debug\n");
}

void lines(const char* name, int count) {
  for (int i = 0; i < count; ++i) {
    ZOLP_ERROR("%s ", name);
    ZOLP_ERROR("%d of %d\n", i, count);
  }
}

/** Writes lines until it is killed, and counts them in a file that outlives it. */
void count_lines(const char* counter_file) {
  const test::SharedMemory<std::atomic<int>> counter(counter_file);
  for (int i = 0;; ++i) {
    ZOLP_ERROR("line %d ", i);
    ZOLP_ERROR("%s\n", "is whole");
    counter->store(i + 1);
  }
}

#if !defined(_WIN32)

const char* planted_target = nullptr;

void fork_child() {
  ZOLP_ERROR("begun by the parent, ");
  pid_t child = fork();
  if (child == 0) {
    lines("child", 1000);
    std::exit(0);
  }
  int status = 0;
  waitpid(child, &status, 0);
  ZOLP_ERROR("ended by it %d\n", status);
}

void limit_file_size(int size) {
  rlimit limit{static_cast<rlim_t>(size), static_cast<rlim_t>(size)};
  setrlimit(RLIMIT_FSIZE, &limit);
}

/** Closes all descriptors, as programs do that go to the background, and takes them for others. */
void take_descriptors(const char* path) {
  for (int descriptor = 3; descriptor < 64; ++descriptor) {
    close(descriptor);
  }
  for (int descriptor = 3; descriptor < 64; ++descriptor) {
    if (open(path, O_RDWR | O_CREAT, 0666) < 0) {
      _exit(1);
    }
  }
}

/** Writes a text that is longer than the memory that is left. */
void exhaust_memory() {
  std::string text(100 << 20, 'x');
  long pages = 0;
  FILE* memory = std::fopen("/proc/self/statm", "r");
  if (memory == nullptr || std::fscanf(memory, "%ld", &pages) != 1) {
    _exit(1);
  }
  std::fclose(memory);
  rlim_t used = static_cast<rlim_t>(pages) * static_cast<rlim_t>(sysconf(_SC_PAGESIZE));
  rlimit limit{used + (1 << 20), used + (1 << 20)};
  setrlimit(RLIMIT_AS, &limit);
  ZOLP_ERROR("cut %s|\n", text.c_str());
  ZOLP_ERROR("%s\n%s", text.c_str(), "last\n");
}

void* volatile taken_memory = nullptr;

/** Writes a text with line feeds that the buffer cannot hold, when there is no memory at all. */
void exhaust_heap() {
  std::string text(9000, 'x');
  text += "\n";
  ZOLP_ERROR("%s", "before\n");
  rlimit limit{1, 1};
  setrlimit(RLIMIT_AS, &limit);
  for (size_t size = 1 << 20; size > 8; size /= 2) {
    do {
      taken_memory = std::malloc(size);
    } while (taken_memory != nullptr);
  }
  ZOLP_ERROR("%s", text.c_str());
  ZOLP_ERROR("next %d\n", 1);
  ZOLP_CRERROR("memory");
  ZOLP_ERROR("%s", std::string_view("\nseveral\nlines").data());
  ZOLP_ERROR("\n");
  _exit(0);
}

bool is_late = false;

void trace_late(int, void*) {
  if (is_late) {
    ZOLP_ERROR("late %s\n", "line");
  }
}

/**
 * Registered before any library is initialised, and unlike `atexit` not tied to this program's own
 * clean-up: it runs after the trace library has tidied up.
 */
[[gnu::section(".preinit_array"), gnu::used]] void (*const register_trace_late)() = [] {
  on_exit(trace_late, nullptr);
};

/** Carries a command out for which there is no like on other systems. @return false if unknown. */
bool carry_out_on_posix(const std::string& command, char**& argument) {
  if (command == "fork") {
    fork_child();
  } else if (command == "limit") {
    limit_file_size(std::atoi(*++argument));
  } else if (command == "truncate") {
    return truncate(*++argument, 0) == 0;
  } else if (command == "take-descriptors") {
    take_descriptors(*++argument);
  } else if (command == "plant-link") {
    planted_target = *++argument;
  } else if (command == "exhaust-heap") {
    exhaust_heap();
  } else if (command == "exhaust-memory") {
    exhaust_memory();
  } else if (command == "late") {
    is_late = true;
  } else {
    return false;
  }
  return true;
}

#else

bool carry_out_on_posix(const std::string& /*command*/, char**& /*argument*/) {
  return false;
}

#endif

}  // namespace

#if !defined(_WIN32)
/** Somebody who puts a link in the place of a file as soon as it is renamed. */
extern "C" [[gnu::visibility("default")]] int rename(const char* path,
                                                     const char* new_path) noexcept {
  const int result = renameat(AT_FDCWD, path, AT_FDCWD, new_path);
  if (result == 0 && planted_target != nullptr) {
    static_cast<void>(symlink(planted_target, path) == 0);
  }
  return result;
}
#endif

int main(int, char** argument) {
  MainEnd end;
  while (*++argument != nullptr) {
    const std::string command = *argument;
    if (command == "levels") {
      levels();
    } else if (command == "lines") {
      lines(argument[1], std::atoi(argument[2]));
      argument += 2;
    } else if (command == "text") {
      ZOLP_ERROR("%s", *++argument);
    } else if (command == "long") {
      ZOLP_ERROR("%s|\n", std::string(static_cast<size_t>(std::atoi(*++argument)), 'x').c_str());
    } else if (command == "append") {
      std::ofstream(argument[1], std::ios::app) << argument[2];
      argument += 2;
    } else if (command == "folder") {
      std::filesystem::current_path(*++argument);
    } else if (command == "deeper") {
      ZOLP_IncTraceSpaces();
    } else if (command == "capture") {
      ZOLP_SetTraceWriter(
          [](int, const char* line, size_t, void*) {
            if (has_main_returned) {
              std::_Exit(3);
            }
            std::puts(line);
          },
          nullptr);
    } else if (command == "after-main") {
      after_main.is_wanted = true;
    } else if (command == "release") {
      ZOLP_SetTraceWriter(nullptr, nullptr);
    } else if (command == "errno") {
      errno = 7;
      ZOLP_ERROR("%s\n", "errno");
      if (errno != 7) {
        return 1;
      }
    } else if (command == "meet") {
      meet();
    } else if (command == "count") {
      count_lines(*++argument);
    } else if (!carry_out_on_posix(command, argument)) {
      return 2;
    }
  }
  return 0;
}
