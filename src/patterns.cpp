#include "patterns.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <new>
#include <unordered_map>
#include <utility>

#include "call_frame.h"
#include "locale_watch.h"
#include "pattern_cost.h"
#include "zolp_basetool.h"
#include "zolp_orktool.h"

namespace orktool {

/** All patterns by their texts, which are their own. */
class Pattern::Store {
 public:
  Pattern* find(std::string_view text) {
    if (locale_watch_.has_changed()) {
      ++locale_;
    }
    Pattern*& recent = recent_[place_of(text)];
    if (recent == nullptr || recent->text_ != text) {
      recent = known(text);
    }
    if (recent->locale_ != locale_) {
      recent->fit_to_locale(locale_);
    }
    return recent->is_usable() ? recent : nullptr;
  }

 private:
  Pattern* known(std::string_view text) {
    auto found = patterns_.find(text);
    if (found == patterns_.end()) {
      std::unique_ptr<Pattern> pattern(new Pattern(text));
      const std::string_view key = pattern->text_;
      found = patterns_.emplace(key, std::move(pattern)).first;
    }
    return found->second.get();
  }

  static std::size_t place_of(std::string_view text) {
    const std::size_t edges =
        text.empty() ? 0U : static_cast<unsigned char>(text.front() + text.back());
    return (4 * text.size() + edges) % recent_count;
  }

  static constexpr std::size_t recent_count = 64;

  LocaleWatch locale_watch_;
  unsigned locale_ = 0;
  std::unordered_map<std::string_view, std::unique_ptr<Pattern>> patterns_;
  // A walk tries its objects with the same few patterns.
  std::array<Pattern*, recent_count> recent_{};
};

Pattern* Pattern::find(const char* text) noexcept {
  try {
    // Never destroyed: programs may filter while they end.
    static Store& store = *new Store;
    return store.find(text);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

Pattern::Pattern(std::string_view text)
    : text_(text), texts_(PlainTexts::of(text)), expression_(text) {
  PatternCost cost = cost_of(text_);
  constexpr auto many = 16;
  if (!cost.has_references && std::count(text_.begin(), text_.end(), '|') > many) {
    std::string grouped = with_grouped_alternatives(text_);
    const PatternCost cost_of_grouped = cost_of(grouped);
    if (cost_of_grouped.is_within_limits) {
      cost = cost_of_grouped;
      expression_ = std::move(grouped);
    }
  }
  is_within_limits_ = cost.is_within_limits;
  longest_value_ = cost.longest_value;
}

Pattern::~Pattern() {
  release();
}

void Pattern::fit_to_locale(unsigned locale) {
  release();
  uses_texts_ = texts_ && LocaleWatch::has_distinct_bytes(text_.c_str());
  if (!uses_texts_) {
    if (is_within_limits_) {
      compile();
    } else {
      warn_once("it would take too much memory or time");
    }
  }
  locale_ = locale;
}

void Pattern::release() {
  if (is_compiled_) {
    regfree(&compiled_);
  }
  is_compiled_ = false;
}

void Pattern::compile() {
  re_pattern_buffer compiled{};
  if (const int error = regcomp(&compiled, expression_.c_str(), REG_EXTENDED); error != 0) {
    if (error == REG_ESPACE && !is_compiled_) {
      throw std::bad_alloc();  // not for ever, then
    }
    return;
  }
  release();
  compiled_ = compiled;
  is_compiled_ = true;
  work_ = 0;
}

void Pattern::warn_once(const char* reason) {
  if (!has_warned_) {
    ZOLP_WARNING("Pattern <%.200s> lets nothing pass: %s\n", text_.c_str(), reason);
  }
  has_warned_ = true;
}

bool Pattern::matches(const char* value) {
  if (uses_texts_) {
    return texts_->occur_in(value);
  }
  const std::size_t length = std::strlen(value);
  if (length > longest_value_) {
    warn_once("its back-references would take too much time in a value as long as this");
    return false;
  }
  // Each state that the matcher comes to stays in memory, and hostile values lead to new ones for
  // ever. From time to time the pattern is compiled anew, which gives them back; up to the square
  // of a value's length can be new.
  constexpr std::size_t most_work = std::size_t{1} << 18;
  work_ += length * length;
  if (work_ > most_work) {
    compile();
  }
  return MatchPattern(compiled_, value);
}

}  // namespace orktool
