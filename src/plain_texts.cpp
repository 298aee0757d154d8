#include "plain_texts.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <utility>

namespace orktool {

/** Reads a pattern; gives up where it finds anything but texts. */
class PlainTextsReader {
 public:
  explicit PlainTextsReader(std::string_view pattern) : pattern_(pattern) {}

  std::optional<PlainTexts> read() {
    if (!read_alternatives(0) || at_ < pattern_.size()) {
      return std::nullopt;
    }
    PlainTexts result;
    for (Text& text : texts_) {
      result.texts_[text.place].push_back(std::move(text.characters));
    }
    for (auto& texts : result.texts_) {
      std::sort(texts.begin(), texts.end());
    }
    return result;
  }

 private:
  struct Text {
    std::string characters;
    unsigned place = PlainTexts::anywhere;
  };

  static constexpr int deepest_group = 8;

  bool take(char wanted) {
    const bool is_next = at_ < pattern_.size() && pattern_[at_] == wanted;
    at_ += is_next ? 1 : 0;
    return is_next;
  }

  bool read_alternatives(int depth) {
    do {
      if (!read_alternative(depth)) {
        return false;
      }
    } while (take('|'));
    return true;
  }

  /** A text or a group, with anchors around it. */
  bool read_alternative(int depth) {
    const std::size_t first = texts_.size();
    unsigned place = take('^') ? PlainTexts::at_beginning : PlainTexts::anywhere;
    if (take('(')) {
      if (depth == deepest_group || !read_alternatives(depth + 1) || !take(')')) {
        return false;
      }
    } else if (!read_text()) {
      return false;
    }
    place |= take('$') ? PlainTexts::at_end : PlainTexts::anywhere;
    for (std::size_t i = first; i < texts_.size(); ++i) {
      texts_[i].place |= place;
    }
    return at_ == pattern_.size() || pattern_[at_] == '|' || (pattern_[at_] == ')' && depth > 0);
  }

  /** Up to an operator, which may be none. */
  bool read_text() {
    constexpr std::string_view operators = ".*+?()[]{}|^$\\";
    Text& text = texts_.emplace_back();
    for (; at_ < pattern_.size(); ++at_) {
      if (pattern_[at_] == '\\') {
        ++at_;
        if (at_ == pattern_.size() || operators.find(pattern_[at_]) == std::string_view::npos) {
          return false;  // nothing, or an operator that begins with a backslash
        }
      } else if (operators.find(pattern_[at_]) != std::string_view::npos) {
        return true;
      }
      text.characters += pattern_[at_];
    }
    return true;
  }

  std::string_view pattern_;
  std::size_t at_ = 0;
  std::vector<Text> texts_;
};

std::optional<PlainTexts> PlainTexts::of(std::string_view pattern) {
  return PlainTextsReader(pattern).read();
}

namespace {

/** Whether a value begins with one of some sorted texts. */
bool begins_with_one(const std::vector<std::string>& texts, std::string_view value) {
  auto first = texts.begin();
  auto last = texts.end();
  // All from first to last share their beginning with the value, up to this length.
  for (std::size_t length = 0; first != last; ++length) {
    if (first->size() == length) {
      return true;
    }
    if (length == value.size()) {
      return false;
    }
    const auto next = static_cast<unsigned char>(value[length]);
    const auto character = [length](const std::string& text) {
      return static_cast<unsigned char>(text[length]);
    };
    first = std::partition_point(first, last,
                                 [&](const std::string& text) { return character(text) < next; });
    last = std::partition_point(first, last,
                                [&](const std::string& text) { return character(text) == next; });
  }
  return false;
}

}  // namespace

bool PlainTexts::occur_in(const char* value) const {
  const std::vector<std::string>& loose = texts_[anywhere];
  if (loose.size() == 1 && std::strstr(value, loose.front().c_str()) != nullptr) {
    return true;
  }
  const std::string_view all(value);
  const auto is_one_of = [](const std::vector<std::string>& texts, std::string_view text) {
    return !texts.empty() && std::binary_search(texts.begin(), texts.end(), text);
  };
  if (is_one_of(texts_[at_beginning + at_end], all) || begins_with_one(texts_[at_beginning], all)) {
    return true;
  }
  const bool has_loose = loose.size() > 1;
  if (!has_loose && texts_[at_end].empty()) {
    return false;
  }
  for (std::size_t start = 0; start <= all.size(); ++start) {
    if ((has_loose && begins_with_one(loose, all.substr(start))) ||
        is_one_of(texts_[at_end], all.substr(start))) {
      return true;
    }
  }
  return false;
}

}  // namespace orktool
