/** @file Regular expressions, compiled once for the life of the process. */
#pragma once

#include <regex.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "plain_texts.h"

namespace orktool {

/** An extended regular expression in the form in which it is matched. */
class Pattern {
 public:
  /**
   * That form of a pattern, kept from its first use on, and made anew when the process has changed
   * its locale.
   * @return the pattern; null when it does not compile, and, with a warning when it is first asked
   *   for, when it would take more memory or time than any filter is worth (`pattern_cost.h`).
   */
  static Pattern* find(const char* text) noexcept;

  /**
   * Whether the pattern matches anywhere in a value. One whose back-references would take too long
   * in a value of this length does not match it, with a warning when this happens first.
   */
  bool matches(const char* value);

  ~Pattern();
  Pattern(const Pattern&) = delete;
  Pattern& operator=(const Pattern&) = delete;

  class Store;

 private:
  explicit Pattern(std::string_view text);
  bool is_usable() const { return uses_texts_ || is_compiled_; }
  void fit_to_locale(unsigned locale);
  void release();
  void compile();
  void warn_once(const char* reason);

  std::string text_;
  std::optional<PlainTexts> texts_; /**< those that it stands for, if it is nothing else */
  std::string expression_;          /**< otherwise, what is compiled */
  bool is_within_limits_ = false;
  std::size_t longest_value_ = 0;

  unsigned locale_ = 0; /**< the one that what follows is made for */
  bool uses_texts_ = false;
  bool is_compiled_ = false;
  bool has_warned_ = false;
  re_pattern_buffer compiled_{};
  std::size_t work_ = 0; /**< since it was compiled */
};

}  // namespace orktool
