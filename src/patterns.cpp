#include "patterns.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "zolp_orktool.h"

namespace orktool {
namespace {

/** What a part of a pattern amounts to once its repetitions are written out. */
struct Extent {
  std::uint64_t elements = 0;
  std::uint64_t groups = 0;
  std::uint64_t choices = 0; /**< variable repetitions and alternatives */
  std::uint64_t anchors = 0; /**< each counts thrice, since it doubles what follows it */
  std::uint64_t references = 0;
  bool can_be_empty = true;

  std::uint64_t branches() const { return groups + choices + anchors; }

  /** Puts another part behind this one. */
  void append(const Extent& other) {
    elements += other.elements;
    groups += other.groups;
    choices += other.choices;
    anchors += other.anchors;
    references += other.references;
    can_be_empty = can_be_empty && other.can_be_empty;
  }

  /** Writes the part out a number of times, with choices between them. */
  void repeat(std::uint64_t copies, std::uint64_t new_choices) {
    elements = elements * copies + new_choices;
    groups *= copies;
    choices = choices * copies + new_choices;
    anchors *= copies;
    references *= copies;
  }

  bool is_within_limits() const {
    using limits = pattern_limits;
    return elements <= limits::elements && branches() <= limits::branches &&
           references <= limits::references &&
           (references == 0 || choices <= limits::choices_beside_references);
  }
};

/** Adds up the extent of a pattern; of one that does not compile it may say anything. */
class Scan {
 public:
  explicit Scan(std::string_view pattern) : pattern_(pattern) {}

  bool is_within_limits() {
    while (at_ < pattern_.size()) {
      take_next();
      // Checked at every step, the numbers cannot grow until they overflow.
      if (open_groups_.size() > pattern_limits::depth || !are_parts_within_limits()) {
        return false;
      }
    }
    while (!open_groups_.empty()) {
      close_group();
    }
    end_atom();
    return are_parts_within_limits();
  }

 private:
  /**
   * What stands in a group, or in the pattern as a whole, before the current atom. A run is the
   * number of branches that can be passed up to a place without a character.
   */
  struct Sequence {
    Extent extent; /**< can be empty if the current alternative can */
    bool can_other_alternative_be_empty = false;
    std::uint64_t run = 0;
    std::uint64_t run_at_start = 0;
    std::uint64_t run_of_other_alternative = 0;
  };

  static constexpr Extent character = {.elements = 1, .can_be_empty = false};
  static constexpr Extent anchor = {.elements = 1, .anchors = 3};

  bool are_parts_within_limits() const {
    return atom_.is_within_limits() && sequence_.extent.is_within_limits() &&
           (!is_hazardous_ || longest_run_ <= pattern_limits::run_of_hazardous) &&
           (!is_anchored_ || longest_run_ <= pattern_limits::run_of_anchored);
  }

  void take_next() {
    switch (pattern_[at_++]) {
      case '(':
        return open_group();
      case ')':
        // Without a group to close it is a character.
        return open_groups_.empty() ? begin_atom(character) : close_group();
      case '|':
        return end_alternative();
      case '*':
        return repeat(1, Repeated::any_number);
      case '+':
        return repeat(2, Repeated::any_number, 1, atom_.can_be_empty);
      case '?':
        return repeat(1, Repeated::up_to);
      case '{':
        return take_interval();
      case '[':
        skip_bracket_expression();
        return begin_atom(character);
      case '\\':
        return take_escape();
      case '^':
        return begin_anchor(at_ == 1);
      case '$':
        return begin_anchor(at_ == pattern_.size());
      default:
        return begin_atom(character);
    }
  }

  enum class Repeated { up_to, any_number };

  /** Repeats the atom. */
  void repeat(std::uint64_t copies, Repeated how, std::uint64_t new_choices = 1,
              bool can_be_empty = true) {
    is_hazardous_ =
        is_hazardous_ || atom_.anchors > 0 || (how == Repeated::any_number && atom_.can_be_empty);
    atom_.repeat(copies, new_choices);
    atom_.can_be_empty = can_be_empty;
  }

  /** An atom is what a repetition behind it repeats. */
  void begin_atom(const Extent& extent) {
    end_atom();
    atom_ = extent;
  }

  void begin_anchor(bool is_at_edge = false) {
    begin_atom(anchor);
    (is_at_edge ? is_anchored_ : is_hazardous_) = true;
  }

  void end_atom() {
    const std::uint64_t run_past_it = atom_.can_be_empty ? sequence_.run + atom_.branches() : 0;
    sequence_.run = std::max(run_in_atom_, run_past_it);
    longest_run_ = std::max(longest_run_, sequence_.run);
    sequence_.extent.append(atom_);
    atom_ = {};
    run_in_atom_ = 0;
  }

  void end_alternative() {
    end_atom();
    sequence_.can_other_alternative_be_empty |= sequence_.extent.can_be_empty;
    sequence_.extent.append({.elements = 1, .choices = 1});
    sequence_.extent.can_be_empty = true;
    sequence_.run_of_other_alternative =
        std::max(sequence_.run_of_other_alternative, sequence_.run);
    sequence_.run = sequence_.run_at_start + 1;
  }

  void open_group() {
    end_atom();
    open_groups_.push_back(sequence_);
    const std::uint64_t run = sequence_.run + 1;
    sequence_ = {};
    sequence_.run = run;
    sequence_.run_at_start = run;
  }

  void close_group() {
    end_alternative();
    Extent group = sequence_.extent;
    group.groups += 1;
    group.choices -= 1;  // there is no further alternative
    group.can_be_empty = sequence_.can_other_alternative_be_empty;
    run_in_atom_ = sequence_.run_of_other_alternative;
    sequence_ = open_groups_.back();
    open_groups_.pop_back();
    atom_ = group;
  }

  void take_escape() {
    const char escaped = at_ < pattern_.size() ? pattern_[at_++] : '\0';
    if (escaped >= '1' && escaped <= '9') {
      begin_atom({.elements = 1, .references = 1});
    } else if (escaped != '\0' && std::strchr("bB<>`'", escaped) != nullptr) {
      begin_anchor();
    } else {
      begin_atom(character);
    }
  }

  /** "{3}", "{3,}" or "{3,5}". Anything else does not compile or stands for itself. */
  void take_interval() {
    std::size_t end = at_;
    const std::uint64_t least = number(&end);
    std::uint64_t most = least;
    auto how = Repeated::up_to;
    if (end < pattern_.size() && pattern_[end] == ',') {
      ++end;
      if (end < pattern_.size() && pattern_[end] == '}') {
        how = Repeated::any_number;
        most = least + 1;
      } else {
        most = number(&end);
      }
    }
    if (end >= pattern_.size() || pattern_[end] != '}') {
      return begin_atom(character);
    }
    at_ = end + 1;
    repeat(std::max<std::uint64_t>(most, 1), how, most > least ? most - least : 0,
           least == 0 || atom_.can_be_empty);
  }

  std::uint64_t number(std::size_t* at) const {
    constexpr std::uint64_t beyond_all_limits = 1'000'000;
    std::uint64_t value = 0;
    for (; *at < pattern_.size() && std::isdigit(static_cast<unsigned char>(pattern_[*at])) != 0;
         ++*at) {
      value =
          std::min(value * 10 + static_cast<std::uint64_t>(pattern_[*at] - '0'), beyond_all_limits);
    }
    return value;
  }

  /** Behind "[": up to its "]", which is an ordinary character at the beginning. */
  void skip_bracket_expression() {
    const auto is_next = [this](char wanted) {
      return at_ < pattern_.size() && pattern_[at_] == wanted;
    };
    at_ += is_next('^') ? 1 : 0;
    at_ += is_next(']') ? 1 : 0;
    while (at_ < pattern_.size() && !is_next(']')) {
      const bool is_opening = is_next('[');
      ++at_;
      if (is_opening && (is_next(':') || is_next('.') || is_next('='))) {
        const std::size_t end = pattern_.find(std::string{pattern_[at_], ']'}, at_ + 1);
        at_ = end == std::string_view::npos ? pattern_.size() : end + 2;
      }
    }
    at_ = std::min(at_ + 1, pattern_.size());
  }

  std::string_view pattern_;
  std::size_t at_ = 0;
  bool is_hazardous_ = false; /**< see pattern_limits::run_of_hazardous ... */
  bool is_anchored_ = false;  /**< ... and run_of_anchored */
  std::uint64_t longest_run_ = 0;
  std::vector<Sequence> open_groups_;
  Sequence sequence_;
  Extent atom_;
  std::uint64_t run_in_atom_ = 0; /**< at the end of a group */
};

/** The text that a pattern stands for when there is no operator in it, as in most filters. */
std::optional<std::string> literal_of(const char* pattern) {
  constexpr std::string_view operators = ".*+?()[]{}|^$\\";
  std::string literal;
  for (const char* at = pattern; *at != '\0'; ++at) {
    const bool is_escaped = *at == '\\';
    at += is_escaped ? 1 : 0;
    if (is_escaped == (*at == '\0' || operators.find(*at) == std::string_view::npos)) {
      return std::nullopt;
    }
    literal += *at;
  }
  return literal;
}

}  // namespace

bool is_within_limits(const char* pattern) {
  return Scan(pattern).is_within_limits();
}

/** All patterns by their texts, which are their own. */
class Pattern::Store {
 public:
  Pattern* find(std::string_view text) {
    Pattern*& recent = recent_[place_of(text)];
    if (recent == nullptr || recent->text_ != text) {
      recent = known(text);
    }
    return recent->is_compiled_ ? recent : nullptr;
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

Pattern::Pattern(std::string_view text) : text_(text) {
  if (is_within_limits(text_.c_str())) {
    compile();
    literal_ = literal_of(text_.c_str());
  }
}

Pattern::~Pattern() {
  if (is_compiled_) {
    regfree(&compiled_);
  }
}

void Pattern::compile() {
  re_pattern_buffer compiled{};
  if (const int error = regcomp(&compiled, text_.c_str(), REG_EXTENDED); error != 0) {
    if (error == REG_ESPACE && !is_compiled_) {
      throw std::bad_alloc();  // not for ever, then
    }
    return;
  }
  if (is_compiled_) {
    regfree(&compiled_);
  }
  compiled_ = compiled;
  is_compiled_ = true;
  work_ = 0;
}

bool Pattern::matches(const char* value) {
  if (literal_ && MB_CUR_MAX == 1) {  // otherwise it might begin inside a character
    return std::strstr(value, literal_->c_str()) != nullptr;
  }
  // Each state that the matcher comes to stays in memory, and hostile values lead to new ones for
  // ever. From time to time the pattern is compiled anew, which gives them back; up to the square
  // of a value's length can be new.
  constexpr std::size_t most_work = std::size_t{1} << 18;
  const std::size_t length = std::strlen(value);
  work_ += length * length;
  if (work_ > most_work) {
    compile();
  }
  return MatchPattern(compiled_, value);
}

}  // namespace orktool
