#include "list_copies.h"

#include <string>
#include <string_view>
#include <unordered_map>

#include "list_columns.h"
#include "zolp_basetool.h"

namespace orktool {
namespace {

/** The items of a list that were seen, in their order. */
class SeenItems {
 public:
  /** Adds an item; false when it was there before. Traces the search as a look at each item. */
  bool add(const std::string& item) {
    const auto [position, is_new] = order_.try_emplace(item, order_.size());
    if (zolp_wants_level_(ZOLP_LEVEL_TRACE)) {
      const std::size_t looks = is_new ? order_.size() - 1 : position->second + 1;
      for (std::size_t i = 0; i < looks; ++i) {
        ZOLP_TRACE("IN test itemlist");
      }
    }
    return is_new;
  }

 private:
  std::unordered_map<std::string, std::size_t> order_;
};

/** Copies the lines above the first item line; false when there is no item line. */
bool copy_list_head(LineReader& reader, const File& copy) {
  while (reader.next()) {
    ZOLP_TRACE("Header");
    if (level_of(reader.line()) != 0) {
      return true;
    }
    write_text(copy, reader.line());
  }
  return false;
}

/** Copies or drops the lines below an item line; false when no further item line follows. */
bool pass_item_lines(LineReader& reader, const File& copy, bool is_kept) {
  while (reader.next()) {
    if (level_of(reader.line()) != 0) {
      return true;
    }
    if (is_kept) {
      ZOLP_TRACE("In copy bottom of item stuff");
      ZOLP_TRACE("write line to os_file_new");
      write_text(copy, reader.line());
    }
  }
  return false;
}

bool contains_any(std::string_view line, int count, char** patterns) {
  for (int i = 0; patterns != nullptr && i < count; ++i) {
    if (patterns[i] != nullptr && contains(line, patterns[i])) {
      return true;
    }
  }
  return false;
}

}  // namespace

void copy_without_empty_blocks(LineReader& reader, const File& copy) {
  while (reader.next()) {
    if (!contains(reader.line(), "Where")) {
      write_text(copy, reader.line());
      continue;
    }
    ZOLP_TRACE("Found Where block");
    const std::string where_line(reader.line());
    if (!reader.next()) {
      write_text(copy, where_line);
    } else if (reader.line().starts_with("----")) {
      ZOLP_TRACE("Where block end found at start");
    } else {
      ZOLP_TRACE("Other line(s) found");
      ZOLP_TRACE("%s", reader.line().data());
      write_text(copy, where_line);
      write_text(copy, reader.line());
    }
  }
}

void copy_first_of_each_item(LineReader& reader, const File& copy) {
  SeenItems seen;
  bool has_item = copy_list_head(reader, copy);
  while (has_item) {
    Field item;
    take_field(item, reader.line(), column_positions.item_revision);
    const bool is_new = seen.add(item);
    if (is_new) {
      ZOLP_TRACE("In new item line output ");
      write_text(copy, reader.line());
    } else {
      ZOLP_TRACE("itemlist[i] = item_id(");
      ZOLP_TRACE("%s)\n", item);
    }
    has_item = pass_item_lines(reader, copy, is_new);
  }
}

void copy_used_lines(LineReader& reader, const File& copy, int count, char** patterns) {
  bool is_in_where_block = false;
  while (reader.next()) {
    const std::string_view line = reader.line();
    if (contains(line, "Where")) {
      is_in_where_block = true;
    }
    if (line.starts_with("----")) {
      is_in_where_block = false;
    } else if (is_in_where_block && contains_any(line, count, patterns)) {
      continue;
    }
    write_text(copy, line);
  }
}

}  // namespace orktool
