/**
 * @file
 * Numbering the children of one BOM line: one pass over them, in which lines of one revision share
 * the number of the first of them.
 */
#pragma once

#include "ork/ork.h"

namespace orktool {

/** Number that follows, also where the numbers begin anew. */
inline int next_number(int number, int increment) {
  return static_cast<int>(static_cast<unsigned>(number) + static_cast<unsigned>(increment));
}

/** Numbers all children. `number` goes on to the one that follows. Throws std::bad_alloc. */
void number_all(const tag* children, int count, int* number, int increment);

/** The same for all but one line, the k-th of those that are to keep their numbers. */
void number_all_but(const tag* children, int count, int* number, int increment, int k,
                    tag not_desired);

}  // namespace orktool
