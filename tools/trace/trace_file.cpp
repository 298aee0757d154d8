#include "trace_file.h"

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "error.h"
#include "utf8_path.h"

#if defined(_WIN32)
#include <fcntl.h>
#include <io.h>
#endif

namespace trace {
namespace {

std::FILE* open_for_reading(const std::string& path) {
#if defined(_WIN32)
  return _wfopen(host::utf8_path(path).c_str(), L"rbS");
#else
  return std::fopen(path.c_str(), "rbe");
#endif
}

bool go_to_offset(std::FILE* file, uint64_t offset) {
#if defined(_WIN32)
  return _fseeki64(file, static_cast<long long>(offset), SEEK_SET) == 0;
#else
  return fseeko(file, static_cast<off_t>(offset), SEEK_SET) == 0;
#endif
}

}  // namespace

void TraceFile::Close::operator()(std::FILE* file) const {
  if (file != stdin) {
    std::fclose(file);
  }
}

TraceFile::TraceFile(const std::string& path) : path_(path), shown_name_(path) {
  if (path == "-") {
    shown_name_ = "standard input";
    file_.reset(stdin);
#if defined(_WIN32)
    _setmode(_fileno(stdin), _O_BINARY);
#endif
  } else {
    std::error_code problem;
    if (std::filesystem::is_directory(host::utf8_path(path), problem)) {
      throw tool::Error("cannot read " + path + ", which is a folder", "name a file in it");
    }
    file_.reset(open_for_reading(path));
    if (file_ == nullptr) {
      throw tool::Error("cannot read " + path + " (" + std::strerror(errno) + ")",
                        "check its name, and that you may read it");
    }
  }
  // Blocks are large; another buffer in between would only copy them.
  std::setvbuf(file_.get(), nullptr, _IONBF, 0);
}

size_t TraceFile::read(char* to, size_t size) {
  const size_t count = std::fread(to, 1, size, file_.get());
  if (count < size && std::ferror(file_.get()) != 0) {
    throw tool::Error("cannot read " + shown_name_ + " (" + std::strerror(errno) + ")",
                      "check the disk, or copy the file");
  }
  if (count == 0) {
    std::clearerr(file_.get());
  }
  return count;
}

bool TraceFile::go_to(uint64_t offset) {
  return go_to_offset(file_.get(), offset);
}

bool TraceFile::was_replaced(uint64_t offset) const {
  std::error_code problem;
  const auto size = std::filesystem::file_size(host::utf8_path(path_), problem);
  return !problem && size < offset;
}

}  // namespace trace
