/** @file Texts as they are shown: fields of lists, tables, JSON. */
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

namespace tool {

using Json = nlohmann::ordered_json;

/** The text without blanks, tabs and line ends at either end. */
std::string trimmed(std::string_view text);

/**
 * The part of a list field that belongs to its cell. Fields are read with their padding and with
 * the columns that follow, so a cell ends at the first ';' or line end.
 */
std::string cell_text(std::string_view field);

/**
 * The text as it may be shown: control characters are replaced, so that data cannot steer the
 * terminal, and bytes that are no UTF-8.
 */
std::string printable(std::string_view text);

/** Where the first byte is that is no UTF-8; npos for none. */
size_t first_byte_that_is_no_utf8(std::string_view text);

/** A number and its noun: "1 item", "2 items". */
std::string counted(size_t count, const std::string& noun);

/** Prints a JSON document; bytes that are not UTF-8 are replaced. */
void print_json(const Json& document);

/** Rows of text, printed in aligned columns under their headings. */
class Table {
 public:
  /** @param numbers how many of the first columns hold numbers, which end below each other. */
  explicit Table(std::vector<std::string> headings, size_t numbers = 0)
      : headings_(std::move(headings)), numbers_(numbers) {}

  void add_row(std::vector<std::string> cells);
  void print() const;

 private:
  std::vector<std::string> headings_;
  size_t numbers_;
  std::vector<std::vector<std::string>> rows_;
};

}  // namespace tool
