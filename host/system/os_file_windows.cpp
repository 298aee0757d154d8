#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>
#include <windows.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <system_error>

#include "os_file.h"
#include "private_access.h"
#include "utf8_path.h"

namespace host::os {

namespace {

constexpr int usual_flags = _O_BINARY | _O_NOINHERIT;

[[noreturn]] void throw_errno() {
  throw std::system_error(errno, std::generic_category());
}

void check(int result) {
  if (result < 0) {
    throw_errno();
  }
}

int open_file_at(const std::filesystem::path& path, int flags) {
  return _wopen(path.c_str(), flags | usual_flags, _S_IREAD | _S_IWRITE);
}

/** Folders and devices cannot be opened as files are; nothing is read from them. */
int open_source(const std::filesystem::path& path, bool follows_links) {
  std::error_code ignored;
  const auto status = follows_links ? std::filesystem::status(path, ignored)
                                    : std::filesystem::symlink_status(path, ignored);
  const bool is_readable =
      std::filesystem::is_regular_file(status) || !std::filesystem::exists(status);
  return open_file_at(is_readable ? path : L"NUL", _O_RDONLY);
}

/** The system deletes no file that is read-only, so that contents are kept writable. */
int open_new(const std::string& folder, const std::string& own_name, std::string* own_path) {
  const std::filesystem::path path = utf8_path(folder) / own_name;
  const int file = open_file_at(path, _O_CREAT | _O_EXCL | _O_WRONLY);
  check(file);
  *own_path = path.string();
  return file;
}

[[noreturn]] void throw_last_error() {
  throw std::system_error(static_cast<int>(GetLastError()), std::system_category());
}

bool is_there_already(DWORD error, const std::string& path) {
  std::error_code ignored;
  return error == ERROR_FILE_EXISTS || error == ERROR_ALREADY_EXISTS ||
         std::filesystem::exists(utf8_path(path), ignored);
}

constexpr std::size_t most_at_once = std::size_t{1} << 30;

}  // namespace

FileDescriptor::FileDescriptor(int number) : number_(number) {
  check(number_);
}

FileDescriptor::~FileDescriptor() {
  if (number_ >= 0) {
    _close(number_);
  }
}

void FileDescriptor::write(std::string_view data) const {
  while (!data.empty()) {
    const int written =
        _write(number_, data.data(), static_cast<unsigned>(std::min(data.size(), most_at_once)));
    check(written);
    data.remove_prefix(static_cast<std::size_t>(written));
  }
}

void FileDescriptor::close() {
  const int number = number_;
  number_ = -1;
  check(_close(number));
}

SourceFile::SourceFile(const std::string& path, Links links)
    : file_(open_source(utf8_path(path), links == Links::followed)) {
  const HANDLE handle = reinterpret_cast<HANDLE>(_get_osfhandle(file_.number()));
  is_regular_ = GetFileType(handle) == FILE_TYPE_DISK;
  LARGE_INTEGER size{};
  size_ = is_regular_ && GetFileSizeEx(handle, &size) != 0 ? size.QuadPart : 0;
}

std::size_t SourceFile::read(char* buffer, std::size_t size) const {
  const int count =
      _read(file_.number(), buffer, static_cast<unsigned>(std::min(size, most_at_once)));
  check(count);
  return static_cast<std::size_t>(count);
}

NewFile::NewFile(const std::string& folder, const std::string& own_name, Mode)
    : file_(open_new(folder, own_name, &own_path_)) {}

NewFile::~NewFile() {
  if (!own_path_.empty()) {
    try {
      if (file_.number() >= 0) {
        file_.close();  // an open file cannot be deleted
      }
      std::error_code ignored;
      std::filesystem::remove(utf8_path(own_path_), ignored);
    } catch (const std::exception&) {
      // It stays under its own name, which nobody takes for contents.
    }
  }
}

void NewFile::sync() const {
  check(_commit(file_.number()));
}

void NewFile::publish(const std::string& path) {
  file_.close();
  if (MoveFileExW(utf8_path(own_path_).c_str(), utf8_path(path).c_str(), MOVEFILE_WRITE_THROUGH) ==
      0) {
    throw_last_error();
  }
  own_path_.clear();
}

void make_private_file(const std::string& path) {
  PrivateAccess access;
  // Shared: others who open the new site at this moment would have it for reading only.
  const HANDLE file = CreateFileW(utf8_path(path).c_str(), GENERIC_WRITE,
                                  FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                  access.attributes(), CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file != INVALID_HANDLE_VALUE) {
    CloseHandle(file);
  } else if (!is_there_already(GetLastError(), path)) {
    throw_last_error();
  }
}

FileDescriptor open_for_appending(const std::string& path) {
  return FileDescriptor(open_file_at(utf8_path(path), _O_CREAT | _O_APPEND | _O_WRONLY));
}

bool clone_file(const std::string&, const std::string&) noexcept {
  return false;
}

bool is_database_in_use(const std::string& path) noexcept {
  try {
    const HANDLE file = CreateFileW(utf8_path(path).c_str(), GENERIC_READ | GENERIC_WRITE, 0,
                                    nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
      return GetLastError() == ERROR_SHARING_VIOLATION;
    }
    CloseHandle(file);
    return false;
  } catch (const std::exception&) {
    return true;
  }
}

void sync_folder(const std::string&) {
  // The move has waited for that.
}

std::string make_temporary_folder() {
  const std::filesystem::path parent = std::filesystem::temp_directory_path();
  const std::string name = temporary_folder_prefix + std::to_string(GetCurrentProcessId()) + "-";
  for (unsigned i = 0;; ++i) {
    const std::filesystem::path path = parent / (name + std::to_string(i));
    if (std::filesystem::create_directory(path)) {
      return path.string();
    }
  }
}

}  // namespace host::os
