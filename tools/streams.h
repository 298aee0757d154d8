/** @file Standard input and output, where the command line has "-" for a file. */
#pragma once

#include <filesystem>
#include <istream>
#include <optional>
#include <string>

#include "output_files.h"

namespace tool {

/** What stands for standard input or output in the place of a path. */
constexpr const char* standard_stream = "-";

/** All of standard input. */
std::string read_standard_input();

/** A file to read: the one that is named, or one that has what standard input had. */
class InputFile {
 public:
  /** @param called the name of the file that has what standard input had, if it may be one. */
  explicit InputFile(const std::string& given, const std::string& called = "standard_input");

  /** Where it can be read. */
  const std::string& path() const { return path_; }
  /** What users know it by. */
  const std::string& name() const { return name_; }

 private:
  std::string path_, name_;
  std::optional<WorkFolder> work_;
};

/** Copies a file to standard output. */
void write_to_standard_output(const std::filesystem::path& file);

/** Prints what a stream has left; an Error is thrown when it cannot be read to its end. */
void print_rest(std::istream& from);

/** Texts of files: UTF-8 unless the command line says otherwise. */
enum class Encoding { utf8, latin1 };

/** A text of a file in UTF-8. */
std::string decoded(const std::string& text, Encoding encoding);

}  // namespace tool
