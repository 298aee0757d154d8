#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <string.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <bit>
#include <csignal>
#include <cstdio>

#include "rounding.h"
#include "system.h"

namespace basetool {

namespace {

// The file grows by as much as it has, though by 256 KiB at least and by 2 MiB at most, in one
// writev: the file system then caches it in large units, and one page fault maps many pages. This
// is several times cheaper than ftruncate or fallocate, smaller steps, or MAP_POPULATE, and a full
// disk is noticed here, not by a SIGBUS at some later access.
constexpr uint64_t smallest_growth = 256 * 1024;
constexpr uint64_t largest_growth = 2 * 1024 * 1024;

/** Line feeds to fill the file with, in pieces that the system copies at once. */
constexpr size_t fill_size = 64 * 1024;
const char* fill() {
  static std::array<char, fill_size> line_feeds;
  if (line_feeds[0] == '\0') {
    line_feeds.fill('\n');
  }
  return line_feeds.data();
}

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

}  // namespace

bool remove_file(const char* path) {
  return std::remove(path) == 0;
}

bool rename_file(const char* path, const char* new_path) {
  return std::rename(path, new_path) == 0;
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

bool allocate(Descriptor file, uint64_t size) {
  WriteSignalShield shield;
  const int error = posix_fallocate(file, 0, static_cast<off_t>(size));
  shield.take_back(error);
  errno = error;
  // Parts of it are written where they stand.
  return error == 0 && fcntl(file, F_SETFL, fcntl(file, F_GETFL) & ~O_APPEND) == 0;
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

}  // namespace basetool
