#include "text.h"

#include <algorithm>
#include <cstdio>

#include "output.h"
#include "table_rows.h"

namespace tool {

namespace {

/** Takes a UTF-8 text apart; a byte that belongs to no character is passed on alone. */
template <typename Take>
void for_each_character(std::string_view text, const Take& take) {
  const auto continues = [&text](size_t at) {
    return at < text.size() && (text[at] & 0xC0) == 0x80;
  };
  while (!text.empty()) {
    const auto first = static_cast<unsigned char>(text.front());
    size_t size = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : first >= 0xC2 ? 2 : 1;
    for (size_t i = 1; i < size; ++i) {
      size = continues(i) ? size : 1;
    }
    take(text.substr(0, size));
    text.remove_prefix(size);
  }
}

/**
 * Whether terminals take a character for a command: those below 32, 127, and those from 128 to 159,
 * in UTF-8 or as the byte that they are elsewhere.
 */
bool is_control(std::string_view character) {
  const auto first = static_cast<unsigned char>(character.front());
  const auto last = static_cast<unsigned char>(character.back());
  const bool is_high = last >= 0x80 && last < 0xA0 && (character.size() == 1 || first == 0xC2);
  return (character.size() == 1 && (first < 0x20 || first == 0x7F)) ||
         (is_high && character.size() <= 2);
}

}  // namespace

size_t display_width(std::string_view text) {
  return static_cast<size_t>(
      std::count_if(text.begin(), text.end(), [](char c) { return (c & 0xC0) != 0x80; }));
}

void print_row(const std::vector<std::string>& cells, const std::vector<size_t>& widths,
               size_t numbers) {
  std::string line;
  for (size_t i = 0; i < cells.size(); ++i) {
    const size_t blanks = widths[i] - display_width(cells[i]);
    line.append(i < numbers ? blanks : 0, ' ');
    line += cells[i];
    line.append((i < numbers ? 0 : blanks) + 2, ' ');
  }
  line.erase(line.find_last_not_of(' ') + 1);
  std::puts(line.c_str());
}

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
  std::string result;
  for_each_character(
      text, [&](std::string_view character) { result += is_control(character) ? "?" : character; });
  return result;
}

std::string counted(size_t count, const std::string& noun) {
  return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

void print_json(const Json& document) {
  const std::string text = document.dump(2, ' ', false, Json::error_handler_t::replace);
  std::puts(printable_json(text).c_str());
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
  print_row(headings_, widths, numbers_);
  for (const auto& row : rows_) {
    print_row(row, widths, numbers_);
  }
}

}  // namespace tool
