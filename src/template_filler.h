/**
 * @file
 * Line templates, and the texts that take the place of their placeholders. Of each placeholder the
 * first one in a line is replaced.
 */
#pragma once

#include <cstdio>
#include <initializer_list>
#include <string_view>

#include "list_columns.h"

namespace orktool {

using Line = char[line_size];

/** What a placeholder stands for. */
struct Replacement {
  const char* placeholder;
  const char* value;
  const char* failure = nullptr; /**< name of its failure */
};

enum class Replaced { nothing, text, no_room };

/** Replaces the first occurrence of a text in a line, unless the result would not fit. */
Replaced replace_first(Line& line, std::string_view search, std::string_view replacement);

/**
 * Reads a template's next line; an empty line at its end. False when it was at its end before, or
 * when reading has failed.
 */
bool read_template_line(std::FILE* file, Line& line);

/**
 * Fills a template.
 * @param[in] replace makes a replacement in a line: `int replace(Line&, const Replacement&)`.
 * @param[in] write writes a line that is filled: `int write(const Line&)`.
 * @return 0, or the first status of theirs that is another, which ends it.
 */
template <typename Replace, typename Write>
int fill_template(std::FILE* file, std::initializer_list<Replacement> replacements, Replace replace,
                  Write write) {
  Line line;
  while (read_template_line(file, line)) {
    for (const Replacement& replacement : replacements) {
      if (const int status = replace(line, replacement); status != 0) {
        return status;
      }
    }
    if (const int status = write(line); status != 0) {
      return status;
    }
  }
  return 0;
}

}  // namespace orktool
