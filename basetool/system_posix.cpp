#include <errno.h>
#include <fcntl.h>
#include <linux/membarrier.h>
#include <poll.h>
#include <pthread.h>
#include <sched.h>
#include <stdlib.h>
#include <string.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstdio>

#include "system.h"

namespace basetool {

volatile std::sig_atomic_t window_lost = 0;
volatile std::sig_atomic_t recording_lost = 0;

namespace {

// The file grows by as much as it has, though by 256 KiB at least and by 2 MiB at most, in one
// writev: the file system then caches it in large units, and one page fault maps many pages. This
// is several times cheaper than ftruncate or fallocate, smaller steps, or MAP_POPULATE, and a full
// disk is noticed here, not by a SIGBUS at some later access.
constexpr uint64_t smallest_growth = 256 * 1024;
constexpr uint64_t largest_growth = 2 * 1024 * 1024;

// The window is laid over more than the file has, so that it serves several steps. Its addresses
// and the file's bytes are aligned alike: the system can map a cached unit at once only where that
// does not cross a boundary of this size.
constexpr uint64_t window_step = 2 * 1024 * 1024;

/** Line feeds to fill the file with, in pieces that the system copies at once. */
constexpr size_t fill_size = 64 * 1024;
const char* fill() {
  static std::array<char, fill_size> line_feeds;
  if (line_feeds[0] == '\0') {
    line_feeds.fill('\n');
  }
  return line_feeds.data();
}

// The window, for the signal handler too. There is one in a process.
char* volatile window_begin = nullptr;
volatile size_t window_size = 0;
uint64_t window_offset = 0;  // the byte of the file that stands at its begin
struct sigaction earlier_action;

// The recording, likewise.
char* volatile recording_begin = nullptr;
volatile size_t recording_size = 0;

/**
 * Keeps the signals away that a failing write sends and that would end the program: the write's
 * error code is all that is needed.
 */
class WriteSignalShield {
 public:
  WriteSignalShield() {
    sigset_t blocked;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGPIPE);
    sigaddset(&blocked, SIGXFSZ);
    pthread_sigmask(SIG_BLOCK, &blocked, &earlier_mask_);
  }
  ~WriteSignalShield() {
    int kept = errno;
    pthread_sigmask(SIG_SETMASK, &earlier_mask_, nullptr);
    errno = kept;
  }
  WriteSignalShield(const WriteSignalShield&) = delete;
  WriteSignalShield& operator=(const WriteSignalShield&) = delete;

  /** Takes back the signal that a failed write has sent. */
  void take_back(int error) const {
    int signal_number = error == EPIPE ? SIGPIPE : error == EFBIG ? SIGXFSZ : 0;
    sigset_t pending;
    if (signal_number == 0 || sigpending(&pending) != 0) {
      return;
    }
    if (sigismember(&pending, signal_number) != 1) {
      return;
    }
    if (sigismember(&earlier_mask_, signal_number) == 1) {
      return;
    }
    sigset_t sent;
    sigemptyset(&sent);
    sigaddset(&sent, signal_number);
    int taken = 0;
    sigwait(&sent, &taken);
  }

 private:
  sigset_t earlier_mask_;
};

/** Waits for a reader that has set the stream to non-blocking, though not for one that hangs. */
bool wait_until_writable(int descriptor) {
  constexpr int patience_in_ms = 1000;
  pollfd polled{descriptor, POLLOUT, 0};
  return poll(&polled, 1, patience_in_ms) > 0;
}

uint64_t round_down(uint64_t number, uint64_t step) {
  return number / step * step;
}
uint64_t round_up(uint64_t number, uint64_t step) {
  return round_down(number + step - 1, step);
}

uint64_t page_size() {
  static const uint64_t size = static_cast<uint64_t>(sysconf(_SC_PAGESIZE));
  return size;
}

FileState state_of(const struct stat& status) {
  return {status.st_dev, status.st_ino, static_cast<uint64_t>(status.st_size)};
}

/** Moves a descriptor out of the range in which programs expect their standard streams. */
int beyond_standard_streams(int descriptor) {
  if (descriptor < 0 || descriptor > STDERR_FILENO) {
    return descriptor;
  }
  int moved = fcntl(descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
  ::close(descriptor);
  return moved;
}

int open_file(const char* path, Wanted wanted) {
  struct stat there;
  const bool is_stream = stat(path, &there) == 0 && !S_ISREG(there.st_mode);
  const int flags = O_APPEND | O_CLOEXEC | O_NOCTTY;
  if (wanted == Wanted::old_file) {
    return ::open(path, flags | O_RDWR | O_NOFOLLOW | O_NONBLOCK);
  }
  if (wanted == Wanted::new_file) {
    return ::open(path, flags | O_RDWR | O_CREAT | O_EXCL, 0666);
  }
  // A pipe that nobody reads must not hold the program up.
  if (is_stream) {
    return ::open(path, flags | O_WRONLY | O_NONBLOCK);
  }
  int descriptor = ::open(path, flags | O_RDWR | O_CREAT, 0666);
  if (descriptor < 0 && errno == EACCES) {
    descriptor = ::open(path, flags | O_WRONLY);
  }
  return descriptor;
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

void watch_for_bus_errors() {
  static bool is_watching = false;
  if (is_watching) {
    return;
  }
  is_watching = true;
  struct sigaction action = {};
  action.sa_sigaction = handle_bus_error;
  action.sa_flags = SA_SIGINFO | SA_ONSTACK;
  sigemptyset(&action.sa_mask);
  sigaction(SIGBUS, &action, &earlier_action);
}

}  // namespace

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

bool remove_file(const char* path) {
  return std::remove(path) == 0;
}

bool rename_file(const char* path, const char* new_path) {
  return std::rename(path, new_path) == 0;
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

Opening open_for_appending(const char* path, Wanted wanted, OpenFile& opened) {
  const int descriptor = beyond_standard_streams(open_file(path, wanted));
  if (descriptor < 0) {
    return wanted == Wanted::new_file && errno == EEXIST ? Opening::taken : Opening::failed;
  }
  struct stat status;
  if (fstat(descriptor, &status) != 0) {
    const int error = errno;
    ::close(descriptor);
    errno = error;
    return Opening::failed;
  }
  for (const int stream : {STDOUT_FILENO, STDERR_FILENO}) {
    FileState standard;
    if (read_state(stream, standard) && standard.is_same_file(state_of(status))) {
      // The program writes there too, at its own position: share it.
      ::close(descriptor);
      opened = {.descriptor = stream};
      return Opening::done;
    }
  }
  opened = {descriptor, true, S_ISREG(status.st_mode), state_of(status)};
  if (!opened.is_regular) {
    fcntl(descriptor, F_SETFL, fcntl(descriptor, F_GETFL) & ~O_NONBLOCK);
    return Opening::done;
  }
  if (flock(descriptor, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
    ::close(descriptor);
    return Opening::taken;
  }
  // Its owner until now may have shortened it.
  read_state(descriptor, opened.state);
  return Opening::done;
}

Descriptor standard_error() {
  return STDERR_FILENO;
}

void close_file(Descriptor file) {
  ::close(file);
}

bool read_state(Descriptor file, FileState& state) {
  struct stat status;
  if (fstat(file, &status) != 0) {
    return false;
  }
  state = state_of(status);
  return true;
}

bool leads_to(const char* path, const FileState& file) {
  struct stat status;
  return stat(path, &status) == 0 && state_of(status).is_same_file(file);
}

bool read_at(Descriptor file, uint64_t offset, char* bytes, size_t size) {
  return pread(file, bytes, size, static_cast<off_t>(offset)) == static_cast<ssize_t>(size);
}

size_t append(const OpenFile& file, const char* text, size_t size) {
  WriteSignalShield shield;
  size_t done = 0;
  while (done < size) {
    ssize_t written = ::write(file.descriptor, text + done, size - done);
    if (written >= 0) {
      done += static_cast<size_t>(written);
    } else if (errno == EAGAIN) {
      if (!wait_until_writable(file.descriptor)) {
        break;
      }
    } else if (errno != EINTR) {
      int error = errno;
      shield.take_back(error);
      errno = error;
      break;
    }
  }
  return done;
}

uint64_t append_line_feeds(Descriptor file, uint64_t size, uint64_t needed) {
  const uint64_t growth = std::clamp(std::bit_floor(size), smallest_growth, largest_growth);
  const uint64_t wanted = round_up(needed, growth);
  WriteSignalShield shield;
  while (size < wanted) {
    std::array<iovec, largest_growth / fill_size> parts;
    uint64_t left = std::min(wanted - size, largest_growth);
    int count = 0;
    for (; left > 0; ++count) {
      size_t part = static_cast<size_t>(std::min<uint64_t>(left, fill_size));
      parts[static_cast<size_t>(count)] = {const_cast<char*>(fill()), part};
      left -= part;
    }
    ssize_t written = writev(file, parts.data(), count);
    if (written > 0) {
      size += static_cast<uint64_t>(written);
    } else if (written == 0 || errno != EINTR) {
      int error = errno;
      shield.take_back(error);
      errno = error;
      break;
    }
  }
  return size;
}

bool cut_off(Descriptor file, uint64_t size) {
  return ftruncate(file, static_cast<off_t>(size)) == 0;
}

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

bool allocate(Descriptor file, uint64_t size) {
  WriteSignalShield shield;
  const int error = posix_fallocate(file, 0, static_cast<off_t>(size));
  shield.take_back(error);
  errno = error;
  // Parts of it are written where they stand.
  return error == 0 && fcntl(file, F_SETFL, fcntl(file, F_GETFL) & ~O_APPEND) == 0;
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

// Zeros that are written are cached in large units, and one page fault maps many pages, unless it
// is one for reading: on ext4 that is an eighth of the cost of faults in room that was only
// allocated, or of MADV_POPULATE_WRITE.
void provide_pages(const OpenFile& file, uint64_t file_size, uint64_t offset, size_t size) {
  static constinit std::array<char, 256 * 1024> zeros{};
  const ErrorKeeper keeper;
  FileState now;
  // The program may have closed the descriptor, or somebody may have shortened the file.
  if (!read_state(file.descriptor, now) || !now.is_same_file(file.state) || now.size != file_size) {
    return;
  }
  const WriteSignalShield shield;
  while (size > 0) {
    const ssize_t written = pwrite(file.descriptor, zeros.data(), std::min(size, zeros.size()),
                                   static_cast<off_t>(offset));
    if (written <= 0) {
      shield.take_back(errno);
      return;  // pages are provided one by one, when they are needed
    }
    offset += static_cast<uint64_t>(written);
    size -= static_cast<size_t>(written);
  }
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

void take_window_away() {
  char* begin = window_begin;
  window_begin = nullptr;
  if (begin != nullptr) {
    munmap(begin, window_size);
  }
  window_lost = 0;
}

}  // namespace basetool
