#include "release_list_reader.h"

#include <algorithm>
#include <cstdlib>

#include "host_memory.h"
#include "list_columns.h"
#include "list_files.h"
#include "zolp_basetool.h"

namespace orktool {

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

namespace {

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

/** Makes the record of an item line and links it behind the last one. */
int read_item_line(std::string_view line, int level, const char* separator, const char* file,
                   assy_entry*& last, Place place) {
  ZOLP_TRACE("Item in RL found");
  ZOLP_TRACE("%s\n", line.data());
  assy_entry* entry = new_entry(line);
  if (entry == nullptr) {
    return 1;
  }
  const int status = read_item_basic_data(line.data(), separator, entry->item_id, entry->item_rev,
                                          entry->new_item_id, entry->new_item_rev);
  if (status != 0) {
    ZOLP_ERROR("Error from reading item basic informations from %s.\nFile:%s [Line:%d]\n", file,
               place.file, place.line);
    std::free(entry);
    return status;
  }
  take_field(entry->new_name, line, column_positions.new_name);
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
  const auto type_start = std::min(static_cast<std::size_t>(column_positions.type), line.size());
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

}  // namespace

int read_release_list(std::FILE* file, const char* path, const char* separator, assy_entry*& last,
                      Place place) {
  int status = 0;
  LineReader reader(file);
  while (reader.next()) {
    const int level = level_of(reader.line());
    if (level >= 1) {
      status = read_item_line(reader.line(), level, separator, path, last, place);
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
  ZOLP_TRACE("Error / Warning from reading releaselist_file, file is empty! File:%s [%d]\n",
             place.file, place.line);
  return 0;
}

}  // namespace orktool
