#include "text.h"

#include <algorithm>
#include <cstdio>

namespace tool {

namespace {

/** Number of columns that a UTF-8 text takes, counting each character as one. */
size_t display_width(std::string_view text) {
  return static_cast<size_t>(
      std::count_if(text.begin(), text.end(), [](char c) { return (c & 0xC0) != 0x80; }));
}

void print_row(const std::vector<std::string>& cells, const std::vector<size_t>& widths) {
  std::string line;
  for (size_t i = 0; i < cells.size(); ++i) {
    line += cells[i];
    line.append(widths[i] - display_width(cells[i]) + 2, ' ');
  }
  line.erase(line.find_last_not_of(' ') + 1);
  std::puts(line.c_str());
}

}  // namespace

std::string trimmed(std::string_view text) {
  constexpr std::string_view blanks = " \t\r\n";
  const size_t begin = text.find_first_not_of(blanks);
  if (begin == std::string_view::npos) {
    return "";
  }
  return std::string(text.substr(begin, text.find_last_not_of(blanks) - begin + 1));
}

std::string cell_text(std::string_view field) {
  return trimmed(field.substr(0, field.find_first_of(";\r\n")));
}

std::string printable(std::string_view text) {
  std::string result(text);
  std::replace_if(
      result.begin(), result.end(), [](unsigned char c) { return c < 0x20 || c == 0x7F; }, '?');
  return result;
}

std::string counted(size_t count, const std::string& noun) {
  return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

void print_json(const Json& document) {
  std::puts(document.dump(2, ' ', false, Json::error_handler_t::replace).c_str());
}

void Table::add_row(std::vector<std::string> cells) {
  cells.resize(headings_.size());
  for (std::string& cell : cells) {
    cell = printable(cell);
  }
  rows_.push_back(std::move(cells));
}

void Table::print() const {
  std::vector<size_t> widths;
  for (const std::string& heading : headings_) {
    widths.push_back(display_width(heading));
  }
  for (const auto& row : rows_) {
    for (size_t i = 0; i < row.size(); ++i) {
      widths[i] = std::max(widths[i], display_width(row[i]));
    }
  }
  print_row(headings_, widths);
  for (const auto& row : rows_) {
    print_row(row, widths);
  }
}

}  // namespace tool
