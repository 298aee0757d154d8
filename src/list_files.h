/**
 * @file
 * The text files of a clone run: opened, read line by line, written, and copied. What goes wrong is
 * reported as a failure of the place that asked.
 */
#pragma once

#include <cstdio>
#include <memory>
#include <string_view>

#include "call_frame.h"
#include "list_columns.h"

namespace orktool {

struct FileClose {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, FileClose>;

inline constexpr char open_error[] = "Error from open file:<%s>! File:%s [Line:%d]\n";
inline constexpr char write_error[] = "Error from write file:<%s>! File:%s [Line:%d]\n";
inline constexpr char read_error[] = "Error from read file:<%s>! File:%s [Line:%d]\n";

File open_file(const char* path, const char* mode);

bool is_at_end(std::FILE* file);

/** Reports a file that could not be read to its end. */
bool is_read_completely(std::FILE* file, const char* path, Place place = here());

/** Closes a file that was written; says whether everything arrived in it. */
bool close_written(File file);

void write_text(const File& file, std::string_view text);

/** Reads a text line by line; a line that does not fit its buffer comes in several pieces. */
class LineReader {
 public:
  explicit LineReader(std::FILE* file) : file_(file) {}

  /** Reads the next line; false at the end of the file. */
  bool next() {
    const bool has_line = std::fgets(buffer_, line_size, file_) != nullptr;
    line_ = has_line ? std::string_view(buffer_) : std::string_view();
    return has_line;
  }

  /** The line as read, with its line feed. It is terminated by a null byte. */
  std::string_view line() const { return line_; }

  /** Whether reading the line ran into the end of the file. */
  bool is_at_end() const { return std::feof(file_) != 0; }

 private:
  std::FILE* file_;
  char buffer_[line_size + 1] = "";
  std::string_view line_;
};

/** A list and the copy that is made of it. */
struct ListCopy {
  File in;
  File out;
};

/** Opens a list and the file for its copy; reports the one that cannot be opened. */
bool open_list_copy(const char* in_file, const char* out_file, ListCopy& files,
                    Place place = here());

/** Ends a copy; reports a copy that is not complete. Returns the status for the caller. */
int close_list_copy(ListCopy& files, const char* out_file, Place place = here());

}  // namespace orktool
