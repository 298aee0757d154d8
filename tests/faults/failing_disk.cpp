// A library that is loaded before the C library and fails one of a program's calls that change a
// disk: opening a file, reading, writing, syncing, giving a file or folder its name. It counts the
// calls that are about a folder, fails the one that is wanted, once or with all that come after it,
// and says in a file how many there were. It ends a program that takes too long.
//
//   FAILING_DISK_FOLDER   the folder, with what is below it
//   FAILING_DISK_CALL     number of the call that fails, from 1; 0 for none; "5-" for all from the
//                         fifth on
//   FAILING_DISK_REPORT   file that the number of calls so far is written to

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

std::atomic<long> calls{0};

/** Written with system calls alone, which nobody counts. */
void report(long count) {
  const char* const path = std::getenv("FAILING_DISK_REPORT");
  const long file =
      path != nullptr ? syscall(SYS_openat, AT_FDCWD, path, O_WRONLY | O_CREAT, 0666) : -1;
  if (file < 0) {
    return;
  }
  char text[32];
  const int size = std::snprintf(text, sizeof text, "%ld\n", count);
  syscall(SYS_pwrite64, file, text, size, 0);
  syscall(SYS_close, file);
}

bool is_below_folder(const char* path) {
  static const char* const folder = std::getenv("FAILING_DISK_FOLDER");
  return folder != nullptr && path != nullptr &&
         std::strncmp(path, folder, std::strlen(folder)) == 0;
}

/** Whether a call about a path is to fail. */
bool is_due(const char* path, int error) {
  if (!is_below_folder(path)) {
    return false;
  }
  static const char* const wanted = std::getenv("FAILING_DISK_CALL");
  const long count = ++calls;
  report(count);
  static const long first = wanted != nullptr ? std::atol(wanted) : 0;
  static const bool goes_on = wanted != nullptr && std::strchr(wanted, '-') != nullptr;
  if (first == 0 || count < first || (count > first && !goes_on)) {
    return false;
  }
  errno = error;
  return true;
}

bool is_due(int file, int error) {
  char link[64];
  char path[PATH_MAX + 1];
  std::snprintf(link, sizeof link, "/proc/self/fd/%d", file);
  const ssize_t length = readlink(link, path, PATH_MAX);
  path[length > 0 ? length : 0] = '\0';
  return is_due(path, error);
}

__attribute__((constructor)) void limit_time() {
  constexpr unsigned seconds = 60;
  alarm(seconds);
}

template <typename Function>
Function next(const char* name) {
  return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

mode_t mode_of(int flags, va_list arguments) {
  return (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(arguments, mode_t) : 0;
}

bool is_for_reading(int flags) {
  return (flags & O_ACCMODE) == O_RDONLY && (flags & O_CREAT) == 0;
}

}  // namespace

#define NEXT(name) next<decltype(&(name))>(#name)

extern "C" {

#define OPEN(name)                                                                      \
  int name(const char* path, int flags, ...) {                                          \
    va_list arguments;                                                                  \
    va_start(arguments, flags);                                                         \
    const mode_t mode = mode_of(flags, arguments);                                      \
    va_end(arguments);                                                                  \
    const bool fails = is_due(path, is_for_reading(flags) ? EIO : ENOSPC);              \
    return fails ? -1 : next<int (*)(const char*, int, ...)>(#name)(path, flags, mode); \
  }
OPEN(open)
OPEN(open64)

ssize_t pread(int file, void* data, size_t size, off_t offset) {
  return is_due(file, EIO) ? -1 : NEXT(pread)(file, data, size, offset);
}

ssize_t pread64(int file, void* data, size_t size, off64_t offset) {
  return is_due(file, EIO) ? -1 : NEXT(pread64)(file, data, size, offset);
}

ssize_t read(int file, void* data, size_t size) {
  return is_due(file, EIO) ? -1 : NEXT(read)(file, data, size);
}

#define WRITE(name, Offset)                                                                   \
  ssize_t name(int file, const void* data, size_t size, Offset offset) {                      \
    return is_due(file, ENOSPC) ? -1                                                          \
                                : next<ssize_t (*)(int, const void*, size_t, Offset)>(#name)( \
                                      file, data, size, offset);                              \
  }
WRITE(pwrite, off_t)
WRITE(pwrite64, off64_t)

ssize_t write(int file, const void* data, size_t size) {
  return is_due(file, ENOSPC) ? -1 : NEXT(write)(file, data, size);
}

int ftruncate(int file, off_t size) noexcept {
  return is_due(file, EIO) ? -1 : NEXT(ftruncate)(file, size);
}

int ftruncate64(int file, off64_t size) noexcept {
  return is_due(file, EIO) ? -1 : NEXT(ftruncate64)(file, size);
}

int fsync(int file) {
  return is_due(file, EIO) ? -1 : NEXT(fsync)(file);
}

int fdatasync(int file) {
  return is_due(file, EIO) ? -1 : NEXT(fdatasync)(file);
}

int rename(const char* from, const char* to) noexcept {
  return is_due(to, EIO) ? -1 : NEXT(rename)(from, to);
}

int renameat2(int from_folder, const char* from, int to_folder, const char* to,
              unsigned flags) noexcept {
  return is_due(to, EIO) ? -1 : NEXT(renameat2)(from_folder, from, to_folder, to, flags);
}

int link(const char* from, const char* to) noexcept {
  return is_due(to, EIO) ? -1 : NEXT(link)(from, to);
}

int linkat(int from_folder, const char* from, int to_folder, const char* to, int flags) noexcept {
  return is_due(to, EIO) ? -1 : NEXT(linkat)(from_folder, from, to_folder, to, flags);
}

int mkdir(const char* path, mode_t mode) noexcept {
  return is_due(path, ENOSPC) ? -1 : NEXT(mkdir)(path, mode);
}

}  // extern "C"
