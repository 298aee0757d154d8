/** @file Copies of a release list without some of its lines. They throw std::bad_alloc. */
#pragma once

#include "list_files.h"

namespace orktool {

/** Leaves out "Where" blocks that have nothing in them. */
void copy_without_empty_blocks(LineReader& reader, const File& copy);

/** Keeps of each item only the first line, with the lines below it. */
void copy_first_of_each_item(LineReader& reader, const File& copy);

/** Leaves out the lines of "Where" blocks that contain one of several texts. */
void copy_used_lines(LineReader& reader, const File& copy, int count, char** patterns);

}  // namespace orktool
