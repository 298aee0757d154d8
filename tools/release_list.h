/**
 * @file
 * Checks of list files before the library reads them. The library reads what is there, cutting
 * fields at fixed positions; what would be misread is refused here, with the line's number.
 */
#pragma once

#include <string>
#include <vector>

#include "streams.h"

namespace tool {

/** First characters of the columns of a release list. */
namespace column {
constexpr size_t level_width = 6;
constexpr size_t item_revision = 7;
constexpr size_t type = 73;
constexpr size_t new_item_id = 106;
constexpr size_t new_name = 139;
}  // namespace column

/** What a release list holds, as the library's reader counts it. */
struct ReleaseListContents {
  size_t items = 0;
  size_t datasets = 0; /**< an item's earlier datasets included, which its tree does not lead to */
  size_t level_jumps = 0;       /**< items that the reader puts elsewhere than their level says */
  std::string first_level_jump; /**< where the first of them is, for a warning */
};

/**
 * Checks that a file can be read as a list: it exists, is a file and may be read and written (the
 * library opens lists for update), holds text, and its lines fit the reader's buffer.
 * @return its number of lines.
 */
size_t check_list_file(const InputFile& list);

/**
 * Checks a release list: all of the above, the header line, and each item line.
 * @param separator text between item id and revision.
 */
ReleaseListContents check_release_list(const InputFile& list, const std::string& separator);

/** What is wrong with a line. */
struct ListProblem {
  size_t line = 0;
  std::string column; /**< its title; empty where it is none's */
  std::string what;   /**< "is longer than 498 characters" */
  std::string advice;
  bool is_refused = true; /**< or read otherwise than it is meant */
};

struct ListReport {
  size_t lines = 0;
  ReleaseListContents contents;
  std::vector<ListProblem> problems; /**< in the order of the lines */
};

/** Collects all that is wrong with a release list, also what the library would take. */
ListReport report_on_list(const InputFile& list, const std::string& separator, Encoding encoding);

}  // namespace tool
