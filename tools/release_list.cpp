#include "release_list.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "error.h"
#include "os.h"
#include "text.h"
#include "utf8_path.h"

namespace tool {

namespace {

/** Longest line without its line end that the library's readers take in one piece. */
constexpr size_t longest_line = 498;

/** Reads a list's lines and knows where it is. */
class LineReader {
 public:
  explicit LineReader(const std::string& path)
      : path_(path), file_(host::utf8_path(path), std::ios::binary) {}

  bool next() {
    if (!std::getline(file_, line_)) {
      return false;
    }
    ++number_;
    if (line_.find('\0') != std::string::npos) {
      throw error("holds a NUL byte", "this is not a text file, or it is damaged");
    }
    if (line_.size() > longest_line) {
      throw error("is longer than " + std::to_string(longest_line) + " characters",
                  "shorten it, the reader would take it for several lines");
    }
    return true;
  }

  const std::string& line() const { return line_; }
  size_t number() const { return number_; }
  bool ends_with_line_feed() const { return !file_.eof(); }
  std::string place() const { return path_ + ":" + std::to_string(number_); }

  Error error(const std::string& problem, const std::string& advice) const {
    return {place() + ": the line " + problem, advice};
  }

 private:
  std::string path_;
  std::ifstream file_;
  std::string line_;
  size_t number_ = 0;
};

void check_file_access(const std::string& path) {
  std::error_code problem;
  if (!std::filesystem::exists(host::utf8_path(path), problem)) {
    throw Error("list " + path + " does not exist", "check the path");
  }
  if (!std::filesystem::is_regular_file(host::utf8_path(path), problem)) {
    throw Error("list " + path + " is not a file", "name a text file");
  }
  if (!os::is_accessible(path)) {
    throw Error("list " + path + " cannot be opened for update (" + std::strerror(errno) + ")",
                "make it readable and writable, or work on a copy");
  }
  if (std::filesystem::file_size(host::utf8_path(path), problem) == 0) {
    throw Error("list " + path + " is empty", "export the list again");
  }
}

bool contains(const std::string& text, const char* part) {
  return text.find(part) != std::string::npos;
}

/** The level that the library reads: the number that the first six characters begin with. */
int level_as_read(const std::string& line) {
  return std::atoi(line.substr(0, column::level_width).c_str());
}

/** Follows how the reader links item after item: one step down, or one step up, at a time. */
class Linking {
 public:
  /** @return false for an item on a higher level than anything it could be linked to. */
  bool link(int level) {
    if (levels_.empty() || level > levels_.back()) {
      levels_.push_back(level);
      misplaced_ = false;
      return true;
    }
    misplaced_ = level < levels_.back();
    if (misplaced_) {
      if (levels_.size() == 1) {
        return false;
      }
      levels_.pop_back();
      misplaced_ = levels_.back() != level;
      levels_.back() = level;
    }
    return true;
  }

  /** The last item became the sibling of an item on another level. */
  bool misplaced() const { return misplaced_; }

 private:
  std::vector<int> levels_;
  bool misplaced_ = false;
};

class ReleaseListCheck {
 public:
  ReleaseListCheck(const std::string& path, const std::string& separator)
      : reader_(path), separator_(separator), path_(path) {}

  ReleaseListContents run() {
    while (reader_.next()) {
      const std::string& line = reader_.line();
      if (is_header(line)) {
        has_header_ = true;
        continue;
      }
      check_level();
      if (level_as_read(line) >= 1) {
        check_item();
      }
      count_datasets();
      skip_what_the_reader_skips();
    }
    if (contents_.items == 0) {
      throw Error("list " + path_ + " has no item line", "export the release list again");
    }
    return contents_;
  }

 private:
  static bool is_header(const std::string& line) {
    return line.starts_with("Level") && line.size() > column::item_revision &&
           line.compare(column::item_revision, 13, "Item Revision") == 0;
  }

  /** The first cell of a line that has one is blank or a level. */
  void check_level() const {
    const std::string& line = reader_.line();
    const bool has_cell = line.size() > column::level_width && line[column::level_width] == ';';
    const std::string level = trimmed(line.substr(0, column::level_width));
    if (!has_cell) {
      if (level_as_read(line) == 0) {
        return;
      }
      throw reader_.error("begins with a number, but is no item line",
                          "indent it, or put the line into its columns");
    }
    if (level.empty()) {
      return;
    }
    if (level.find_first_not_of("0123456789") != std::string::npos || level_as_read(line) < 1) {
      throw reader_.error("has the level \"" + printable(level) + "\"",
                          "levels are whole numbers from 1, other lines begin with blanks");
    }
  }

  void check_item() {
    const std::string& line = reader_.line();
    if (!has_header_) {
      throw reader_.error("is an item line, but no header line stands before it",
                          "begin the list with \"Level ;Item Revision ;Datasets ;...\"");
    }
    if (line.size() < column::new_name) {
      throw reader_.error("ends before the column \"New Name\"",
                          "keep the columns at their fixed positions, padded with blanks");
    }
    if (!contains(cell_text(line.substr(column::item_revision)), separator_.c_str())) {
      throw reader_.error("has no \"" + separator_ + "\" in \"Item Revision\"",
                          "write the cell as item id, separator, revision");
    }
    ++contents_.items;
    if (!linking_.link(level_as_read(line))) {
      throw reader_.error("is an item above the level of the first item",
                          "begin the list with its top item");
    }
    if (linking_.misplaced() && contents_.level_jumps++ == 0) {
      contents_.first_level_jump = reader_.place();
    }
  }

  void count_datasets() {
    const std::string& line = reader_.line();
    // At a last line without a line end the reader meets the end of the file too early for these.
    const bool complete = reader_.ends_with_line_feed();
    size_t datasets = complete && contains(line, "QNMASTER") ? 1 : 0;
    if (complete && contains(line, "QNPART")) {
      ++datasets;
    }
    if (line.size() > column::type && contains(line.substr(column::type, 15), "ALTREP")) {
      ++datasets;
    }
    if (datasets > 0 && contents_.items == 0) {
      throw reader_.error("is a dataset line, but no item line stands before it",
                          "put it below the line of its item");
    }
    contents_.datasets += datasets;
  }

  /** A line of dashes that begins behind "Where used:" takes the line after it along. */
  void skip_what_the_reader_skips() {
    if (!contains(reader_.line(), "Where used:")) {
      return;
    }
    while (reader_.ends_with_line_feed() && reader_.line().ends_with("-----------")) {
      if (!reader_.next()) {
        return;
      }
      if (level_as_read(reader_.line()) >= 1) {
        throw reader_.error("is an item line that the reader would skip",
                            "put the dashes on a line of their own below \"Where used:\"");
      }
    }
  }

  LineReader reader_;
  std::string separator_;
  std::string path_;
  ReleaseListContents contents_;
  Linking linking_;
  bool has_header_ = false;
};

}  // namespace

size_t check_list_file(const std::string& path) {
  check_file_access(path);
  LineReader reader(path);
  while (reader.next()) {
  }
  return reader.number();
}

ReleaseListContents check_release_list(const std::string& path, const std::string& separator) {
  check_file_access(path);
  return ReleaseListCheck(path, separator).run();
}

}  // namespace tool
