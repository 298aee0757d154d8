#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstdio>

#include "trace_file.h"

namespace basetool {

volatile std::sig_atomic_t window_lost = 0;

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

/** Writes all of a text. @return number of bytes written; fewer with the reason in `errno`. */
size_t write_all(int descriptor, const char* text, size_t size) {
  WriteSignalShield shield;
  size_t done = 0;
  while (done < size) {
    ssize_t written = ::write(descriptor, text + done, size - done);
    if (written >= 0) {
      done += static_cast<size_t>(written);
    } else if (errno == EAGAIN) {
      if (!wait_until_writable(descriptor)) {
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

/** Appends line feeds to a file until it has a size. @return the size that it got to. */
uint64_t append_fill(int descriptor, uint64_t size, uint64_t wanted) {
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
    ssize_t written = writev(descriptor, parts.data(), count);
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

/** Asks whether a path names the file that a descriptor is open for. */
bool leads_to(const char* path, uint64_t device, uint64_t inode) {
  struct stat there;
  return stat(path, &there) == 0 && there.st_dev == device && there.st_ino == inode;
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

int open_for_appending(const char* path) {
  struct stat there;
  bool is_stream = stat(path, &there) == 0 && !S_ISREG(there.st_mode);
  int flags = O_APPEND | O_CLOEXEC | O_NOCTTY;
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

/**
 * Puts plain memory under the window when the file below it is gone, since somebody shortened it or
 * the disk failed: a trace must not end the program that it describes.
 */
void handle_bus_error(int signal_number, siginfo_t* info, void* context) {
  char* fault = static_cast<char*>(info->si_addr);
  char* begin = window_begin;
  if (info->si_code > 0 && begin != nullptr && fault >= begin && fault < begin + window_size) {
    void* memory = mmap(begin, window_size, PROT_READ | PROT_WRITE,
                        MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED, -1, 0);
    if (memory != MAP_FAILED) {
      window_lost = 1;
      return;
    }
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

void complain(const char* format, ...) {
  char line[1024] = "zolp_basetool: ";
  size_t size = strlen(line);
  va_list arguments;
  va_start(arguments, format);
  int length = vsnprintf(line + size, sizeof line - size - 1, format, arguments);
  va_end(arguments);
  if (length < 0) {
    return;
  }
  size = std::min(size + static_cast<size_t>(length), sizeof line - 2);
  line[size++] = '\n';
  write_all(STDERR_FILENO, line, size);
}

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

void call_in_forked_child(void (*function)()) {
  pthread_atfork(nullptr, nullptr, function);
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

TraceFile::Opening TraceFile::open(const char* path) {
  constexpr int tries = 10;
  for (int i = 0; i < tries; ++i) {
    descriptor_ = beyond_standard_streams(open_for_appending(path));
    error_ = errno;
    struct stat opened;
    if (descriptor_ < 0 || fstat(descriptor_, &opened) != 0) {
      return Opening::failed;
    }
    is_owned_ = true;
    device_ = opened.st_dev;
    inode_ = opened.st_ino;
    is_regular_ = S_ISREG(opened.st_mode);
    for (int stream : {STDOUT_FILENO, STDERR_FILENO}) {
      struct stat standard;
      if (fstat(stream, &standard) == 0 && standard.st_dev == device_ &&
          standard.st_ino == inode_) {
        // The program writes there too, at its own position: share it.
        close();
        descriptor_ = stream;
        return Opening::done;
      }
    }
    if (!is_regular_) {
      fcntl(descriptor_, F_SETFL, fcntl(descriptor_, F_GETFL) & ~O_NONBLOCK);
      return Opening::done;
    }
    if (flock(descriptor_, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
      close();
      return Opening::taken;
    }
    // Between opening and locking its owner may have renamed it, to start a new one.
    if (leads_to(path, device_, inode_)) {
      trim();
      return Opening::done;
    }
    close();
  }
  return Opening::taken;
}

void TraceFile::use_standard_error() {
  descriptor_ = STDERR_FILENO;
  is_owned_ = false;
  is_regular_ = false;
}

/** Cuts line feeds off that a crashed process has left, and ends a line that it has left open. */
void TraceFile::trim() {
  struct stat status;
  size_ = fstat(descriptor_, &status) == 0 ? static_cast<uint64_t>(status.st_size) : 0;
  std::array<char, 16 * 1024> block;
  uint64_t end = size_;
  while (end > 0) {
    size_t part = static_cast<size_t>(std::min<uint64_t>(end, block.size()));
    ssize_t count = pread(descriptor_, block.data(), part, static_cast<off_t>(end - part));
    if (count != static_cast<ssize_t>(part)) {
      return;
    }
    while (part > 0 && block[part - 1] == '\n') {
      --part, --end;
    }
    if (part > 0) {
      break;
    }
  }
  if (end == size_ && end > 0) {
    write("\n", 1);
  } else if (size_ > end + 1 || end == 0) {
    shorten(end == 0 ? 0 : end + 1);
  }
}

bool TraceFile::refresh() {
  struct stat status;
  if (fstat(descriptor_, &status) != 0 || status.st_dev != device_ || status.st_ino != inode_) {
    return false;
  }
  size_ = static_cast<uint64_t>(status.st_size);
  return true;
}

bool TraceFile::write(const char* text, size_t size) {
  size_t written = write_all(descriptor_, text, size);
  uint64_t size_before = size_;
  size_ += written;
  if (written == size) {
    return true;
  }
  int error = errno;
  if (is_regular_) {
    shorten(size_before);
  }
  error_ = error;
  return false;
}

void TraceFile::shorten(uint64_t size) {
  if (size >= size_) {
    return;  // somebody else shortened it already
  }
  if (ftruncate(descriptor_, static_cast<off_t>(size)) == 0) {
    size_ = size;
  } else {
    error_ = errno;
  }
}

char* TraceFile::map(uint64_t from, uint64_t needed, char** end) {
  if (is_window_lost()) {
    unmap();
  }
  if (size_ < needed) {
    const uint64_t growth = std::clamp(std::bit_floor(size_), smallest_growth, largest_growth);
    size_ = append_fill(descriptor_, size_, round_up(needed, growth));
    error_ = errno;
  }
  bool is_covered =
      window_begin != nullptr && from >= window_offset && size_ <= window_offset + window_size;
  if (size_ < needed || !(is_covered || lay_window(from))) {
    unmap();
    return nullptr;
  }
  *end = window_begin + (size_ - window_offset);
  return window_begin + (from - window_offset);
}

/** Lays the window over the file from the page of a byte to its end and beyond. */
bool TraceFile::lay_window(uint64_t from) {
  unmap();
  uint64_t begin = round_down(from, page_size());
  size_t size = static_cast<size_t>(round_up(size_, window_step) - begin);
  // Reserve enough to find the right address in it.
  void* reserved = mmap(nullptr, size + window_step, PROT_NONE,
                        MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (reserved != MAP_FAILED) {
    char* first = static_cast<char*>(reserved);
    uint64_t skipped = (begin - reinterpret_cast<uintptr_t>(first)) % window_step;
    char* window = first + skipped;
    void* mapped = mmap(window, size, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_FIXED, descriptor_,
                        static_cast<off_t>(begin));
    error_ = errno;
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
    munmap(reserved, size + window_step);
  }
  return false;
}

void TraceFile::unmap() {
  char* begin = window_begin;
  window_begin = nullptr;
  if (begin != nullptr) {
    munmap(begin, window_size);
  }
  window_lost = 0;
}

bool TraceFile::is_at(const char* path) const {
  return leads_to(path, device_, inode_);
}

void TraceFile::close() {
  unmap();
  if (is_owned_) {
    ::close(descriptor_);
  }
  forget();
}

void TraceFile::forget() {
  unmap();
  descriptor_ = -1;
  is_owned_ = false;
  is_regular_ = false;
  size_ = 0;
}

const char* TraceFile::last_error() const {
  return strerror(error_);
}

}  // namespace basetool
