// Release lists, item lists and the files of a clone run.
//
// A release list is a text table in the columns of the clone log:
//
//   Level ;Item Revision                   ;Datasets                        ;Type            ...
//   1     ;4711/A                          ;                                ;                ...
//         ;                                ;4711-A                          ;QNMASTER        ...
//         Where used: ...
//         -----------
//
// Lines with a level are item lines; the dataset lines and "Where" blocks of an item follow it.
// Cells are taken at fixed positions, not at the separators: a value is what stands from the start
// of its column on, up to 128 characters, with its padding and the columns behind it.

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <initializer_list>
#include <memory>
#include <new>
#include <string>

#include <string_view>
#include <system_error>
#include <unordered_map>
#include <utility>
#include <vector>

#include "call_frame.h"
#include "files.h"
#include "host_memory.h"
#include "ork/file.h"
#include "ork/pref.h"
#include "ork/rel.h"
#include "ork/store.h"
#include "ork/wso.h"
#include "zolp_basetool.h"
#include "zolp_orktool.h"

using orktool::copy_text;
using orktool::here;
using orktool::HostPtr;
using orktool::is_same_file;
using orktool::out;
using orktool::Place;
using orktool::text_or_empty;

namespace {

// ---------------------------------------------------------------------- columns and fields

constexpr char clone_log_line_format[] =
    "%-6.6s;%-32.32s;%-32.32s;%-32.32s;%-32.32s;%-32.32s;%-32.32s;%-32.32s;%-32.32s;%-32.32s\n";
constexpr char title_level[] = "Level";
constexpr char title_item_revision[] = "Item Revision";
constexpr char title_datasets[] = "Datasets";
constexpr char title_type[] = "Type";
constexpr char title_new_item_id[] = "New Item ID";
constexpr char title_new_name[] = "New Name";
constexpr char title_bom_mode[] = "BOM Mode";
constexpr char title_release_status[] = "Rel-Status";
constexpr char title_tarn_info[] = "Tarn Info";
constexpr char title_pf_info[] = "PF Info";

/** Offsets of the columns in a line; all 0 until a clone log header was built. */
struct ColumnPositions {
  int level, item_revision, datasets, type, new_item_id;
  int new_name, bom_mode, release_status, tarn_info, pf_info;
};
ColumnPositions positions{};

constexpr std::size_t line_size = 500;
constexpr std::size_t level_width = 6;

using Field = char[ZOLP_LIST_FIELD_SIZE + 1];

/** What stands from a column's position on, up to the field's size; empty beyond the line's end. */
void take_field(Field& field, std::string_view line, int position) {
  const auto start = std::min(static_cast<std::size_t>(position), line.size());
  const std::size_t length = line.copy(field, sizeof field - 1, start);
  field[length] = '\0';
}

int level_of(std::string_view line) {
  char level[level_width + 1];
  level[line.copy(level, level_width)] = '\0';
  return std::atoi(level);
}

bool contains(std::string_view line, std::string_view text) {
  return line.find(text) != std::string_view::npos;
}

// ------------------------------------------------------------------------------------ files

struct FileClose {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, FileClose>;

constexpr char open_error[] = "Error from open file:<%s>! File:%s [Line:%d]\n";
constexpr char write_error[] = "Error from write file:<%s>! File:%s [Line:%d]\n";
constexpr char read_error[] = "Error from read file:<%s>! File:%s [Line:%d]\n";

File open_file(const char* path, const char* mode) {
  return File(std::fopen(text_or_empty(path), mode));
}

bool is_at_end(std::FILE* file) {
  const int next = std::getc(file);
  return next == EOF || std::ungetc(next, file) == EOF;
}

/** Reports a file that could not be read to its end. */
bool is_read_completely(std::FILE* file, const char* path, Place place = here()) {
  if (std::ferror(file) == 0) {
    return true;
  }
  ZOLP_ERROR(read_error, path, place.file, place.line);
  return false;
}

/** Closes a file that was written; says whether everything arrived in it. */
bool close_written(File file) {
  const bool is_good = std::ferror(file.get()) == 0;
  return std::fclose(file.release()) == 0 && is_good;
}

/** Reads a text line by line; a line that does not fit its buffer comes in several pieces. */
class LineReader {
 public:
  explicit LineReader(std::FILE* file) : file_(file) {}

  /** Reads the next line; false at the end of the file. */
  bool next() {
    const bool has_line = std::fgets(buffer_, line_size, file_) != nullptr;
    line_ = has_line ? std::string_view(buffer_) : std::string_view();
    return has_line;
  }

  /** The line as read, with its line feed. It is terminated by a null byte. */
  std::string_view line() const { return line_; }

  /** Whether reading the line ran into the end of the file. */
  bool is_at_end() const { return std::feof(file_) != 0; }

 private:
  std::FILE* file_;
  char buffer_[line_size + 1] = "";
  std::string_view line_;
};

/** A list and the copy that is made of it. */
struct ListCopy {
  File in;
  File out;
};

/** Opens a list and the file for its copy; reports the one that cannot be opened. */
bool open_list_copy(const char* in_file, const char* out_file, ListCopy& files,
                    Place place = here()) {
  files.in = open_file(in_file, "r+");
  if (files.in == nullptr) {
    ZOLP_ERROR(open_error, in_file, place.file, place.line);
    return false;
  }
  // Opening the copy empties it: a list must not be copied onto itself.
  if (!is_same_file(in_file, text_or_empty(out_file))) {
    files.out = open_file(out_file, "w+");
  }
  if (files.out == nullptr) {
    ZOLP_ERROR(open_error, out_file, place.file, place.line);
    return false;
  }
  return true;
}

/** Ends a copy; reports a copy that is not complete. Returns the status for the caller. */
int close_list_copy(ListCopy& files, const char* out_file, Place place = here()) {
  if (!close_written(std::move(files.out))) {
    ZOLP_ERROR(write_error, out_file, place.file, place.line);
    return 1;
  }
  return 0;
}

/** Runs what may throw; exhausted memory becomes status 1, for no exception leaves the library. */
template <typename Body>
int with_memory_check(const orktool::Frame& frame, const char* text, Body body) {
  try {
    return frame.leave(body());
  } catch (const std::bad_alloc&) {
    ZOLP_CRERROR(text);
    return frame.leave(1);
  }
}

void write_text(const File& file, std::string_view text) {
  std::fwrite(text.data(), 1, text.size(), file.get());
}

}  // namespace

// -------------------------------------------------------------------------------- item list

namespace {

/** Growing arrays on the C heap that are handed to the caller together. */
class ItemListArrays {
 public:
  ItemListArrays() = default;
  ItemListArrays(const ItemListArrays&) = delete;
  ItemListArrays& operator=(const ItemListArrays&) = delete;
  ~ItemListArrays() {
    for (int i = 0; i < size_; ++i) {
      std::free(item_ids_[i]);
      std::free(levels_[i]);
    }
    std::free(item_ids_);
    std::free(levels_);
    std::free(counts_);
  }

  /** Appends an entry and returns its item id; throws std::bad_alloc. */
  const char* append(std::string_view item_id, std::string_view level) {
    if (size_ == capacity_) {
      const int capacity = size_ + growth;
      resize(item_ids_, capacity);
      resize(levels_, capacity);
      resize(counts_, capacity);
      capacity_ = capacity;
    }
    char* item_id_copy = copy(item_id);
    item_ids_[size_] = item_id_copy;
    levels_[size_] = nullptr;
    ++size_;
    levels_[size_ - 1] = copy(level);
    return item_id_copy;
  }

  /** Sets each entry's count to the number of entries with its item id. */
  void count_occurrences() {
    std::unordered_map<std::string_view, int> occurrences;
    for (int i = 0; i < size_; ++i) {
      ++occurrences[item_ids_[i]];
    }
    for (int i = 0; i < size_; ++i) {
      counts_[i] = occurrences.find(item_ids_[i])->second;
    }
  }

  void hand_over(int* count, char*** item_ids, char*** levels, int** counts) {
    *count = std::exchange(size_, 0);
    *item_ids = std::exchange(item_ids_, nullptr);
    *levels = std::exchange(levels_, nullptr);
    *counts = std::exchange(counts_, nullptr);
  }

 private:
  static constexpr int growth = 51;

  template <typename T>
  static void resize(T*& array, int capacity) {
    auto* resized =
        static_cast<T*>(std::realloc(array, static_cast<std::size_t>(capacity) * sizeof(T)));
    if (resized == nullptr) {
      throw std::bad_alloc();
    }
    array = resized;
  }

  static char* copy(std::string_view text) {
    auto* block = static_cast<char*>(std::malloc(text.size() + 1));
    if (block == nullptr) {
      throw std::bad_alloc();
    }
    block[text.copy(block, text.size())] = '\0';
    return block;
  }

  int size_ = 0;
  int capacity_ = 0;
  char** item_ids_ = nullptr;
  char** levels_ = nullptr;
  int* counts_ = nullptr;
};

void read_item_list(std::FILE* file, ItemListArrays& items) {
  LineReader reader(file);
  while (reader.next()) {
    const std::string_view line = reader.line();
    const int level = level_of(line);
    if (level < 1) {
      continue;
    }
    const std::string_view item_id =
        line.substr(std::min(level_width, line.size()), ZOLP_LIST_FIELD_SIZE);
    const char* stored_id = items.append(item_id, line.substr(0, level_width));
    ZOLP_TRACE("level %d, item_id %s\n", level, stored_id);
  }
  items.count_occurrences();
}

}  // namespace

int ZOLP_read_itemrevlist(const char* file, int* count, char*** item_ids, char*** levels,
                          int** counts) {
  FRAME(frame, "ZOLP_read_itemrevlist");
  const File list = open_file(file, "r+");
  if (list == nullptr) {
    const Place place = here();
    ZOLP_ERROR(open_error, file, place.file, place.line);
    frame.leave_as("ERROR: ZOLP_read_itemrevlist");
    return 1;
  }
  return with_memory_check(frame, "ZOLP_read_itemrevlist alloc Memory", [&] {
    ItemListArrays items;
    read_item_list(list.get(), items);
    if (!is_read_completely(list.get(), file)) {
      return 1;
    }
    items.hand_over(count, item_ids, levels, counts);
    return 0;
  });
}

// ------------------------------------------------------------------------ copies of a list

namespace {

/** Copies a list by way of `copy(reader, copy_file)`. The exit line of a failed open has its name.
 */
template <typename Copy>
int copy_list(const orktool::Frame& frame, const char* failed_open, const char* in_file,
              const char* out_file, Copy copy) {
  ListCopy files;
  if (!open_list_copy(in_file, out_file, files)) {
    frame.leave_as(failed_open);
    return 1;
  }
  return with_memory_check(frame, "release list alloc Memory", [&] {
    LineReader reader(files.in.get());
    copy(reader, files.out);
    const int status = close_list_copy(files, out_file);
    return is_read_completely(files.in.get(), in_file) ? status : 1;
  });
}

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

}  // namespace

int ZOLP_clean_list(const char* in_file, const char* out_file) {
  FRAME(frame, "ZOLP_clean_list");
  return copy_list(frame, "ERROR: ZOLP_clean_list", in_file, out_file, copy_without_empty_blocks);
}

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

void copy_first_of_each_item(LineReader& reader, const File& copy) {
  SeenItems seen;
  bool has_item = copy_list_head(reader, copy);
  while (has_item) {
    Field item;
    take_field(item, reader.line(), positions.item_revision);
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

}  // namespace

int ZOLP_remove_doubles_from_list(const char* in_file, const char* out_file) {
  FRAME(frame, "ZOLP_remove_doubles_from_list");
  // The name under which callers' scripts look for a list that cannot be opened.
  return copy_list(frame, "ERROR: ZOLP_read_itemrevlist", in_file, out_file,
                   copy_first_of_each_item);
}

namespace {

bool contains_any(std::string_view line, int count, char** patterns) {
  for (int i = 0; patterns != nullptr && i < count; ++i) {
    if (patterns[i] != nullptr && contains(line, patterns[i])) {
      return true;
    }
  }
  return false;
}

}  // namespace

int ZOLP_scan_usage(const char* in_file, const char* out_file, int n_patterns, char** patterns) {
  FRAME(frame, "ZOLP_scan_usage");
  const auto copy_used_lines = [&](LineReader& reader, const File& copy) {
    bool is_in_where_block = false;
    while (reader.next()) {
      const std::string_view line = reader.line();
      if (contains(line, "Where")) {
        is_in_where_block = true;
      }
      if (line.starts_with("----")) {
        is_in_where_block = false;
      } else if (is_in_where_block && contains_any(line, n_patterns, patterns)) {
        continue;
      }
      write_text(copy, line);
    }
  };
  return copy_list(frame, "ERROR: ZOLP_read_itemrevlist", in_file, out_file, copy_used_lines);
}

// ---------------------------------------------------------------------------- assembly tree

namespace {

/** Splits a cell at the first separator; false when the separator is not in it. */
bool split_cell(const Field& cell, std::string_view separator, char* id, char* revision) {
  const std::string_view text(cell);
  const std::size_t at = separator.empty() ? std::string_view::npos : text.find(separator);
  if (at == std::string_view::npos) {
    copy_text(id, sizeof(Field), cell);
    return false;
  }
  id[text.copy(id, at)] = '\0';
  copy_text(revision, sizeof(Field), cell + at + separator.size());
  return true;
}

assy_entry* new_entry(std::string_view line) {
  auto* entry = static_cast<assy_entry*>(std::malloc(sizeof(assy_entry)));
  if (entry == nullptr) {
    ZOLP_CRERROR("assy_entry alloc Memory");
    return nullptr;
  }
  entry->dataset_name[0] = '\0';
  copy_text(entry->mode, contains(line, "Released") ? "RETAIN" : "CLONE");
  entry->next = nullptr;
  entry->child = nullptr;
  entry->parent = nullptr;
  entry->prev = nullptr;
  return entry;
}

void link_below(assy_entry* entry, assy_entry* parent) {
  parent->child = entry;
  entry->parent = parent;
}

void link_after(assy_entry* entry, assy_entry* sibling) {
  sibling->next = entry;
  entry->prev = sibling;
  entry->parent = sibling->parent;
}

/** Links an item's record to the tree behind the last one, by their levels. */
void link_item(assy_entry* entry, assy_entry* last) {
  if (last == nullptr) {
    return;
  }
  if (entry->level > last->level) {
    last->next = nullptr;
    link_below(entry, last);
  } else if (entry->level < last->level && last->parent != nullptr) {
    link_after(entry, last->parent);  // one level up, however far the level drops
  } else {
    link_after(entry, last);
  }
}

}  // namespace

int read_item_basic_data(const char* line, const char* separator, char* item_id, char* item_rev,
                         char* new_item_id, char* new_item_rev) {
  FRAME(frame, "read_item_basic_data");
  const std::string_view text(text_or_empty(line));
  const std::string_view separator_text(text_or_empty(separator));
  int status = 0;
  item_rev[0] = '\0';
  Field cell;
  take_field(cell, text, positions.item_revision);
  if (!split_cell(cell, separator_text, item_id, item_rev)) {
    const Place place = here();
    ZOLP_ERROR("Error: no separator <%s> in item revision <%s>! File:%s [Line:%d]\n",
               separator_text.data(), cell, place.file, place.line);
    status = 1;
  }
  take_field(cell, text, positions.new_item_id);
  if (!split_cell(cell, separator_text, new_item_id, new_item_rev)) {
    copy_text(new_item_rev, sizeof(Field), "----");
  }
  ZOLP_TRACE("Input  Assy:%s:\n", item_id);
  ZOLP_TRACE("Input  Assyrev:%s:\n", item_rev);
  ZOLP_TRACE("Output  Assy:%s:\n", new_item_id);
  ZOLP_TRACE("Output  Assyrev:%s:\n", new_item_rev);
  return frame.leave(status);
}

int read_dataset_basic_data(const char* line, const char* dataset_type, int /*ignored*/,
                            assy_entry* current) {
  FRAME(frame, "read_dataset_basic_data");
  const std::string_view text(text_or_empty(line));
  assy_entry* entry = current != nullptr ? new_entry(text) : nullptr;
  ZOLP_TRACE("nach malloc in %s\n", dataset_type);
  if (entry == nullptr) {
    return frame.leave(0);
  }
  take_field(entry->dataset_name, text, positions.datasets);
  ZOLP_TRACE("datasetname: %s\n", entry->dataset_name);
  take_field(entry->new_name, text, positions.new_name);
  ZOLP_TRACE("datasetname: %s\n", entry->new_name);
  ZOLP_TRACE("net-item %s\n", current->item_id);
  ZOLP_TRACE("net-type %s\n", current->type);
  copy_text(entry->item_id, current->item_id);
  copy_text(entry->item_rev, current->item_rev);
  copy_text(entry->type, dataset_type);

  const bool is_below_item = contains(current->type, "ItemRev");
  const assy_entry* item = is_below_item ? current : current->parent;
  copy_text(entry->new_item_id, item != nullptr ? item->new_item_id : "");
  copy_text(entry->new_item_rev, item != nullptr ? item->new_item_rev : "");
  if (is_below_item) {
    entry->level = current->level + 1;
    link_below(entry, current);
  } else {
    entry->level = current->level;
    link_after(entry, current);
  }
  return frame.leave(0);
}

namespace {

/** Makes the record of an item line and links it behind the last one. */
int read_item_line(std::string_view line, int level, const char* separator, const char* file,
                   assy_entry*& last) {
  ZOLP_TRACE("Item in RL found");
  ZOLP_TRACE("%s\n", line.data());
  assy_entry* entry = new_entry(line);
  if (entry == nullptr) {
    return 1;
  }
  const int status = read_item_basic_data(line.data(), separator, entry->item_id, entry->item_rev,
                                          entry->new_item_id, entry->new_item_rev);
  if (status != 0) {
    const Place place = here();
    ZOLP_ERROR("Error from reading item basic informations from %s.\nFile:%s [Line:%d]\n", file,
               place.file, place.line);
    std::free(entry);
    return status;
  }
  take_field(entry->new_name, line, positions.new_name);
  ZOLP_TRACE("Input  Assy:%s:\n", entry->item_id);
  ZOLP_TRACE("Input  Assyrev:%s:\n", entry->item_rev);
  ZOLP_TRACE("Output  Assy:%s:\n", entry->new_item_id);
  ZOLP_TRACE("Output  Assyrev:%s:\n", entry->new_item_rev);
  ZOLP_TRACE("Output  Assyname:%s:\n", entry->new_name);
  copy_text(entry->type, "ItemRev");
  entry->level = level;
  link_item(entry, last);
  last = entry;
  return 0;
}

/** Makes the records of the datasets that a line names, below the current item. */
int read_datasets(const LineReader& reader, int status, assy_entry* item) {
  const std::string_view line = reader.line();
  for (const char* type : {"QNMASTER", "QNPART"}) {
    if (contains(line, type) && !reader.is_at_end()) {
      status = read_dataset_basic_data(line.data(), type, 0, item);
    }
  }
  const auto type_start = std::min(static_cast<std::size_t>(positions.type), line.size());
  if (contains(line.substr(type_start, 15), "ALTREP")) {
    status = read_dataset_basic_data(line.data(), "ALTREP", 0, item);
  }
  return status;
}

/** Skips a "Where used" block, but only one that ends on the very line that begins it. */
void skip_where_used(LineReader& reader) {
  if (!contains(reader.line(), "Where used:")) {
    return;
  }
  while (!reader.is_at_end() && contains(reader.line(), "-----------\n")) {
    reader.next();
    ZOLP_TRACE("Where used Section\n");
  }
}

/** Reads the lines of a release list; `last` follows the records of its items. */
int read_release_list(std::FILE* file, const char* path, const char* separator, assy_entry*& last) {
  int status = 0;
  LineReader reader(file);
  while (reader.next()) {
    const int level = level_of(reader.line());
    if (level >= 1) {
      status = read_item_line(reader.line(), level, separator, path, last);
      if (status != 0) {
        return status;
      }
    }
    status = read_datasets(reader, status, last);
    skip_where_used(reader);
    if (reader.is_at_end()) {
      return status;
    }
  }
  // The regular end of a list whose last line has a line end.
  const Place place = here();
  ZOLP_TRACE("Error / Warning from reading releaselist_file, file is empty! File:%s [%d]\n",
             place.file, place.line);
  return 0;
}

}  // namespace

int ZOLP_read_assylist(const char* file, assy_entry** entry) {
  FRAME(frame, "ZOLP_read_assylist");
  GUARDED("PREF_initialize()", PREF_initialize());
  HostPtr<char> separator_value;
  GUARDED("PREF_get_char_value(\"FLColumnCatIVFSeparatorPref\", 0, &separator)",
          PREF_get_char_value("FLColumnCatIVFSeparatorPref", 0, out(separator_value)));
  Field separator;
  copy_text(separator, separator_value.get());

  const File list = open_file(file, "r+");
  if (list == nullptr) {
    const Place place = here();
    ZOLP_ERROR("Error from opening file:%s! File:%s [Line:%d]\n", file, place.file, place.line);
    frame.leave_as("ERROR: ZOLP_read_assylist");
    return 1;
  }
  if (is_at_end(list.get())) {
    return frame.leave(0);
  }
  return frame.leave(read_release_list(list.get(), file, separator, *entry));
}

// -------------------------------------------------------------------- clone log and its head

namespace {

/** Formats the header line and takes the columns' positions from it. */
int get_format_positions() {
  FRAME(frame, "get_format_positions");
  char header[line_size];
  std::snprintf(header, sizeof header, clone_log_line_format, title_level, title_item_revision,
                title_datasets, title_type, title_new_item_id, title_new_name, title_bom_mode,
                title_release_status, title_tarn_info, title_pf_info);
  const auto position_of = [&header](const char* title) {
    return static_cast<int>(std::strstr(header, title) - header);
  };
  positions = {position_of(title_level),       position_of(title_item_revision),
               position_of(title_datasets),    position_of(title_type),
               position_of(title_new_item_id), position_of(title_new_name),
               position_of(title_bom_mode),    position_of(title_release_status),
               position_of(title_tarn_info),   position_of(title_pf_info)};
  return frame.leave(0);
}

using Line = char[line_size];

/** Replaces the first occurrence of a text in a line; 1 when the result would not fit. */
int replace_string(Line& line, std::string_view search, std::string_view replacement) {
  FRAME(frame, "replace_string");
  const std::string_view text(line);
  const std::size_t at = text.find(search);
  if (at == std::string_view::npos) {
    return frame.leave(0);
  }
  const std::string_view rest = text.substr(at + search.size());
  if (at + replacement.size() + rest.size() >= sizeof line) {
    const Place place = here();
    ZOLP_ERROR("Error: %s does not fit into a line of %zu characters! File:%s [Line:%d]\n",
               search.data(), sizeof line - 1, place.file, place.line);
    return frame.leave(1);
  }
  std::memmove(line + at + replacement.size(), rest.data(), rest.size() + 1);
  replacement.copy(line + at, replacement.size());
  ZOLP_TRACE("OUTSTRING:%s\n", line);
  return frame.leave(0);
}

/**
 * Reads a template's next line; an empty line at its end. False when it was at its end before, or
 * when reading has failed.
 */
bool read_template_line(std::FILE* file, Line& line) {
  line[0] = '\0';
  if (std::feof(file) != 0 || std::ferror(file) != 0) {
    return false;
  }
  if (std::fgets(line, sizeof line, file) == nullptr) {
    line[0] = '\0';
  }
  return true;
}

/** What a placeholder of the header template stands for, and the name of its failure. */
struct HeaderReplacement {
  const char* placeholder;
  const char* value;
  const char* failure;
};

int write_header_lines(std::FILE* header_template, std::FILE* clone_log,
                       std::initializer_list<HeaderReplacement> replacements) {
  Line line;
  while (read_template_line(header_template, line)) {
    for (const auto& [placeholder, value, failure] : replacements) {
      const int status = replace_string(line, placeholder, value);
      if (status != 0) {
        const Place place = here();
        ZOLP_ERROR("Error from replace %s! File:%s [Line:%d]\n", failure, place.file, place.line);
        return status;
      }
    }
    std::fputs(line, clone_log);
  }
  return 0;
}

/** The top assembly of a release list, as its first item line has it. */
struct TopAssembly {
  Field item_id, item_rev, new_item_id, new_item_rev, new_name;
};

int read_top_assembly(std::FILE* list, const char* path, const char* separator, TopAssembly& top) {
  LineReader reader(list);
  while (reader.next()) {
    if (level_of(reader.line()) < 1) {
      continue;
    }
    ZOLP_TRACE("Top level assembly in RL found");
    take_field(top.new_name, reader.line(), positions.new_name);
    return read_item_basic_data(reader.line().data(), separator, top.item_id, top.item_rev,
                                top.new_item_id, top.new_item_rev);
  }
  const Place place = here();
  ZOLP_ERROR("Error: no item line in release list:<%s>! File:%s [Line:%d]\n", path, place.file,
             place.line);
  return 1;
}

/** Text for new items' container, by the site's preference for insertions. */
void default_container(Field& container, std::string_view insert_preference, const char* user_id) {
  container[0] = '\0';
  if (insert_preference == "1") {
    std::snprintf(container, sizeof container, "%s:Newstuff", text_or_empty(user_id));
  } else if (insert_preference == "2") {
    copy_text(container, user_id);
  }
}

int write_clone_log_header(const orktool::Frame& frame, const TopAssembly& top,
                           const char* container, const char* template_path,
                           const char* release_list_file, const char* out_file) {
  File clone_log;
  // Opening the clone log empties it: it must not be one of the files that it is made from.
  if (!is_same_file(text_or_empty(out_file), text_or_empty(template_path)) &&
      !is_same_file(text_or_empty(out_file), release_list_file)) {
    clone_log = open_file(out_file, "w");
  }
  if (clone_log == nullptr) {
    const Place place = here();
    ZOLP_ERROR(open_error, out_file, place.file, place.line);
    frame.leave_as("ERROR: ZOLP_create_clonelogheader");
    return 1;
  }
  File header_template = open_file(template_path, "r+");
  if (header_template == nullptr) {
    const Place place = here();
    ZOLP_ERROR("ERROR: Unable to open headertemplate %s! File:%s [Line:%d]", template_path,
               place.file, place.line);
    return frame.leave(1);
  }
  int status = write_header_lines(header_template.get(), clone_log.get(),
                                  {{"%%DEFAULT_CONTAINER%%", container, "outputfolder"},
                                   {"%%INPUTASSY_ID%%", top.item_id, "inputassy_id"},
                                   {"%%INPUTASSY_REV%%", top.item_rev, "inputassy_rev"},
                                   {"%%OUTPUTASSY_REV%%", top.new_item_rev, "outputassy_rev"},
                                   {"%%OUTPUTASSY_ID%%", top.new_item_id, "outputassy_id"},
                                   {"%%NEW_NAME%%", top.new_name, "new_name"}});
  if (!is_read_completely(header_template.get(), template_path)) {
    status = 1;
  }
  header_template.reset();
  ZOLP_TRACE("%s closed", template_path);
  if (!close_written(std::move(clone_log)) && status == 0) {
    const Place place = here();
    ZOLP_ERROR(write_error, out_file, place.file, place.line);
    return frame.leave(1);
  }
  ZOLP_TRACE("%s closed", out_file);
  return frame.leave(status);
}

}  // namespace

int ZOLP_create_clonelogheader(const char* release_list_file, const char* out_file,
                               const char* header_pref) {
  FRAME(frame, "ZOLP_create_clonelogheader");
  HostPtr<char> separator;
  HostPtr<char> insert_preference;
  HostPtr<char> template_path;
  HostPtr<char> user_id;
  GUARDED("PREF_initialize()", PREF_initialize());
  GUARDED("PREF_get_char_value(\"FLColumnCatIVFSeparatorPref\", 0, &separator)",
          PREF_get_char_value("FLColumnCatIVFSeparatorPref", 0, out(separator)));
  GUARDED("PREF_get_char_value(\"WsoInsertNoSelectionsPref\", 0, &insert_preference)",
          PREF_get_char_value("WsoInsertNoSelectionsPref", 0, out(insert_preference)));
  GUARDED("PREF_get_char_value(header_pref, 0, &template_path)",
          PREF_get_char_value(header_pref, 0, out(template_path)));
  ZOLP_TRACE("headerpref:%s template_file_name:%s\n", header_pref, template_path.get());
  GUARDED("STORE_get_user_id(&user_id)", STORE_get_user_id(out(user_id)));
  get_format_positions();

  File list = open_file(release_list_file, "r+");
  if (list == nullptr) {
    const Place place = here();
    ZOLP_ERROR(open_error, release_list_file, place.file, place.line);
    frame.leave_as("ERROR: ZOLP_create_clonelogheader");
    return 1;
  }
  TopAssembly top;
  const int status = read_top_assembly(list.get(), release_list_file, separator.get(), top);
  list.reset();
  if (status != 0) {
    return frame.leave(status);
  }
  Field container;
  default_container(container, text_or_empty(insert_preference.get()), user_id.get());
  return write_clone_log_header(frame, top, container, template_path.get(), release_list_file,
                                out_file);
}

namespace {

/** Writes a clone log line with a text in the column "Tarn Info" alone. */
int write_info_line(const char* prefix, const char* id, FILE_handle log) {
  int status = ORK_ok;
  char info[line_size];
  char line[line_size];
  std::snprintf(info, sizeof info, "%s%s", text_or_empty(prefix), id);
  std::snprintf(line, sizeof line, clone_log_line_format, "", "", "", "", "", "", "", "", info, "");
  TRACED(status, "FILE_write_file_line(*log, line)", FILE_write_file_line(log, line));
  return status;
}

}  // namespace

int ZOLP_write_info_about_relation(tag item_rev, const char* relation_type_name, const char* prefix,
                                   FILE_handle* log) {
  FRAME(frame, "ZOLP_write_info_about_relation");
  int status = ORK_ok;
  tag relation_type = NULLTAG;
  int count = 0;
  HostPtr<tag> objects;
  TRACED(status, "REL_find_relation_type(relation_type_name, &relation_type)",
         REL_find_relation_type(relation_type_name, &relation_type));
  TRACED(status, "REL_list_secondary_objects_only(item_rev, relation_type, &count, &objects)",
         REL_list_secondary_objects_only(item_rev, relation_type, &count, out(objects)));
  for (int i = 0; objects != nullptr && i < count && status == ORK_ok; ++i) {
    HostPtr<char> id;
    TRACED(status, "WSO_get_object_id_string(objects[i], &id)",
           WSO_get_object_id_string(objects.get()[i], out(id)));
    if (status == ORK_ok) {
      status = write_info_line(prefix, text_or_empty(id.get()), log != nullptr ? *log : nullptr);
    }
  }
  return frame.leave(status);
}

// ------------------------------------------------------------------------------ clone batch

namespace {

/** Opens an action file; reports one that cannot be opened. */
File open_action_file(const char* path, const char* kind, Place place = here()) {
  File file = open_file(path, "r");
  if (file == nullptr) {
    ZOLP_ERROR("Error from open %s:<%s>! Program will be terminated now.\n", kind, path);
    ZOLP_ERROR("Error from open %s:<%s>! File:%s [Line:%d]\n", kind, path, place.file, place.line);
  }
  return file;
}

/** Copies the lines of an action file; 1 when it cannot be read to its end. */
int copy_lines(const File& from, const char* path, const File& to) {
  LineReader reader(from.get());
  while (reader.next()) {
    write_text(to, reader.line());
  }
  return is_read_completely(from.get(), path) ? 0 : 1;
}

/** What the batch file is made of. */
struct BatchSettings {
  HostPtr<char> version, program, log_file, pre_actions, post_actions;
};

int write_batch(const BatchSettings& settings, const assy_entry& top, const File& batch) {
  const std::string_view version(text_or_empty(settings.version.get()));
  const char* program = text_or_empty(settings.program.get());
  const char* log_file = text_or_empty(settings.log_file.get());
  if (contains(version, "v15") || contains(version, "V15")) {
    std::fprintf(batch.get(),
                 "%s -pim=yes -i=@DB/%s/%s -o=@DB/%s/%s -l=%s -missing_comps=true "
                 "-out_of_sync=true",
                 program, top.item_id, top.item_rev, top.new_item_id, top.new_item_rev, log_file);
  }
  if (contains(version, "v16") || contains(version, "V16")) {
    const File pre = open_action_file(settings.pre_actions.get(), "precloneactionsfile");
    if (pre == nullptr) {
      return 1;
    }
    const File post = open_action_file(settings.post_actions.get(), "postcloneactionsfile");
    if (post == nullptr) {
      return 1;
    }
    if (copy_lines(pre, settings.pre_actions.get(), batch) != 0) {
      return 1;
    }
    std::fprintf(batch.get(), "%s -pim=yes -o=CLONE -l=%s 1>clone.out 2>clone.log\n", program,
                 log_file);
    return copy_lines(post, settings.post_actions.get(), batch);
  }
  return 0;
}

}  // namespace

int ZOLP_write_startbat(const char* batch_file, assy_entry* top) {
  FRAME(frame, "ZOLP_write_startbat");
  BatchSettings settings;
  GUARDED("PREF_get_char_value(\"ZOLP_qnversion\", 0, &version)",
          PREF_get_char_value("ZOLP_qnversion", 0, out(settings.version)));
  GUARDED("PREF_get_char_value(\"ZOLP_qnclone_prg\", 0, &program)",
          PREF_get_char_value("ZOLP_qnclone_prg", 0, out(settings.program)));
  GUARDED("PREF_get_char_value(\"ZOLP_clonelogfile\", 0, &log_file)",
          PREF_get_char_value("ZOLP_clonelogfile", 0, out(settings.log_file)));
  GUARDED("PREF_get_char_value(\"ZOLP_precloneactionfile\", 0, &pre_actions)",
          PREF_get_char_value("ZOLP_precloneactionfile", 0, out(settings.pre_actions)));
  GUARDED("PREF_get_char_value(\"ZOLP_postcloneactionsfile\", 0, &post_actions)",
          PREF_get_char_value("ZOLP_postcloneactionsfile", 0, out(settings.post_actions)));
  if (top == nullptr) {
    const Place place = here();
    ZOLP_ERROR("Error: no top assembly for batch file:<%s>! File:%s [Line:%d]\n", batch_file,
               place.file, place.line);
    return frame.leave(1);
  }
  std::printf("post-action-file:%s\n", text_or_empty(settings.post_actions.get()));
  std::printf("pre-action-file:%s\n", text_or_empty(settings.pre_actions.get()));

  File batch;
  // Opening the batch file empties it: it must not be one of the files that go into it.
  if (!is_same_file(text_or_empty(batch_file), text_or_empty(settings.pre_actions.get())) &&
      !is_same_file(text_or_empty(batch_file), text_or_empty(settings.post_actions.get()))) {
    batch = open_file(batch_file, "w");
  }
  if (batch == nullptr) {
    const Place place = here();
    ZOLP_ERROR(open_error, batch_file, place.file, place.line);
    frame.leave_as("ERROR: ZOLP_read_itemrevlist");
    return 1;
  }
  int status = write_batch(settings, *top, batch);
  if (!close_written(std::move(batch)) && status == 0) {
    const Place place = here();
    ZOLP_ERROR(write_error, batch_file, place.file, place.line);
    status = 1;
  }
  return frame.leave(status);
}

// ---------------------------------------------------------------------------- clone entries

namespace {

/** What a placeholder of an entry template stands for. */
struct Replacement {
  const char* placeholder;
  const char* value;
};

/** How a writer of entries names in the trace what it reads. */
struct EntryTexts {
  const char* preference;
  const char* closed;
};
constexpr EntryTexts item_texts{"mode:%s = %s\n", "%s closed"};
constexpr EntryTexts clone_dataset_texts{"preference:%s = %s\n", "%s geschlossen"};

int write_entry_lines(std::FILE* entry_template, std::FILE* entries,
                      std::initializer_list<Replacement> replacements) {
  Line line;
  while (read_template_line(entry_template, line)) {
    for (const auto& [placeholder, value] : replacements) {
      const int status = replace_string(line, placeholder, text_or_empty(value));
      if (status != 0) {
        return status;
      }
    }
    if (std::fputs(line, entries) == EOF) {
      const Place place = here();
      ZOLP_ERROR("Error from write clone entry: %s! File:%s [Line:%d]\n", std::strerror(errno),
                 place.file, place.line);
      return 1;
    }
  }
  return 0;
}

/** Writes an entry from the template that a preference names. */
int write_entry(const orktool::Frame& frame, std::FILE** entries, const char* template_preference,
                const EntryTexts& texts, std::initializer_list<Replacement> replacements) {
  if (entries == nullptr || *entries == nullptr) {
    const Place place = here();
    ZOLP_ERROR("Error: no open file for clone entries! File:%s [Line:%d]\n", place.file,
               place.line);
    return frame.leave(1);
  }
  HostPtr<char> path;
  GUARDED("PREF_initialize()", PREF_initialize());
  GUARDED("PREF_get_char_value(template_pref, 0, &template_file)",
          PREF_get_char_value(template_preference, 0, out(path)));
  ZOLP_TRACE(texts.preference, template_preference, path.get());
  File entry_template = open_file(path.get(), "r+");
  if (entry_template == nullptr) {
    const Place place = here();
    ZOLP_ERROR("ERROR: Unable to open cloneitem template %s! File:%s [Line:%d]\n", path.get(),
               place.file, place.line);
    return frame.leave(1);
  }
  int status = write_entry_lines(entry_template.get(), *entries, replacements);
  if (!is_read_completely(entry_template.get(), path.get())) {
    status = 1;
  }
  entry_template.reset();
  ZOLP_TRACE(texts.closed, path.get());
  return frame.leave(status);
}

}  // namespace

int ZOLP_write_item(FILE** out, const char* item_id, const char* item_rev,
                    const char* template_pref) {
  FRAME(frame, "ZOLP_write_item");
  return write_entry(frame, out, template_pref, item_texts,
                     {{"%%ITEM_ID%%", item_id}, {"%%ITEM_REV%%", item_rev}});
}

int ZOLP_write_replace_and_cloneitem(FILE** out, const char* item_id, const char* item_rev,
                                     const char* new_item_id, const char* new_item_rev,
                                     const char* new_name, const char* template_pref) {
  FRAME(frame, "ZOLP_write_replace_and_cloneitem");
  return write_entry(frame, out, template_pref, item_texts,
                     {{"%%ITEM_ID%%", item_id},
                      {"%%ITEM_REV%%", item_rev},
                      {"%%NEW_REV%%", new_item_rev},
                      {"%%NEW_ID%%", new_item_id},
                      {"%%NEW_NAME%%", new_name}});
}

int ZOLP_write_retaindataset(FILE** out, const char* item_id, const char* item_rev,
                             const char* relation_name, const char* part_name) {
  FRAME(frame, "ZOLP_write_retaindataset");
  return write_entry(frame, out, "VPD_retain_datasettemplate", item_texts,
                     {{"%%ITEM_ID%%", item_id},
                      {"%%QNPARTNAME%%", part_name},
                      {"%%RELATIONNAME%%", relation_name},
                      {"%%ITEM_REV%%", item_rev}});
}

int ZOLP_write_clonedataset(FILE** out, const char* item_id, const char* item_rev,
                            const char* dataset_name, const char* relation, const char* new_item_id,
                            const char* new_item_rev, const char* new_name) {
  FRAME(frame, "ZOLP_write_clonedataset");
  return write_entry(frame, out, "VPD_clone_datasettemplate", clone_dataset_texts,
                     {{"%%ITEM_ID%%", item_id},
                      {"%%ITEM_REV%%", item_rev},
                      {"%%RELATION%%", relation},
                      {"%%DATASET_NAME%%", dataset_name},
                      {"%%NEW_NAME%%", new_name},
                      {"%%NEW_REV%%", new_item_rev},
                      {"%%NEW_ID%%", new_item_id},
                      {"%%NEW_NAME%%", new_name}});
}

namespace {

constexpr char walk_name[] = "ZOLP_write_assylist";
constexpr char walk_error[] = "Error from ZOLP_write_assylist! File:%s [Line:%d]\n";

void trace_record(const assy_entry& entry) {
  ZOLP_TRACE("ID %s\n", entry.item_id);
  ZOLP_TRACE("REV %s\n", entry.item_rev);
  ZOLP_TRACE("NID %s\n", entry.new_item_id);
  ZOLP_TRACE("NREV %s\n", entry.new_item_rev);
  ZOLP_TRACE("ACTION %s\n", entry.mode);
  ZOLP_TRACE("TYPE %s\n", entry.type);
  ZOLP_TRACE("DATASET %s\n", entry.dataset_name);
  ZOLP_TRACE("LEVEL %d\n", entry.level);
}

/** Writes the entry of one record. */
int write_record(std::FILE* out, const assy_entry& entry) {
  trace_record(entry);
  if (std::strcmp(entry.type, "ItemRev") != 0) {
    return 0;
  }
  int status = 0;
  if (std::strcmp(entry.mode, "CLONE") == 0) {
    status = ZOLP_write_replace_and_cloneitem(&out, entry.item_id, entry.item_rev,
                                              entry.new_item_id, entry.new_item_rev, entry.new_name,
                                              "VPD_clone_itemtemplate");
    if (status != 0) {
      const Place place = here();
      ZOLP_ERROR("Error from ZOLP_write_replace_and_cloneitem! File:%s [Line:%d]\n", place.file,
                 place.line);
    }
  } else if (std::strcmp(entry.mode, "RETAIN") == 0) {
    status = ZOLP_write_item(&out, entry.item_id, entry.item_rev, "VPD_retain_itemtemplate");
    if (status != 0) {
      const Place place = here();
      ZOLP_ERROR("Error from ZOLP_write_item - mode: RETAIN! File:%s [Line:%d]\n", place.file,
                 place.line);
    }
  }
  return status;
}

/** Records whose calls have begun and not ended: one of a level and its siblings before it. */
struct OpenCalls {
  const assy_entry* first;
  const assy_entry* last;
  bool is_below_done = false;
};

/** Begins a record's call: its frame and its own entry. */
int begin_record(std::FILE* out, const assy_entry& entry) {
  ENTER_FRAME(walk_name);
  return write_record(out, entry);
}

/** Ends the calls of a level. Each one ends after that of its next sibling; a failure ends all. */
void end_calls(const OpenCalls& calls, int status) {
  LEAVE_FRAME(walk_name);
  for (const assy_entry* entry = calls.first; entry != calls.last; entry = entry->next) {
    if (status != 0) {
      const Place place = here();
      ZOLP_ERROR(walk_error, place.file, place.line);
    }
    LEAVE_FRAME(walk_name);
  }
}

/** Adds a level to those of a walk; false when memory is exhausted. */
bool add_level(std::vector<OpenCalls>& levels, const assy_entry* first) {
  try {
    levels.push_back({first, first});
    return true;
  } catch (const std::bad_alloc&) {
    ZOLP_CRERROR("ZOLP_write_assylist alloc Memory");
    return false;
  }
}

/**
 * Writes the entries of a record, of its children and of its later siblings. The trace is that of a
 * function which calls itself for the child and for the next sibling. A loop makes it: a list can
 * have a million siblings, and, where its level drops by several at a time, as many levels of
 * children, and no stack holds a million calls.
 */
int walk_tree(std::FILE* out, const assy_entry& root) {
  std::vector<OpenCalls> levels;
  if (!add_level(levels, &root)) {
    return 1;
  }
  int status = begin_record(out, root);
  while (true) {
    OpenCalls& level = levels.back();
    const assy_entry* child = level.is_below_done ? nullptr : level.last->child;
    if (status == 0 && child != nullptr) {
      ZOLP_TRACE("---> One Level down\n");
      level.is_below_done = true;
      status = add_level(levels, child) ? begin_record(out, *child) : 1;
    } else if (status == 0 && level.last->next != nullptr) {
      ZOLP_TRACE("Next knot\n");
      level.last = level.last->next;
      level.is_below_done = false;
      status = begin_record(out, *level.last);
    } else {
      end_calls(level, status);
      levels.pop_back();
      if (levels.empty()) {
        return status;
      }
      if (status != 0) {
        const Place place = here();
        ZOLP_ERROR(walk_error, place.file, place.line);
      } else {
        ZOLP_TRACE("<--- One Level up\n");
      }
    }
  }
}

}  // namespace

int ZOLP_write_assylist(FILE* out, assy_entry* entry) {
  if (entry == nullptr) {
    FRAME(frame, walk_name);
    return frame.leave(0);
  }
  return walk_tree(out, *entry);
}
