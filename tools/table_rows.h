/** @file Rows of tables, as all tables print them. */
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tool {

/** Number of columns that a UTF-8 text takes, counting each character as one. */
size_t display_width(std::string_view text);

/**
 * Prints the cells of a row, each padded to its column's width.
 * @param numbers how many cells, from the first one on, are numbers and stand to the right.
 */
void print_row(const std::vector<std::string>& cells, const std::vector<size_t>& widths,
               size_t numbers = 0);

}  // namespace tool
