#include "files.h"

#include <filesystem>
#include <new>

#include "host_memory.h"

namespace orktool {

bool path_exists(const char* path) {
  try {
    std::error_code error;
    return std::filesystem::exists(std::filesystem::status(path, error));
  } catch (const std::bad_alloc&) {
    return true;  // the answer that overwrites nothing
  }
}

void remove_file(const char* path) {
  try {
    std::error_code error;
    if (!std::filesystem::is_directory(std::filesystem::symlink_status(path, error))) {
      std::filesystem::remove(path, error);
    }
  } catch (const std::bad_alloc&) {
    // It stays, and whoever writes to it next is told that it is there.
  }
}

bool is_same_file(const char* path, const char* other) {
  try {
    std::error_code ignored;
    return std::filesystem::equivalent(path, other, ignored);
  } catch (const std::bad_alloc&) {
    return true;
  }
}

void copy_temporary_folder(char* buffer, std::size_t size) {
  try {
    std::error_code error;
    copy_text(buffer, size, std::filesystem::temp_directory_path(error).string().c_str());
  } catch (const std::bad_alloc&) {
    copy_text(buffer, size, "");
  }
}

}  // namespace orktool
