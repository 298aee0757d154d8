/** @file Regular expressions, compiled once for the life of the process. */
#pragma once

#include <regex.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace orktool {

/** An extended regular expression in its compiled form. */
class Pattern {
 public:
  /**
   * The compiled form of a pattern, kept from its first use on.
   * @return the pattern; null when it does not compile, or would take more memory or time than any
   *   filter is worth (the limits stand in `pattern_limits`).
   */
  static Pattern* find(const char* text) noexcept;

  /** Whether the pattern matches anywhere in a value. */
  bool matches(const char* value);

  ~Pattern();
  Pattern(const Pattern&) = delete;
  Pattern& operator=(const Pattern&) = delete;

  class Store;

 private:
  explicit Pattern(std::string_view text);
  void compile();

  std::string text_;
  re_pattern_buffer compiled_{};
  bool is_compiled_ = false;
  std::size_t work_ = 0;               /**< since it was compiled */
  std::optional<std::string> literal_; /**< the text that it stands for, if it is but one */
};

/**
 * What a pattern may hold once its repetitions are written out ("a{3}" as "aaa", "a+" as "aa*").
 *
 * The compiler keeps, for each part that can be passed without a character, a list of the parts
 * that follow, and walks these lists and nested groups by recursion. Without limits a pattern of a
 * few characters fills the memory, and one of some thousand parentheses overruns the stack. Word
 * boundaries and loops over what can be empty make it visit lists again and again, in a time that
 * doubles with each part. A back-reference makes the matcher try all ways to split a value.
 */
struct pattern_limits {
  static constexpr std::size_t depth = 250; /**< of groups in groups */
  static constexpr std::size_t elements = 100'000;
  /** Groups, choices (alternatives and repetitions of a variable number), and thrice the anchors.
   */
  static constexpr std::size_t branches = 1000;
  /** The same, passed in a row without a character, beside an anchor or a loop over nothing. */
  static constexpr std::size_t run_of_hazardous = 16;
  /** The same, beside a "^" at the pattern's beginning or a "$" at its end alone. */
  static constexpr std::size_t run_of_anchored = 64;
  static constexpr std::size_t references = 3; /**< back-references */
  static constexpr std::size_t choices_beside_references = 1;
};

/** Whether a pattern is within the limits; what does not compile may be so or not. */
bool is_within_limits(const char* pattern);

}  // namespace orktool
