/** @file A folder for one test, removed when the test ends. */
#pragma once

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

#include "host/system/utf8_path.h"

namespace test {

class TemporaryFolder {
 public:
  TemporaryFolder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "zolp-test-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) {
      throw std::runtime_error("no temporary folder");
    }
    path_ = host::utf8_path(pattern);
  }
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  /** Path of a file in the folder. */
  std::string path(const std::string& name) const {
    return (path_ / host::utf8_path(name)).make_preferred().string();
  }

  /** Writes a file and returns its path. */
  std::string write(const std::string& name, const std::string& contents) const {
    std::ofstream(path_ / host::utf8_path(name), std::ios::binary) << contents;
    return path(name);
  }

  /** Contents of a file in the folder; empty when it does not exist. */
  std::string read_bytes(const std::string& name) const {
    std::ifstream file(path_ / host::utf8_path(name), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  /** The same of a text file, with line feeds at the ends of lines. */
  std::string read(const std::string& name) const {
    std::string contents = read_bytes(name);
#if defined(_WIN32)
    // Text files end their lines in the way of the system that they are written on.
    for (std::size_t at = 0; (at = contents.find("\r\n", at)) != std::string::npos;) {
      contents.erase(at, 1);
    }
#endif
    return contents;
  }

  bool has(const std::string& name) const {
    return std::filesystem::exists(path_ / host::utf8_path(name));
  }

 private:
  std::filesystem::path path_;
};

#if defined(TEST_FILES)
/** Text of a file beside the tests' sources. */
inline std::string file_text(const std::string& name) {
  std::ifstream file(host::utf8_path(TEST_FILES "/" + name), std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}
#endif

}  // namespace test
