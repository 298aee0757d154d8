/**
 * @file
 * The columns of release lists and of the clone log, one text table:
 *
 *     Level ;Item Revision                   ;Datasets                        ;Type            ...
 *     1     ;4711/A                          ;                                ;                ...
 *           ;                                ;4711-A                          ;QNMASTER        ...
 *           Where used: ...
 *           -----------
 *
 * Lines with a level are item lines; the dataset lines and "Where" blocks of an item follow it.
 * Cells are taken at fixed positions, not at the separators: a value is what stands from the start
 * of its column on, up to 128 characters, with its padding and the columns behind it.
 */
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <string_view>

#include "zolp_orktool.h"

namespace orktool {

inline constexpr char clone_log_line_format[] =
    "%-6.6s;%-32.32s;%-32.32s;%-32.32s;%-32.32s;%-32.32s;%-32.32s;%-32.32s;%-32.32s;%-32.32s\n";

/** Offsets of the columns in a line; all 0 until a clone log header was built. */
struct ColumnPositions {
  int level, item_revision, datasets, type, new_item_id;
  int new_name, bom_mode, release_status, tarn_info, pf_info;
};
extern ColumnPositions column_positions;

/** Takes the positions from the clone log's header line. */
void fix_column_positions();

/** Longest piece of a line that is read at once, with its end. */
constexpr std::size_t line_size = 500;
constexpr std::size_t level_width = 6;

using Field = char[ZOLP_LIST_FIELD_SIZE + 1];

/** What stands from a column's position on, up to the field's size; empty beyond the line's end. */
inline void take_field(Field& field, std::string_view line, int position) {
  const auto start = std::min(static_cast<std::size_t>(position), line.size());
  const std::size_t length = line.copy(field, sizeof field - 1, start);
  field[length] = '\0';
}

inline int level_of(std::string_view line) {
  char level[level_width + 1];
  level[line.copy(level, level_width)] = '\0';
  return std::atoi(level);
}

inline bool contains(std::string_view line, std::string_view text) {
  return line.find(text) != std::string_view::npos;
}

}  // namespace orktool
