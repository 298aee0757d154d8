#include "output.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <utility>

#include "error.h"
#include "streams.h"
#include "table_rows.h"
#include "utf8_path.h"

namespace tool {

namespace {

constexpr size_t most_held = 1 << 20;

void print_out(std::string_view text) {
  std::fwrite(text.data(), 1, text.size(), stdout);
}

}  // namespace

/** Those that are left stand in strings, where an escape means the same: 127, and 128 to 159. */
std::string printable_json(std::string_view text) {
  constexpr char first_of_two = '\xC2';
  std::string printed;
  printed.reserve(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    const bool is_high = text[i] == first_of_two && i + 1 < text.size() &&
                         static_cast<unsigned char>(text[i + 1]) < 0xA0;
    if (is_high || text[i] == '\x7F') {
      i += is_high ? 1 : 0;
      char escape[8];
      std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned char>(text[i]));
      printed += escape;
    } else {
      printed += text[i];
    }
  }
  return printed;
}

void HeldOutput::write(std::string_view text) {
  held_ += text;
  if (held_.size() > most_held) {
    finish();
  }
}

void HeldOutput::finish() {
  print_out(held_);
  held_.clear();
}

void LateOutput::write(std::string_view text) {
  held_ += text;
  if (held_.size() > most_held) {
    keep();
  }
}

void LateOutput::keep() {
  if (!folder_) {
    folder_.emplace(temporary_folder());
    file_.open(host::utf8_path(folder_->file("output")),
               std::ios::binary | std::ios::in | std::ios::out | std::ios::trunc);
  }
  file_ << held_;
  if (!file_.flush()) {
    throw Error("cannot keep the output in folder " + folder_->path().parent_path().string(),
                "make room there, or have TMPDIR name another folder");
  }
  held_.clear();
  stop_if_interrupted();
}

void LateOutput::print() {
  if (file_.is_open()) {
    file_.seekg(0);
    print_rest(file_);
  }
  print_out(held_);
}

JsonList::JsonList() : stream_([](std::string_view text) { print_out(printable_json(text)); }) {
  stream_.begin_list();
}

void JsonList::finish() {
  stream_.end();
  print_out("\n");
}

BlockTable::BlockTable(std::vector<std::string> headings) {
  widths_.resize(headings.size());
  rows_.push_back(std::move(headings));
}

void BlockTable::add_row(std::vector<std::string> cells) {
  constexpr size_t rows_at_once = 1000;
  cells.resize(widths_.size());
  for (std::string& cell : cells) {
    cell = printable(cell);
  }
  rows_.push_back(std::move(cells));
  if (rows_.size() > rows_at_once) {
    finish();
  }
}

void BlockTable::finish() {
  for (const auto& row : rows_) {
    for (size_t i = 0; i < row.size(); ++i) {
      widths_[i] = std::max(widths_[i], display_width(row[i]));
    }
  }
  for (const auto& row : rows_) {
    print_row(row, widths_);
  }
  rows_.clear();
}

}  // namespace tool
