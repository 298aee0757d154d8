#include <windows.h>

#include <filesystem>
#include <system_error>

#include "held_file.h"
#include "private_access.h"
#include "utf8_path.h"

namespace host::os {

namespace {

[[noreturn]] void throw_last_error() {
  throw std::system_error(static_cast<int>(GetLastError()), std::system_category());
}

/** Far behind the contents, since what is locked cannot be read. */
OVERLAPPED place_of_lock() {
  OVERLAPPED place{};
  place.OffsetHigh = 0x40000000;
  return place;
}

bool lock(HANDLE file, DWORD flags) {
  OVERLAPPED place = place_of_lock();
  return LockFileEx(file, flags | LOCKFILE_FAIL_IMMEDIATELY, 0, 1, 0, &place) != 0;
}

void move_to(HANDLE file, std::size_t place) {
  LARGE_INTEGER distance;
  distance.QuadPart = static_cast<LONGLONG>(place);
  if (SetFilePointerEx(file, distance, nullptr, FILE_BEGIN) == 0) {
    throw_last_error();
  }
}

constexpr DWORD shared = FILE_SHARE_READ | FILE_SHARE_WRITE;

}  // namespace

HeldFile::HeldFile(const std::string& path, const std::string&)
    : file_(CreateFileW(utf8_path(path).c_str(), FILE_WRITE_DATA | FILE_READ_DATA | SYNCHRONIZE,
                        shared, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr)) {
  if (file_ == INVALID_HANDLE_VALUE) {
    throw_last_error();
  }
  if (!lock(file_, LOCKFILE_EXCLUSIVE_LOCK)) {
    const DWORD error = GetLastError();
    CloseHandle(file_);
    throw std::system_error(static_cast<int>(error), std::system_category());
  }
}

HeldFile::~HeldFile() {
  CloseHandle(file_);
}

void HeldFile::write(std::size_t place, std::string_view text) const {
  DWORD written = 0;
  move_to(file_, place);
  if (WriteFile(file_, text.data(), static_cast<DWORD>(text.size()), &written, nullptr) == 0) {
    throw_last_error();
  }
}

void HeldFile::cut(std::size_t size) const {
  move_to(file_, size);
  if (SetEndOfFile(file_) == 0) {
    throw_last_error();
  }
}

bool is_held(const std::string& path) noexcept {
  HANDLE file = INVALID_HANDLE_VALUE;
  try {
    file = CreateFileW(utf8_path(path).c_str(), GENERIC_READ, shared | FILE_SHARE_DELETE, nullptr,
                       OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  } catch (const std::exception&) {
    return true;
  }
  if (file == INVALID_HANDLE_VALUE) {
    const DWORD error = GetLastError();
    return error != ERROR_FILE_NOT_FOUND && error != ERROR_PATH_NOT_FOUND;
  }
  // Shared, so that of two who ask at once neither is in the other's way.
  const bool is_free = lock(file, 0);
  CloseHandle(file);
  return !is_free;
}

void remove_unheld(const std::string& path) noexcept {
  try {
    std::error_code ignored;
    std::filesystem::remove(utf8_path(path), ignored);  // refused for an open file
  } catch (const std::exception&) {
    // It stays until the next one comes.
  }
}

void make_folder_like(const std::string& path, const std::string& about) {
  if (!has_own_access(about)) {
    std::filesystem::create_directory(utf8_path(path));
    return;
  }
  PrivateAccess access;
  if (CreateDirectoryW(utf8_path(path).c_str(), access.attributes()) == 0 &&
      GetLastError() != ERROR_ALREADY_EXISTS) {
    throw_last_error();
  }
}

}  // namespace host::os
