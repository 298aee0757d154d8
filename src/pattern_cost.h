/**
 * @file
 * What a pattern would cost to compile and to match, found out without compiling it.
 *
 * The compiler writes repetitions out ("a{3}" as "aaa", "a+" as "aa*"). For each part that can be
 * passed without a character it keeps a list of all the parts that can follow, and it makes these
 * lists by recursion. A chain of n alternatives or of n things that can be empty so takes n lists
 * of up to n parts. Anchors have what follows them copied; between loops over what can be empty
 * that may double with each part. The matcher, in its turn, tries all ways to split a value among
 * groups that are referred to.
 *
 * So a pattern of a few characters can fill the memory or overrun the stack. Most sane ones that
 * are long are long lists of alternatives. Written as alternatives of alternatives these cost
 * little more than their characters.
 */
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace orktool {

/** What a pattern may hold once its repetitions are written out. */
struct pattern_limits {
  static constexpr std::size_t depth = 250; /**< of groups in groups */
  static constexpr double elements = 100'000;
  /** Sum of the lengths of the lists of followers, some ten bytes each. */
  static constexpr double followers = 1'000'000;
  /** Followers of anchors, which are copied and looked for among each other. */
  static constexpr double copies = 50'000;
  /** What is passed in a row without a character, beside an anchor or a loop over nothing. */
  static constexpr double run_of_hazardous = 16;
  /** The same, beside a "^" at the pattern's beginning or a "$" at its end alone. */
  static constexpr double run_of_anchored = 64;
  /** Steps for back-references in one value: a second or less. */
  static constexpr double steps = 2e9;
};

/** What is known of a pattern. Of one that does not compile it may be anything. */
struct PatternCost {
  bool is_within_limits = false;
  bool has_references = false;
  std::size_t longest_value = 0; /**< that the pattern may be tried on */
};

PatternCost cost_of(std::string_view pattern);

/**
 * The pattern with long rows of alternatives put into groups of a few. It matches the same; but its
 * groups have other numbers, so it is no good for back-references.
 */
std::string with_grouped_alternatives(std::string_view pattern);

}  // namespace orktool
