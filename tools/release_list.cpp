#include "release_list.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string_view>
#include <utility>

#include "error.h"
#include "os.h"
#include "text.h"
#include "utf8_path.h"

namespace tool {

namespace {

/** Longest line without its line end that the library's readers take in one piece. */
constexpr size_t longest_line = 498;

/** Where problems go: the first one ends a check, or all are collected. */
using Report = std::function<void(const ListProblem&)>;

Error error_of(const std::string& list, const ListProblem& problem) {
  return {list + ":" + std::to_string(problem.line) + ": the line " + problem.what, problem.advice};
}

/** Reads a list's lines, and reports those that are no text or too long. */
class LineReader {
 public:
  LineReader(const InputFile& list, Report report)
      : report_(std::move(report)), file_(host::utf8_path(list.path()), std::ios::binary) {}

  bool next() {
    if (!std::getline(file_, line_)) {
      return false;
    }
    ++number_;
    if (line_.find('\0') != std::string::npos) {
      report("", "holds a NUL byte", "this is not a text file, or it is damaged");
    }
    if (line_.size() > longest_line) {
      report("", "is longer than " + std::to_string(longest_line) + " characters",
             "shorten it, the reader would take it for several lines");
    }
    return true;
  }

  void report(const std::string& column, const std::string& what, const std::string& advice,
              bool is_refused = true) const {
    report_({number_, column, what, advice, is_refused});
  }

  const std::string& line() const { return line_; }
  void drop_front(size_t count) { line_.erase(0, count); }
  size_t number() const { return number_; }
  bool ends_with_line_feed() const { return !file_.eof(); }

 private:
  Report report_;
  std::ifstream file_;
  std::string line_;
  size_t number_ = 0;
};

void check_file_access(const InputFile& list) {
  const std::string& path = list.path();
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
    throw Error("list " + list.name() + " is empty", "export the list again");
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

/** The columns of a release list, each as wide as the next one lets it be. */
struct Column {
  const char* title;
  size_t begin;
};

constexpr Column columns[] = {{"Level", 0},
                              {"Item Revision", column::item_revision},
                              {"Datasets", 40},
                              {"Type", column::type},
                              {"New Item ID", column::new_item_id},
                              {"New Name", column::new_name},
                              {"BOM Mode", 172},
                              {"Rel-Status", 205},
                              {"Tarn Info", 238},
                              {"PF Info", 271}};

/** Title of the column that a byte of a line is in. */
const char* column_at(size_t position) {
  const auto after = std::find_if(std::begin(columns), std::end(columns),
                                  [&](const Column& one) { return one.begin > position; });
  return std::prev(after)->title;
}

std::string at(size_t position) {
  return " at character " + std::to_string(position + 1);
}

constexpr std::string_view byte_order_mark = "\xEF\xBB\xBF";

class ReleaseListCheck {
 public:
  /** @param warns whether what the library takes is looked at, too. */
  ReleaseListCheck(const InputFile& list, const std::string& separator, Encoding encoding,
                   bool warns, Report report)
      : reader_(list, std::move(report)),
        separator_(separator),
        name_(list.name()),
        encoding_(encoding),
        warns_(warns) {}

  ReleaseListContents run() {
    while (reader_.next()) {
      if (warns_) {
        warn();
      }
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
      throw Error("list " + name_ + " has no item line", "export the release list again");
    }
    return contents_;
  }

  size_t lines() const { return reader_.number(); }

 private:
  static bool is_header(const std::string& line) {
    return line.starts_with("Level") && line.size() > column::item_revision &&
           line.compare(column::item_revision, 13, "Item Revision") == 0;
  }

  static bool has_cells(const std::string& line) {
    return line.size() > column::level_width && line[column::level_width] == ';';
  }

  /** What looks right in an editor, and is not where the reader takes it from. */
  void warn() {
    if (reader_.number() == 1 && reader_.line().starts_with(byte_order_mark)) {
      reader_.report("Level", "begins with a byte order mark",
                     "save the list as UTF-8 without one");
      reader_.drop_front(byte_order_mark.size());
    }
    const std::string& line = reader_.line();
    if (const size_t tab = line.find('\t'); tab != std::string::npos) {
      reader_.report(column_at(tab), "has a tab" + at(tab), "write blanks up to the next column",
                     false);
    }
    if (encoding_ == Encoding::utf8) {
      const size_t byte = first_byte_that_is_no_utf8(line);
      if (byte != std::string::npos) {
        reader_.report(column_at(byte), "is not in UTF-8" + at(byte),
                       "say --encoding latin1, or save the list as UTF-8", false);
      }
    }
    if (has_cells(line)) {
      warn_of_moved_columns();
    }
  }

  void warn_of_moved_columns() const {
    const std::string& line = reader_.line();
    for (size_t i = 1; i < std::size(columns); ++i) {
      const size_t expected = columns[i].begin - 1;
      if (line.size() <= expected) {
        return;  // lines may end early
      }
      if (line[expected] != ';') {
        reader_.report(columns[i].title,
                       "has no \";\"" + at(expected) + ", where this column begins",
                       "fill each cell up with blanks; an umlaut takes two bytes in UTF-8", false);
        return;  // the others have moved, too
      }
    }
  }

  /** The first cell of a line that has one is blank or a level. */
  void check_level() const {
    const std::string& line = reader_.line();
    const std::string level = trimmed(line.substr(0, column::level_width));
    if (!has_cells(line)) {
      if (level_as_read(line) != 0) {
        reader_.report("Level", "begins with a number, but is no item line",
                       "indent it, or put the line into its columns");
      }
      return;
    }
    if (level.empty()) {
      return;
    }
    if (level.find_first_not_of("0123456789") != std::string::npos || level_as_read(line) < 1) {
      reader_.report("Level", "has the level \"" + printable(decoded(level, encoding_)) + "\"",
                     "levels are whole numbers from 1, other lines begin with blanks");
    }
  }

  void check_item() {
    const std::string& line = reader_.line();
    if (!has_header_) {
      reader_.report("", "is an item line, but no header line stands before it",
                     "begin the list with \"Level ;Item Revision ;Datasets ;...\"");
      has_header_ = true;  // told once
    }
    ++contents_.items;
    if (line.size() < column::new_name) {
      reader_.report("New Name", "ends before the column \"New Name\"",
                     "keep the columns at their fixed positions, padded with blanks");
    }
    const bool has_item = line.size() > column::item_revision;
    if (!has_item || !contains(cell_text(line.substr(column::item_revision)), separator_.c_str())) {
      reader_.report("Item Revision", "has no \"" + separator_ + "\" in \"Item Revision\"",
                     "write the cell as item id, separator, revision");
    }
    if (!linking_.link(level_as_read(line))) {
      reader_.report("Level", "is an item above the level of the first item",
                     "begin the list with its top item");
    }
    if (linking_.misplaced()) {
      if (contents_.level_jumps++ == 0) {
        contents_.first_level_jump = name_ + ":" + std::to_string(reader_.number());
      }
      if (warns_) {
        reader_.report("Level", "is an item that the reader puts one level up only",
                       "close each sub-assembly with a part of its own level", false);
      }
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
      reader_.report("Type", "is a dataset line, but no item line stands before it",
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
        reader_.report("Level", "is an item line that the reader would skip",
                       "put the dashes on a line of their own below \"Where used:\"");
      }
    }
  }

  LineReader reader_;
  std::string separator_;
  std::string name_;
  Encoding encoding_;
  bool warns_;
  ReleaseListContents contents_;
  Linking linking_;
  bool has_header_ = false;
};

/** Refuses a list for its first problem. */
Report refusal(const InputFile& list) {
  return [name = list.name()](const ListProblem& problem) { throw error_of(name, problem); };
}

}  // namespace

size_t check_list_file(const InputFile& list) {
  check_file_access(list);
  LineReader reader(list, refusal(list));
  while (reader.next()) {
  }
  return reader.number();
}

ReleaseListContents check_release_list(const InputFile& list, const std::string& separator) {
  check_file_access(list);
  return ReleaseListCheck(list, separator, Encoding::utf8, false, refusal(list)).run();
}

ListReport report_on_list(const InputFile& list, const std::string& separator, Encoding encoding) {
  check_file_access(list);
  ListReport report;
  ReleaseListCheck check(list, separator, encoding, true, [&report](const ListProblem& problem) {
    report.problems.push_back(problem);
  });
  report.contents = check.run();
  report.lines = check.lines();
  return report;
}

}  // namespace tool
