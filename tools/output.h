/** @file Output that is printed as it is made, however long it gets. */
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "json_stream.h"
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
