/** @file A product structure that is printed as it is read. */
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "ork/ork.h"
#include "text.h"

namespace tool {

/**
 * Prints a line and those below it, down to a depth.
 * @param facts what is said in JSON before the structure, which is a member then; may be empty.
 */
void print_tree(tag top, int depth, bool as_json, const Json& facts = {});

/** Sequence numbers in the order of a tree: each line before those below it. */
using SequenceNumbers = std::vector<std::string>;

/** Those of a line and the lines below it, down to a depth. */
SequenceNumbers sequence_numbers(tag top, int depth);

/**
 * Writes what `print_tree` prints, with the sequence numbers that the same lines had before.
 * @param write takes the text piece by piece.
 */
void write_tree(tag top, int depth, bool as_json, const Json& facts, const SequenceNumbers& before,
                const std::function<void(std::string_view text)>& write);

}  // namespace tool
