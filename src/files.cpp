#include "files.h"

#include <exception>
#include <filesystem>

#include "host_memory.h"

#if defined(_WIN32)
#include <windows.h>
#endif

namespace orktool {

namespace {

#if defined(_WIN32)

// Paths are in the process's own encoding, as those that are passed to fopen.

std::filesystem::path as_path(const char* path) {
  const int size = MultiByteToWideChar(CP_ACP, 0, path, -1, nullptr, 0);
  std::wstring wide(static_cast<std::size_t>(size), L'\0');
  MultiByteToWideChar(CP_ACP, 0, path, -1, wide.data(), size);
  wide.resize(wide.find(L'\0'));
  return wide;
}

std::string temporary_folder() {
  char folder[MAX_PATH + 1] = "";
  GetTempPathA(sizeof folder, folder);
  std::string text = folder;
  // As elsewhere, without a separator at its end.
  if (text.ends_with('\\')) {
    text.pop_back();
  }
  return text;
}

#else

const char* as_path(const char* path) {
  return path;
}

std::string temporary_folder() {
  std::error_code error;
  return std::filesystem::temp_directory_path(error).string();
}

#endif

}  // namespace

bool path_exists(const char* path) {
  try {
    std::error_code error;
    return std::filesystem::exists(std::filesystem::status(as_path(path), error));
  } catch (const std::exception&) {
    return true;  // the answer that overwrites nothing
  }
}

void remove_file(const char* path) {
  try {
    std::error_code error;
    if (!std::filesystem::is_directory(std::filesystem::symlink_status(as_path(path), error))) {
      std::filesystem::remove(as_path(path), error);
    }
  } catch (const std::exception&) {
    // It stays, and whoever writes to it next is told that it is there.
  }
}

bool is_same_file(const char* path, const char* other) {
  try {
    std::error_code ignored;
    return std::filesystem::equivalent(as_path(path), as_path(other), ignored);
  } catch (const std::exception&) {
    return true;
  }
}

void copy_temporary_folder(char* buffer, std::size_t size) {
  try {
    copy_text(buffer, size, temporary_folder().c_str());
  } catch (const std::exception&) {
    copy_text(buffer, size, "");
  }
}

}  // namespace orktool
