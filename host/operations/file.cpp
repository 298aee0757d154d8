// FILE_: text files, and files of the vault. The handle of a text file is a number that is used
// once, so that a closed one stays unknown.

#include "ork/file.h"

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <unordered_map>

#include "access.h"
#include "files.h"
#include "handout.h"
#include "operation.h"
#include "ork/access.h"
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

void require_file(tag file) {
  if (!store().is_a(file, "VeloFile")) {
    refuse(FILE_not_a_file, "object " + std::to_string(file));
  }
}

void export_file(tag file, const std::string& path) {
  require_file(file);
  require_privilege(file, ACCESS_privilege_read);
  take_out_file(file, path);
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

int FILE_import_file(const char* path, const char* original_name, int type, tag* file,
                     FILE_handle* descriptor) {
  host::clear(file);
  host::clear(descriptor);
  return operation("FILE_import_file", Needs::session, [&] {
    host::require_all(path, file);
    host::require(type == SS_TEXT || type == SS_BINARY || type == 0, "the type of the file");
    *file = host::import_file(path, original_name != nullptr ? original_name : path, type);
  });
}

int FILE_export_file(tag file, const char* path) {
  return operation("FILE_export_file", Needs::session, [&] {
    host::require_all(path);
    host::export_file(file, path);
  });
}

int FILE_get_original_file_name(tag file, char* name) {
  host::clear(name);
  return operation("FILE_get_original_file_name", Needs::session, [&] {
    host::require_all(name);
    host::require_file(file);
    host::copy_out(host::store().text(file, "original_file_name"), name,
                   FILE_original_name_size + 1);
  });
}

int FILE_set_original_file_name(tag file, const char* name) {
  return operation("FILE_set_original_file_name", Needs::session, [&] {
    host::require_all(name);
    host::require_file(file);
    host::store().set(file, "original_file_name", host::last_part(name));
  });
}

int FILE_describe(tag file, int64_t* size, int* type, char* digest) {
  host::clear(size);
  host::clear(type);
  host::clear(digest);
  return operation("FILE_describe", Needs::session, [&] {
    host::require_all(size, type, digest);
    host::require_file(file);
    const host::Contents contents = host::contents_of(host::store(), file);
    *size = contents.size;
    *type = host::store().integer(file, "file_type");
    host::copy_out(contents.digest, digest, FILE_digest_size + 1);
  });
}

int FILE_set_progress(FILE_progress progress, void* context) {
  return operation("FILE_set_progress", Needs::nothing, [&] {
    host::report_copies_to({progress, context});
  });
}
