/** @file Output that is printed as it is made, however long it gets. */
#pragma once

#include <fstream>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "json_stream.h"
#include "output_files.h"
#include "text.h"

namespace tool {

/** A part of a JSON text, with what is left of control characters as escapes. */
std::string printable_json(std::string_view text);

/**
 * Output that is kept back until it gets long, so that a command that fails before prints nothing
 * of it.
 */
class HeldOutput {
 public:
  void write(std::string_view text);

  /** Prints what has been kept back. Without this it is dropped. */
  void finish();

 private:
  std::string held_;
};

/**
 * Output that may be printed only when something else has been done. What is long is kept in a file
 * until then.
 */
class LateOutput {
 public:
  void write(std::string_view text);

  /** Prints all of it. Without this it is dropped. */
  void print();

 private:
  void keep();

  std::string held_;
  std::optional<WorkFolder> folder_;
  std::fstream file_;
};

/** A list that is printed as JSON, element by element. */
class JsonList {
 public:
  JsonList();
  void add(const Json& element) { stream_.value(element); }
  void finish();

 private:
  host::JsonStream stream_;
};

/**
 * A table (text.h) that is printed in blocks as it grows. Columns get wider where a later block
 * needs it.
 */
class BlockTable {
 public:
  explicit BlockTable(std::vector<std::string> headings);

  void add_row(std::vector<std::string> cells);

  /** Prints what has not been printed yet. */
  void finish();

 private:
  std::vector<size_t> widths_;
  std::vector<std::vector<std::string>> rows_;
};

}  // namespace tool
