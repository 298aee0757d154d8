/** @file The bytes of a trace, block by block. */
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace trace {

/**
 * A file that is read from its beginning to its end, or standard input. It is read and not mapped:
 * a process that ends cuts its trace, and what was mapped behind would be no memory any more.
 */
class TraceFile {
 public:
  /** @throws tool::Error when it cannot be opened. */
  explicit TraceFile(const std::string& path);

  /** Reads up to so many bytes. @return how many; 0 at the end. @throws tool::Error */
  size_t read(char* to, size_t size);

  /** Goes back, so that bytes that were read can be read anew. @return false for what is no file.
   */
  bool go_to(uint64_t offset);

  /** Whether the name now stands for another file or a shorter one than `offset`. */
  bool was_replaced(uint64_t offset) const;

  const std::string& path() const { return path_; }
  const std::string& shown_name() const { return shown_name_; }

 private:
  struct Close {
    void operator()(std::FILE* file) const;
  };

  std::string path_;
  std::string shown_name_;
  std::unique_ptr<std::FILE, Close> file_;
};

}  // namespace trace
