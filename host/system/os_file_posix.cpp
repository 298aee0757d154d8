#include "os_file.h"

#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>
#if defined(__linux__)
#include <linux/fs.h>
#include <sys/ioctl.h>
#endif

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <system_error>

#include "last_error_posix.h"

namespace host::os {

namespace {

void check(int result) {
  if (result < 0) {
    throw_errno();
  }
}

/** Repeats a call that a signal has interrupted. */
template <typename Call>
auto uninterrupted(Call call) {
  decltype(call()) result{};
  do {
    result = call();
  } while (result < 0 && errno == EINTR);
  return result;
}

/** Opens a file without a name; -1 where the file system has none such. */
int open_nameless(const std::string& folder, unsigned mode) {
#if defined(O_TMPFILE)
  const int file = open(folder.c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, mode);
  if (file < 0 && errno != EOPNOTSUPP && errno != EISDIR) {
    throw_errno();
  }
  return file;
#else
  static_cast<void>(folder);
  static_cast<void>(mode);
  return -1;
#endif
}

int open_new(const std::string& folder, const std::string& own_name, unsigned mode,
             std::string* own_path) {
  const int nameless = open_nameless(folder, mode);
  if (nameless >= 0) {
    return nameless;
  }
  const std::string path = folder + "/" + own_name;
  const int file = open(path.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, mode);
  check(file);
  *own_path = path;
  return file;
}

/** Renames without replacing; a file system without links may still be able to do that. */
void move_without_replacing(const char* from, const char* to) {
  if (link(from, to) == 0) {
    unlink(from);
    return;
  }
  const int error = errno;
  if (error != EPERM && error != EOPNOTSUPP) {
    throw_errno();
  }
#if defined(RENAME_NOREPLACE)
  check(renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE));
#else
  throw_errno();
#endif
}

}  // namespace

FileDescriptor::FileDescriptor(int number) : number_(number) {
  check(number_);
}

FileDescriptor::~FileDescriptor() {
  if (number_ >= 0) {
    ::close(number_);
  }
}

void FileDescriptor::write(std::string_view data) const {
  while (!data.empty()) {
    const ssize_t written =
        uninterrupted([&] { return ::write(number_, data.data(), data.size()); });
    if (written < 0) {
      throw_errno();
    }
    data.remove_prefix(static_cast<std::size_t>(written));
  }
}

void FileDescriptor::close() {
  const int number = number_;
  number_ = -1;
  // An interrupted close has closed.
  if (::close(number) != 0 && errno != EINTR) {
    throw_errno();
  }
}

SourceFile::SourceFile(const std::string& path, Links links)
    : file_(open(path.c_str(),
                 O_RDONLY | O_NONBLOCK | O_CLOEXEC | (links == Links::refused ? O_NOFOLLOW : 0))) {
  struct stat status {};
  check(fstat(file_.number(), &status));
  is_regular_ = S_ISREG(status.st_mode);
  size_ = status.st_size;
}

std::size_t SourceFile::read(char* buffer, std::size_t size) const {
  const ssize_t count = uninterrupted([&] { return ::read(file_.number(), buffer, size); });
  if (count < 0) {
    throw_errno();
  }
  return static_cast<std::size_t>(count);
}

NewFile::NewFile(const std::string& folder, const std::string& own_name, Mode mode)
    : file_(open_new(folder, own_name, static_cast<unsigned>(mode), &own_path_)) {}

NewFile::~NewFile() {
  if (!own_path_.empty()) {
    unlink(own_path_.c_str());
  }
}

void NewFile::sync() const {
  check(fsync(file_.number()));
}

void NewFile::publish(const std::string& path) {
  if (own_path_.empty()) {
    const std::string link_to = "/proc/self/fd/" + std::to_string(file_.number());
    check(linkat(AT_FDCWD, link_to.c_str(), AT_FDCWD, path.c_str(), AT_SYMLINK_FOLLOW));
    return;
  }
  file_.close();
  move_without_replacing(own_path_.c_str(), path.c_str());
  own_path_.clear();
}

void make_private_file(const std::string& path) {
  const int file = open(path.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, S_IRUSR | S_IWUSR);
  if (file < 0 && errno == EEXIST) {
    return;
  }
  FileDescriptor(file).close();
}

FileDescriptor open_for_appending(const std::string& path) {
  return FileDescriptor(open(path.c_str(), O_CREAT | O_APPEND | O_WRONLY | O_CLOEXEC, 0666));
}

bool clone_file(const std::string& from, const std::string& to) noexcept {
#if defined(FICLONE)
  try {
    const FileDescriptor source(open(from.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
    struct stat status {};
    check(fstat(source.number(), &status));
    const FileDescriptor target(
        open(to.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, status.st_mode & 0777));
    if (ioctl(target.number(), FICLONE, source.number()) == 0) {
      return true;
    }
    unlink(to.c_str());
  } catch (const std::system_error&) {
    // Whoever copies it in another way says what is wrong.
  }
#else
  static_cast<void>(from);
  static_cast<void>(to);
#endif
  return false;
}

bool is_database_in_use(const std::string& path) noexcept {
  const int file = open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
  if (file < 0) {
    return false;
  }
  // SQLite's locks are in these bytes, and each connection to a file with a log has one.
  struct flock lock {};
  lock.l_type = F_WRLCK;
  lock.l_whence = SEEK_SET;
  lock.l_start = 0x40000000;
  lock.l_len = 512;
  const bool is_free = fcntl(file, F_GETLK, &lock) == 0 && lock.l_type == F_UNLCK;
  close(file);
  return !is_free;
}

void sync_folder(const std::string& folder) {
  const FileDescriptor opened(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  check(fsync(opened.number()));
}

std::string make_temporary_folder() {
  std::string pattern =
      (std::filesystem::temp_directory_path() / (temporary_folder_prefix + std::string("XXXXXX")))
          .string();
  if (mkdtemp(pattern.data()) == nullptr) {
    throw_errno();
  }
  return pattern;
}

}  // namespace host::os
