#include <errno.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <csignal>

#include "rounding.h"
#include "system.h"

namespace basetool {

volatile std::sig_atomic_t window_lost = 0;
volatile std::sig_atomic_t recording_lost = 0;

namespace {

// The window is laid over more than the file has, so that it serves several steps. Its addresses
// and the file's bytes are aligned alike: the system can map a cached unit at once only where that
// does not cross a boundary of this size.
constexpr uint64_t window_step = 2 * 1024 * 1024;

// The window, for the signal handler too. There is one in a process.
char* volatile window_begin = nullptr;
volatile size_t window_size = 0;
uint64_t window_offset = 0;  // the byte of the file that stands at its begin
struct sigaction earlier_action;

// The recording, likewise.
char* volatile recording_begin = nullptr;
volatile size_t recording_size = 0;

uint64_t page_size() {
  static const uint64_t size = static_cast<uint64_t>(sysconf(_SC_PAGESIZE));
  return size;
}

/** Puts plain memory under a range of addresses. @return false when the address is not in it. */
bool replace_memory(const char* fault, char* begin, size_t size) {
  return begin != nullptr && fault >= begin && fault < begin + size &&
         mmap(begin, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED, -1,
              0) != MAP_FAILED;
}

/**
 * Puts plain memory under the window or the recording when the file below it is gone, since
 * somebody shortened it or the disk failed: a trace must not end the program that it describes.
 */
void handle_bus_error(int signal_number, siginfo_t* info, void* context) {
  const char* fault = static_cast<char*>(info->si_addr);
  if (info->si_code > 0 && replace_memory(fault, window_begin, window_size)) {
    window_lost = 1;
    return;
  }
  if (info->si_code > 0 && replace_memory(fault, recording_begin, recording_size)) {
    recording_lost = 1;
    return;
  }
  if ((earlier_action.sa_flags & SA_SIGINFO) != 0) {
    earlier_action.sa_sigaction(signal_number, info, context);
  } else if (earlier_action.sa_handler != SIG_DFL && earlier_action.sa_handler != SIG_IGN) {
    earlier_action.sa_handler(signal_number);
  } else {
    // The faulting access is repeated on return, and has its usual effect then.
    sigaction(SIGBUS, &earlier_action, nullptr);
    if (info->si_code <= 0) {
      raise(signal_number);
    }
  }
}

/** Once, though text and recording may come here at the same time, each under its own lock. */
void watch_for_bus_errors() {
  [[maybe_unused]] static const bool is_watching = [] {
    struct sigaction action = {};
    action.sa_sigaction = handle_bus_error;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK;
    sigemptyset(&action.sa_mask);
    return sigaction(SIGBUS, &action, &earlier_action) == 0;
  }();
}

}  // namespace

bool lay_window(Descriptor file, uint64_t from, uint64_t file_size) {
  take_window_away();
  uint64_t begin = round_down(from, page_size());
  size_t size = static_cast<size_t>(round_up(file_size, window_step) - begin);
  // Reserve enough to find the right address in it.
  void* reserved = mmap(nullptr, size + window_step, PROT_NONE,
                        MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (reserved != MAP_FAILED) {
    char* first = static_cast<char*>(reserved);
    uint64_t skipped = (begin - reinterpret_cast<uintptr_t>(first)) % window_step;
    char* window = first + skipped;
    void* mapped = mmap(window, size, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_FIXED, file,
                        static_cast<off_t>(begin));
    if (mapped != MAP_FAILED) {
      if (skipped > 0) {
        munmap(first, skipped);
      }
      if (skipped < window_step) {
        munmap(window + size, window_step - skipped);
      }
      watch_for_bus_errors();
      window_offset = begin;
      window_size = size;
      window_begin = window;
      return true;
    }
    const int error = errno;
    munmap(reserved, size + window_step);
    errno = error;
  }
  return false;
}

char* in_window(uint64_t from, uint64_t end) {
  const bool is_covered =
      window_begin != nullptr && from >= window_offset && end <= window_offset + window_size;
  return is_covered ? window_begin + (from - window_offset) : nullptr;
}

void take_window_away() {
  char* begin = window_begin;
  window_begin = nullptr;
  if (begin != nullptr) {
    munmap(begin, window_size);
  }
  window_lost = 0;
}

char* map_recording(Descriptor file, uint64_t size) {
  void* mapped = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
  if (mapped == MAP_FAILED) {
    return nullptr;
  }
  // Reading ahead at the first fault would cache all of it in small units; see provide_pages.
  madvise(mapped, size, MADV_RANDOM);
  watch_for_bus_errors();
  recording_lost = 0;
  recording_size = size;
  recording_begin = static_cast<char*>(mapped);
  return recording_begin;
}

void abandon_recording() {
  recording_begin = nullptr;
  recording_lost = 0;
}

void unmap_recording() {
  char* begin = recording_begin;
  recording_begin = nullptr;
  if (begin != nullptr) {
    munmap(begin, recording_size);
  }
  recording_lost = 0;
}

}  // namespace basetool
