#include "text.h"

#include <algorithm>
#include <cstdio>

#include "output.h"
#include "table_rows.h"

namespace tool {

namespace {

/** Bytes of the UTF-8 character that a text begins with; 0 for a byte that begins none. */
size_t character_size(std::string_view text) {
  const auto byte = [&text](size_t at) {
    return at < text.size() ? static_cast<unsigned char>(text[at]) : 0U;
  };
  const unsigned first = byte(0);
  if (first < 0x80) {
    return 1;
  }
  // What the second byte may be where others would be a longer spelling, or no character.
  const unsigned least = first == 0xE0 ? 0xA0 : first == 0xF0 ? 0x90 : 0x80;
  const unsigned most = first == 0xED ? 0x9F : first == 0xF4 ? 0x8F : 0xBF;
  const size_t size = first < 0xC2 || first > 0xF4 ? 0 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
  if (size == 0 || byte(1) < least || byte(1) > most) {
    return 0;
  }
  for (size_t i = 2; i < size; ++i) {
    if ((byte(i) & 0xC0) != 0x80) {
      return 0;
    }
  }
  return size;
}

/** Takes a UTF-8 text apart; for a byte that belongs to no character another one is passed on. */
template <typename Take>
void for_each_character(std::string_view text, const Take& take) {
  constexpr std::string_view instead = "\xEF\xBF\xBD";
  while (!text.empty()) {
    const size_t size = character_size(text);
    take(size == 0 ? instead : text.substr(0, size));
    text.remove_prefix(std::max<size_t>(size, 1));
  }
}

/** Whether terminals take a character for a command: those below 32, and those from 127 to 159. */
bool is_control(std::string_view character) {
  const auto first = static_cast<unsigned char>(character.front());
  const auto last = static_cast<unsigned char>(character.back());
  return first < 0x20 || first == 0x7F || (first == 0xC2 && last < 0xA0);
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

size_t first_byte_that_is_no_utf8(std::string_view text) {
  for (size_t at = 0; at < text.size();) {
    const size_t size = character_size(text.substr(at));
    if (size == 0) {
      return at;
    }
    at += size;
  }
  return std::string_view::npos;
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
