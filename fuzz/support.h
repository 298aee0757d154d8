/** @file What the fuzzers share: inputs as texts, files without a disk, checks, a site. */
#pragma once

#if !defined(_WIN32)
#include <sys/mman.h>
#include <unistd.h>
#endif

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "zolp_basetool.h"

namespace fuzz {

/** Ends the program when the library does not do what its contract says. */
inline void check(bool holds, const char* what) {
  if (!holds) {
    std::fprintf(stderr, "does not hold: %s\n", what);
    std::abort();
  }
}

/** Has all of the trace formatted, and drops it. */
inline void trace_into_nothing() {
  ZOLP_SetTraceLevel(ZOLP_LEVEL_DEBUG);
  ZOLP_SetTraceWriter([](int, const char*, size_t, void*) {}, nullptr);
}

/** Shuts the functions up that print to standard output. */
inline void print_into_nothing() {
#if defined(_WIN32)
  constexpr const char* nothing = "NUL";
#else
  constexpr const char* nothing = "/dev/null";
#endif
  if (std::freopen(nothing, "w", stdout) == nullptr) {
    std::abort();
  }
}

/** A file with a path; in memory, where the system has such files. */
class MemoryFile {
 public:
#if defined(_WIN32)
  MemoryFile()
      : path_((std::filesystem::temp_directory_path() /
               ("fuzz-" + std::to_string(_getpid()) + "-" + std::to_string(count_++)))
                  .string()) {
    write("");
  }
  ~MemoryFile() {
    std::remove(path_.c_str());
  }
#else
  MemoryFile() : descriptor_(memfd_create("fuzz", MFD_CLOEXEC)) {
    path_ = "/proc/self/fd/" + std::to_string(descriptor_);
  }
  ~MemoryFile() {
    close(descriptor_);
  }
#endif
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;

  const char* path() const {
    return path_.c_str();
  }

  void write(std::string_view contents) const {
    // Text files, as those of the library: some systems end lines in their own way.
    std::ofstream(path_, std::ios::trunc)
        .write(contents.data(), static_cast<std::streamsize>(contents.size()));
  }

  std::string read() const {
    std::ifstream file(path_);
    return {std::istreambuf_iterator<char>(file), {}};
  }

 private:
#if defined(_WIN32)
  inline static int count_ = 0;
#else
  int descriptor_;
#endif
  std::string path_;
};

inline std::string_view text_of(const std::uint8_t* data, std::size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

/** A text as C functions see it. */
inline std::string terminated(std::string_view text) {
  return std::string(text.substr(0, text.find('\0')));
}

/** Splits at each separator; there is one part more than separators. */
inline std::vector<std::string> split(std::string_view text, char separator) {
  std::vector<std::string> parts;
  for (std::size_t at = text.find(separator); at != std::string_view::npos;
       at = text.find(separator)) {
    parts.emplace_back(text.substr(0, at));
    text.remove_prefix(at + 1);
  }
  parts.emplace_back(text);
  return parts;
}

/** The lines of a text as a buffer of some size takes them, each up to its first null byte. */
inline std::vector<std::string> lines_of(std::string_view text, std::size_t buffer_size) {
  std::vector<std::string> lines;
  while (!text.empty()) {
    const std::size_t length =
        std::min({text.find('\n') == std::string_view::npos ? text.size() : text.find('\n') + 1,
                  buffer_size - 1, text.size()});
    lines.push_back(terminated(text.substr(0, length)));
    text.remove_prefix(length);
  }
  return lines;
}

}  // namespace fuzz
