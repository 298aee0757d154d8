#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <utility>

#include "held_file.h"
#include "last_error_posix.h"

namespace host::os {

namespace {

/** All of a file. Locks of this kind are a process's own: no forked process inherits them. */
struct flock whole_file() {
  struct flock lock {};
  lock.l_type = F_WRLCK;
  lock.l_whence = SEEK_SET;
  return lock;
}

mode_t mode_of(const std::string& path) {
  constexpr mode_t usual = 0600;
  struct stat status {};
  return stat(path.c_str(), &status) == 0 ? (status.st_mode & 0666) | usual : usual;
}

}  // namespace

HeldFile::HeldFile(const std::string& path, const std::string& about)
    : file_(open(path.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_NOFOLLOW | O_CLOEXEC,
                 mode_of(about))) {
  if (file_ < 0) {
    throw_errno();
  }
  struct flock lock = whole_file();
  struct stat status {};
  const bool is_locked = fcntl(file_, F_SETLK, &lock) == 0 && fstat(file_, &status) == 0;
  // Until it was locked, others could take it for that of a process that has ended, and remove it.
  const int error = !is_locked             ? errno == ENOLCK ? ENOLCK : EAGAIN
                    : status.st_nlink == 0 ? ENOENT
                                           : 0;
  if (error != 0) {
    close(file_);
    throw std::system_error(error, std::generic_category());
  }
}

HeldFile::~HeldFile() {
  close(file_);
}

void HeldFile::write(std::size_t place, std::string_view text) const {
  while (!text.empty()) {
    const ssize_t written = pwrite(file_, text.data(), text.size(), static_cast<off_t>(place));
    if (written < 0 && errno != EINTR) {
      throw_errno();
    }
    const auto count = written > 0 ? static_cast<std::size_t>(written) : 0;
    text.remove_prefix(count);
    place += count;
  }
}

void HeldFile::cut(std::size_t size) const {
  if (ftruncate(file_, static_cast<off_t>(size)) != 0) {
    throw_errno();
  }
}

bool is_held(const std::string& path) noexcept {
  const int file = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC);
  if (file < 0) {
    return errno != ENOENT && errno != ENOTDIR && errno != ELOOP;
  }
  struct flock lock = whole_file();
  const bool is_free = fcntl(file, F_GETLK, &lock) == 0 && lock.l_type == F_UNLCK;
  close(file);
  return !is_free;
}

void remove_unheld(const std::string& path) noexcept {
  const int file = open(path.c_str(), O_WRONLY | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC);
  if (file < 0) {
    return;
  }
  // Under the lock: the process may just have made the file, and be about to take it.
  struct flock lock = whole_file();
  if (fcntl(file, F_SETLK, &lock) == 0) {
    unlink(path.c_str());
  }
  close(file);
}

void make_folder_like(const std::string& path, const std::string& about) {
  const mode_t mode = mode_of(about);
  // Whoever may read or write the file may enter the folder, and make files there.
  if (mkdir(path.c_str(), mode | (mode & 0444) >> 2) != 0 && errno != EEXIST) {
    throw_errno();
  }
}

}  // namespace host::os
