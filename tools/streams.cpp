#include "streams.h"

#include <cstdio>
#include <fstream>

#include "error.h"
#include "os.h"
#include "utf8_path.h"

namespace fs = std::filesystem;

namespace tool {

namespace {

constexpr std::size_t block_size = std::size_t{1} << 16;

}  // namespace

std::string read_standard_input() {
  os::pass_bytes_unchanged(stdin);
  std::string text;
  std::string block(block_size, '\0');
  const os::InterruptibleReads reads;
  while (const std::size_t count = std::fread(block.data(), 1, block.size(), stdin)) {
    text.append(block, 0, count);
  }
  stop_if_interrupted();
  if (std::ferror(stdin) != 0) {
    throw Error("cannot read standard input", "check where it comes from");
  }
  return text;
}

InputFile::InputFile(const std::string& given, const std::string& called)
    : path_(given), name_(given) {
  if (given != standard_stream) {
    return;
  }
  const std::string text = read_standard_input();
  work_.emplace(temporary_folder());
  const bool is_name = os::is_file_name(called) &&
                       called.find_first_of("/\\") == std::string::npos && called != "." &&
                       called != "..";
  path_ = work_->file(is_name ? called : "standard_input");
  name_ = "standard input";
  std::ofstream file(host::utf8_path(path_), std::ios::binary);
  file << text;
  file.close();
  if (!file) {
    throw Error("cannot keep what standard input holds in " + work_->path().string(), "make room");
  }
}

void write_to_standard_output(const fs::path& path) {
  os::pass_bytes_unchanged(stdout);
  std::ifstream file(path, std::ios::binary);
  print_rest(file);
}

void print_rest(std::istream& from) {
  std::string block(block_size, '\0');
  do {
    from.read(block.data(), static_cast<std::streamsize>(block.size()));
    std::fwrite(block.data(), 1, static_cast<std::size_t>(from.gcount()), stdout);
  } while (from.gcount() > 0 && std::ferror(stdout) == 0);
  if (!from.eof() && std::ferror(stdout) == 0) {
    throw Error("the output cannot be read from where it was kept", "look at the temporary folder");
  }
}

std::string decoded(const std::string& text, Encoding encoding) {
  if (encoding == Encoding::utf8) {
    return text;
  }
  std::string utf8;
  for (const char letter : text) {
    const auto number = static_cast<unsigned char>(letter);
    if (number < 0x80) {
      utf8 += letter;
    } else {
      utf8 += static_cast<char>(0xC0 | number >> 6);
      utf8 += static_cast<char>(0x80 | (number & 0x3F));
    }
  }
  return utf8;
}

}  // namespace tool
