// FILE_: text files. A handle is a number that is used once, so that a closed one stays unknown.

#include "ork/file.h"

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <unordered_map>

#include "operation.h"
#include "os.h"

namespace host {

namespace {

struct TextFile {
  std::FILE* stream;
  std::string path;
};

struct OpenFiles {
  std::unordered_map<std::uintptr_t, TextFile> by_handle;
  std::uintptr_t last_handle = 0;
};

OpenFiles& open_files() {
  // Never destroyed: programs may close files while they end.
  static OpenFiles& instance = *new OpenFiles;
  return instance;
}

auto find_file(FILE_handle file) {
  const auto found = open_files().by_handle.find(reinterpret_cast<std::uintptr_t>(file));
  if (found == open_files().by_handle.end()) {
    refuse(FILE_not_open);
  }
  return found;
}

[[noreturn]] void refuse_with_errno(int status, const std::string& path) {
  const int error = errno;
  refuse(status, path + ": " + std::strerror(error));
}

}  // namespace

}  // namespace host

using host::Needs;
using host::operation;

int FILE_create_text_file(const char* path, FILE_handle* file) {
  host::clear(file);
  return operation("FILE_create_text_file", Needs::nothing, [&] {
    host::require_all(path, file);
    auto& files = host::open_files();
    const std::uintptr_t handle = ++files.last_handle;
    auto& opened = files.by_handle[handle];
    opened.path = path;
    opened.stream = host::os::open_file(path, "w");
    if (opened.stream == nullptr) {
      const int error = errno;
      files.by_handle.erase(handle);
      errno = error;
      host::refuse_with_errno(FILE_cannot_open, path);
    }
    *file = reinterpret_cast<FILE_handle>(handle);
  });
}

int FILE_write_file_line(FILE_handle file, const char* line) {
  return operation("FILE_write_file_line", Needs::nothing, [&] {
    const auto found = host::find_file(file);
    host::require_all(line);
    if (std::fputs(line, found->second.stream) == EOF) {
      host::refuse_with_errno(FILE_cannot_write, found->second.path);
    }
  });
}

int FILE_close_text_file(FILE_handle file) {
  return operation("FILE_close_text_file", Needs::nothing, [&] {
    const auto found = host::find_file(file);
    const host::TextFile closed = found->second;
    host::open_files().by_handle.erase(found);
    // A write that failed before makes no second error here, but what is still buffered may.
    if (std::fclose(closed.stream) != 0) {
      host::refuse_with_errno(FILE_cannot_write, closed.path);
    }
  });
}
