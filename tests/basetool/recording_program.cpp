/**
 * @file
 * A customer's program that traces its own functions and platform calls, for tests of what is shown
 * and recorded of them:
 *
 *     recording_program COMMAND...
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
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "support/shared_memory.h"
#include "zolp_call_frame.h"

namespace {

int platform_call(int status) {
  return status;
}

int guarded_function(int status) {
  ZOLP_ENTER("guarded_function");
  ZOLP_GUARDED(platform_call(status));
  return ZOLP_LEAVE(0);
}

int traced_function(int status, int guarded_status) {
  int result = 0;
  ZOLP_ENTER("traced_function");
  ZOLP_TRACED(result, platform_call(status));
  ZOLP_WARNING("a remark of %d\n", status);
  guarded_function(guarded_status);
  return ZOLP_LEAVE(result);
}

int numbered_function(int number) {
  ZOLP_ENTER("numbered_function");
  return ZOLP_LEAVE(number);
}

void count_functions(const char* counter_file) {
  const test::SharedMemory<std::atomic<int>> counter(counter_file);
  for (int i = 1;; ++i) {
    numbered_function(i);
    counter->store(i);
  }
}

/** Several threads that do all that a thread can do to the trace. */
void run_threads(int threads, int rounds) {
  std::vector<std::thread> running;
  for (int thread = 0; thread < threads; ++thread) {
    running.emplace_back([thread, rounds] {
      for (int i = 0; i < rounds; ++i) {
        numbered_function(thread * 1'000'000 + i);
        ZOLP_ERROR("thread %d ", thread);
        ZOLP_ERROR("round %d\nis %s\n", i, "whole");
        ZOLP_SetTraceLevel(i % 2 == 0 ? ZOLP_LEVEL_ERROR : ZOLP_LEVEL_WARNING);
      }
      ZOLP_ERROR("the end of %d", thread);
    });
  }
  for (int i = 0; i < rounds; ++i) {
    ZOLP_ERROR("first %d ", i);
    ZOLP_ERROR("is %s\n", "whole");
  }
  for (std::thread& thread : running) {
    thread.join();
  }
}

/** Threads that come one after the other; a system may give the next one all that the last had. */
void run_threads_in_turn(int threads) {
  for (int thread = 0; thread < threads; ++thread) {
    std::thread([thread] {
      ZOLP_IncTraceSpaces();
      numbered_function(thread);
      ZOLP_ERROR("thread %d", thread);
    }).join();
  }
}

#if !defined(_WIN32)

int fork_child() {
  numbered_function(1);
  const pid_t child = fork();
  if (child == 0) {
    numbered_function(2);
    _exit(0);
  }
  int status = 0;
  waitpid(child, &status, 0);
  numbered_function(3);
  return status;
}

int carry_out_on_posix(const std::string& command, char**& argument) {
  if (command == "fork") {
    return fork_child();
  }
  if (command == "limit") {
    const rlimit limit{100'000, 100'000};
    return setrlimit(RLIMIT_FSIZE, &limit);
  }
  if (command == "truncate") {
    return truncate(*++argument, 0);
  }
  if (command == "close-all") {
    for (int descriptor = 3; descriptor < 64; ++descriptor) {
      close(descriptor);
    }
    return 0;
  }
  if (command == "exec") {
    return execl("/bin/true", "true", nullptr);
  }
  return 2;
}

#else

int carry_out_on_posix(const std::string& /*command*/, char**& /*argument*/) {
  return 2;
}

#endif

int carry_out(char**& argument) {
  const std::string command = *argument;
  if (command == "fail") {
    traced_function(515001, 42);
  } else if (command == "calls") {
    for (int i = 0, count = std::atoi(*++argument); i < count; ++i) {
      numbered_function(i);
    }
  } else if (command == "threads") {
    run_threads(std::atoi(argument[1]), std::atoi(argument[2]));
    argument += 2;
  } else if (command == "threads-in-turn") {
    run_threads_in_turn(std::atoi(*++argument));
  } else if (command == "count") {
    count_functions(*++argument);
  } else if (command == "record") {
    std::printf("%d\n", ZOLP_SetTraceRecording(*++argument, 0));
  } else if (command == "stop") {
    std::printf("%d\n", ZOLP_SetTraceRecording(nullptr, 0));
  } else if (command == "meet") {
    std::puts("ready");
    std::fflush(stdout);
    while (std::getchar() != '\n') {
    }
  } else if (command == "quit") {
    std::_Exit(0);
  } else {
    return carry_out_on_posix(command, argument);
  }
  return 0;
}

}  // namespace

int main(int, char** argument) {
  while (*++argument != nullptr) {
    const int status = carry_out(argument);
    if (status != 0) {
      return status;
    }
  }
  return 0;
}
