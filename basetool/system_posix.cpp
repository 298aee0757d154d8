#include "system.h"

#include <errno.h>
#include <linux/membarrier.h>
#include <pthread.h>
#include <sched.h>
#include <stdlib.h>
#include <string.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdio>

namespace basetool {

const char* environment(const char* variable) {
#if defined(__GLIBC__)
  return secure_getenv(variable);
#else
  return getenv(variable);
#endif
}

unsigned long process_id() {
  return static_cast<unsigned long>(getpid());
}

size_t missing_part(const char* name, const char* folder) {
  return name[0] == '/' ? 0 : strlen(folder);
}

bool current_folder(char* path, size_t size) {
  if (getcwd(path, size - 1) == nullptr) {
    return false;
  }
  const size_t length = strlen(path);
  if (path[length - 1] != '/') {
    strcpy(path + length, "/");
  }
  return true;
}

uint64_t wall_nanoseconds() {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  return static_cast<uint64_t>(now.tv_sec) * 1'000'000'000 + static_cast<uint64_t>(now.tv_nsec);
}

bool read_local_time(int64_t seconds, std::tm& parts) {
  const time_t time = seconds;
  return localtime_r(&time, &parts) != nullptr;
}

void call_at_end_of_main(void (*function)()) {
  // What belongs to a thread is destroyed before anything else when that thread ends the program.
  struct Ending {
    ~Ending() {
      if (function != nullptr) {
        function();
      }
    }
    void (*function)() = nullptr;
  };
  thread_local Ending ending;
  if (is_initial_thread()) {
    ending.function = function;
  }
  static bool is_registered = false;
  if (!is_registered) {
    is_registered = true;
    std::atexit(function);
  }
}

void call_around_forks(void (*before)(), void (*in_parent)(), void (*in_child)()) {
  pthread_atfork(before, in_parent, in_child);
}

uint64_t thread_id() {
  return static_cast<uint64_t>(syscall(SYS_gettid));
}

namespace {
constinit thread_local void* memory_of_thread = nullptr;
}

bool has_thread_memory() {
  return memory_of_thread != nullptr;
}

bool is_initial_thread() {
  return thread_id() == process_id();
}

void* thread_memory(size_t size, void (*at_end)(void*)) {
  struct Ending {
    ~Ending() {
      if (memory_of_thread != nullptr) {
        at_end(memory_of_thread);
        free(memory_of_thread);
        memory_of_thread = nullptr;
      }
    }
    void (*at_end)(void*) = nullptr;
  };
  static thread_local Ending ending;
  if (memory_of_thread == nullptr) {
    memory_of_thread = calloc(1, size);
    ending.at_end = at_end;
  }
  return memory_of_thread;
}

void read_program_name(char* name, size_t size) {
  const ssize_t length = readlink("/proc/self/exe", name, size - 1);
  name[length > 0 ? length : 0] = '\0';
}

uint64_t elapsed_nanoseconds() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<uint64_t>(now.tv_sec) * 1'000'000'000 + static_cast<uint64_t>(now.tv_nsec);
}

void Mutex::lock() {
  pthread_mutex_lock(&mutex_);
}

void Mutex::unlock() {
  pthread_mutex_unlock(&mutex_);
}

bool Mutex::is_abandoned() {
  return false;  // threads go on until the very end
}

void Mutex::reset() {
  pthread_mutex_init(&mutex_, nullptr);
}

void yield_processor() {
  sched_yield();
}

bool share_barriers() {
  return syscall(SYS_membarrier, MEMBARRIER_CMD_REGISTER_PRIVATE_EXPEDITED, 0, 0) == 0;
}

void issue_barriers() {
  syscall(SYS_membarrier, MEMBARRIER_CMD_PRIVATE_EXPEDITED, 0, 0);
}

ErrorKeeper::ErrorKeeper() : kept_errno_(errno) {}
ErrorKeeper::~ErrorKeeper() {
  errno = kept_errno_;
}

int system_error() {
  return errno;
}

const char* text_of_error(int code) {
  return strerror(code);
}

}  // namespace basetool
