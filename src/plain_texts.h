/** @file Patterns that stand for nothing but texts, as most filters do: no expression is needed. */
#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orktool {

/**
 * The texts of a pattern without operators but alternatives, groups of them, and anchors around
 * them: "Released", "4711|4712", "^(4711|4712)$". Lists of ids come as patterns with thousands of
 * alternatives, which are looked up here in sorted arrays.
 */
class PlainTexts {
 public:
  /** The texts that a pattern stands for; nothing when there is more to it. */
  static std::optional<PlainTexts> of(std::string_view pattern);

  /** Whether one of the texts stands in a value, where its anchors want it. */
  bool occur_in(const char* value) const;

 private:
  friend class PlainTextsReader;

  /** Where a text must stand: sums of these are places in `texts_`. */
  enum Place : unsigned { anywhere = 0, at_beginning = 1, at_end = 2 };

  std::array<std::vector<std::string>, 4> texts_; /**< sorted */
};

}  // namespace orktool
