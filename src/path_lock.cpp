#include "path_lock.h"

#include <chrono>
#include <cstring>
#include <thread>

#include "host_memory.h"

#if defined(_WIN32)
#include <windows.h>
#else
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#endif

namespace orktool {

namespace {

constexpr std::chrono::minutes longest_wait{5};
constexpr std::chrono::milliseconds pause{5};

enum class Attempt { taken, busy, impossible };

/** Tries until the lock is taken or cannot be; false when it is busy for too long. */
template <typename Try>
bool wait_for(const Try& attempt) {
  const auto end = std::chrono::steady_clock::now() + longest_wait;
  while (attempt() == Attempt::busy) {
    if (std::chrono::steady_clock::now() >= end) {
      return false;
    }
    std::this_thread::sleep_for(pause);
  }
  return true;
}

bool build_file_path(const char* path, char* file_path, std::size_t size) {
  if (path == nullptr || *path == '\0' || std::strlen(path) > PathLock::longest_path) {
    return false;
  }
  copy_text(file_path, size, path);
  // Names of temporary files have no hyphen, so that no file's name is that of another one's lock.
  std::strcat(file_path, "-lock");
  return true;
}

#if defined(_WIN32)

/** How often a file is denied that is just being deleted; one that is denied for good is no lock.
 */
constexpr int most_denials = 200;

Attempt try_to_take(const char* file_path, void** file, int* denials) {
  const HANDLE opened =
      CreateFileA(file_path, GENERIC_READ | GENERIC_WRITE | DELETE, 0, nullptr, OPEN_ALWAYS,
                  FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE, nullptr);
  if (opened != INVALID_HANDLE_VALUE) {
    *file = opened;
    return Attempt::taken;
  }
  const DWORD error = GetLastError();
  const bool is_going = error == ERROR_ACCESS_DENIED && ++*denials < most_denials;
  return error == ERROR_SHARING_VIOLATION || is_going ? Attempt::busy : Attempt::impossible;
}

#else

int open_lock_file(const char* file_path) {
  constexpr int flags = O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
  const int file = open(file_path, flags | O_CREAT, 0666);
  // In folders that all may write to, some systems let nobody "make" a file that another user has.
  return file < 0 && errno == EACCES ? open(file_path, flags) : file;
}

/** Whether a path still leads to an open file, and not to nothing or to a newer one. */
bool is_at(const char* file_path, int file) {
  struct stat opened {};
  struct stat found {};
  return fstat(file, &opened) == 0 && lstat(file_path, &found) == 0 &&
         opened.st_dev == found.st_dev && opened.st_ino == found.st_ino;
}

Attempt try_to_take(const char* file_path, int* file) {
  const int opened = open_lock_file(file_path);
  if (opened < 0) {
    return Attempt::impossible;
  }
  const bool is_locked = flock(opened, LOCK_EX | LOCK_NB) == 0;
  if (is_locked && is_at(file_path, opened)) {
    *file = opened;
    return Attempt::taken;
  }
  const bool is_busy = is_locked || errno == EWOULDBLOCK || errno == EINTR;
  close(opened);
  return is_busy ? Attempt::busy : Attempt::impossible;
}

#endif

}  // namespace

#if defined(_WIN32)

PathLock::PathLock(const char* path) {
  int denials = 0;
  is_taken_by_other_ = build_file_path(path, file_path_, sizeof file_path_) &&
                       !wait_for([&] { return try_to_take(file_path_, &file_, &denials); });
}

PathLock::~PathLock() {
  if (file_ != nullptr) {
    CloseHandle(file_);  // deletes it
  }
}

#else

PathLock::PathLock(const char* path) {
  is_taken_by_other_ = build_file_path(path, file_path_, sizeof file_path_) &&
                       !wait_for([&] { return try_to_take(file_path_, &file_); });
}

PathLock::~PathLock() {
  if (file_ >= 0) {
    unlink(file_path_);  // first, so that whoever waits for this very file sees that it is gone
    close(file_);
  }
}

#endif

}  // namespace orktool
