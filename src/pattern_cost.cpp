#include "pattern_cost.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <utility>
#include <vector>

namespace orktool {
namespace {

constexpr double endless = std::numeric_limits<double>::infinity();

/** What a part of a pattern amounts to. The empty part to begin with. */
struct Part {
  double elements = 0;
  double branches = 0;  /**< what can be passed without a character: groups, choices, anchors */
  double followers = 0; /**< sum of the lengths of all lists */
  double copies = 0;    /**< followers of anchors */
  double entries = 0;   /**< what can be come to from before it, without a character */
  double exits = 0;     /**< what leads out of it without a character */
  double anchors_at_exits = 0;
  double anchors = 0;
  double references = 0;
  double shortest = 0; /**< lengths of what it matches */
  double longest = 0;
  bool can_be_empty = true;

  static Part character() {
    Part part;
    part.elements = part.followers = part.entries = part.shortest = part.longest = 1;
    part.can_be_empty = false;
    return part;
  }

  static Part anchor() {
    Part part;
    part.elements = part.followers = part.entries = part.exits = 1;
    part.anchors_at_exits = part.anchors = 1;
    part.branches = 3;  // what it doubles
    return part;
  }

  /** To a group that matches texts of these lengths. */
  static Part reference(double shortest, double longest) {
    Part part = character();
    part.exits = part.references = 1;
    part.shortest = shortest;
    part.longest = longest;
    part.can_be_empty = shortest == 0;
    return part;
  }

  /** Puts another part behind this one. */
  void append(const Part& other) {
    followers += other.followers + exits * other.entries;
    copies += other.copies + anchors_at_exits * other.entries;
    entries += can_be_empty ? other.entries : 0;
    exits = other.exits + (other.can_be_empty ? exits : 0);
    anchors_at_exits = other.anchors_at_exits + (other.can_be_empty ? anchors_at_exits : 0);
    add_numbers(other);
    shortest += other.shortest;
    longest += other.longest;
    can_be_empty = can_be_empty && other.can_be_empty;
  }

  /** Makes it a choice between itself and another part. */
  void choose_or(const Part& other) {
    followers += other.followers;
    copies += other.copies;
    entries += other.entries;
    exits += other.exits;
    anchors_at_exits += other.anchors_at_exits;
    add_numbers(other);
    shortest = std::min(shortest, other.shortest);
    longest = std::max(longest, other.longest);
    can_be_empty = can_be_empty || other.can_be_empty;
    add_choice();
  }

  void make_optional() {
    add_choice();
    exits += 1;
    shortest = 0;
    can_be_empty = true;
  }

  void make_loop() {
    followers += exits * (entries + 1);
    copies += anchors_at_exits * (entries + 1);
    longest = longest > 0 ? endless : 0;
    make_optional();
  }

  void make_group() {
    const double passes = can_be_empty ? 1 : 0;
    entries += 1 + passes;
    exits += 1 + passes;
    followers += entries + exits;
    elements += 2;
    branches += 1;
  }

  /** Itself a number of times in a row. */
  Part times(double count) const {
    if (count < 1) {
      return {};
    }
    Part all = *this;
    const double neighbours = can_be_empty ? count * (count - 1) / 2 : count - 1;
    all.followers = count * followers + neighbours * exits * entries;
    all.copies = count * copies + neighbours * anchors_at_exits * entries;
    for (double Part::*number :
         {&Part::elements, &Part::branches, &Part::anchors, &Part::references, &Part::shortest}) {
      all.*number *= count;
    }
    all.longest = longest > 0 ? longest * count : 0;
    if (can_be_empty) {
      all.entries *= count;
      all.exits *= count;
      all.anchors_at_exits *= count;
    }
    return all;
  }

  bool is_within_limits() const {
    using limits = pattern_limits;
    // With references there are lists of what comes before, too.
    return elements <= limits::elements && copies <= limits::copies &&
           followers * (references > 0 ? 2 : 1) <= limits::followers;
  }

 private:
  void add_numbers(const Part& other) {
    elements += other.elements;
    branches += other.branches;
    anchors += other.anchors;
    references += other.references;
  }

  void add_choice() {
    entries += 1;
    followers += entries;
    elements += 1;
    branches += 1;
  }
};

/** Behind the "[" at a place: the place behind its "]", which may be the first character, too. */
std::size_t end_of_bracket_expression(std::string_view pattern, std::size_t at) {
  const auto is_next = [&](char wanted) { return at < pattern.size() && pattern[at] == wanted; };
  at += is_next('^') ? 1 : 0;
  at += is_next(']') ? 1 : 0;
  while (at < pattern.size() && !is_next(']')) {
    const bool is_opening = is_next('[');
    ++at;
    if (is_opening && (is_next(':') || is_next('.') || is_next('='))) {
      const std::size_t end = pattern.find(std::string{pattern[at], ']'}, at + 1);
      at = end == std::string_view::npos ? pattern.size() : end + 2;
    }
  }
  return std::min(at + 1, pattern.size());
}

/** Adds up the cost of a pattern. */
class Scan {
 public:
  explicit Scan(std::string_view pattern) : pattern_(pattern) {}

  PatternCost cost() {
    while (at_ < pattern_.size()) {
      take_next();
      // Checked at every step, the numbers cannot grow beyond reason.
      if (open_groups_.size() > pattern_limits::depth || !are_parts_within_limits()) {
        return {};
      }
    }
    while (!open_groups_.empty()) {
      close_group();
    }
    end_alternative();
    PatternCost result;
    result.is_within_limits = are_parts_within_limits() && sequence_.done.is_within_limits();
    result.has_references = sequence_.done.references > 0;
    result.longest_value = longest_value();
    return result;
  }

 private:
  /**
   * What stands in a group, or in the pattern as a whole, before the current atom. A run is the
   * number of branches that can be passed up to a place without a character.
   */
  struct Sequence {
    Part done; /**< the alternatives that have ended */
    Part current;
    bool has_alternatives = false;
    double run = 0;
    double run_at_start = 0;
    double run_of_other_alternative = 0;
    std::size_t group = 0; /**< its number */
  };

  bool are_parts_within_limits() const {
    return !is_endless_ && atom_.is_within_limits() && sequence_.current.is_within_limits() &&
           sequence_.done.is_within_limits() &&
           (!is_hazardous_ || longest_run_ <= pattern_limits::run_of_hazardous) &&
           (!is_anchored_ || longest_run_ <= pattern_limits::run_of_anchored);
  }

  /**
   * What the matcher was measured to take for back-references, on values that lead it astray, grows
   * with a power of a value's length, a higher one for each group of a variable length that is
   * referred to and for each loop over what can be empty.
   */
  std::size_t longest_value() const {
    const double references = sequence_.done.references;
    int variable_groups = 0;
    for (std::size_t i = 1; i < groups_.size() && i < 10; ++i) {
      const Group& group = groups_[i];
      variable_groups += group.is_referred_to && group.shortest != group.longest ? 1 : 0;
    }
    if (references == 0 || (variable_groups == 0 && loops_ == 0)) {
      return std::numeric_limits<std::size_t>::max();
    }
    const int power = 3 + std::max(1, variable_groups + loops_over_nothing_);
    const double longest = std::pow(pattern_limits::steps / (references * references), 1.0 / power);
    return static_cast<std::size_t>(longest);
  }

  void take_next() {
    switch (pattern_[at_++]) {
      case '(':
        return open_group();
      case ')':
        // Without a group to close it is a character.
        return open_groups_.empty() ? begin_atom(Part::character()) : close_group();
      case '|':
        return end_alternative();
      case '*':
        return repeat(0, endless);
      case '+':
        return repeat(1, endless);
      case '?':
        return repeat(0, 1);
      case '{':
        return take_interval();
      case '[':
        at_ = end_of_bracket_expression(pattern_, at_);
        return begin_atom(Part::character());
      case '\\':
        return take_escape();
      case '^':
        return begin_anchor(at_ == 1);
      case '$':
        return begin_anchor(at_ == pattern_.size());
      default:
        return begin_atom(Part::character());
    }
  }

  /** Repeats the atom. */
  void repeat(double least, double most) {
    const bool is_loop = most == endless;
    is_hazardous_ = is_hazardous_ || atom_.anchors > 0 || (is_loop && atom_.can_be_empty);
    // The matcher can go round in such a loop for ever.
    is_endless_ = is_endless_ || (is_loop && atom_.can_be_empty && atom_.references > 0);
    loops_ += is_loop ? 1 : 0;
    loops_over_nothing_ += is_loop && atom_.can_be_empty ? 1 : 0;
    Part all = atom_.times(least);
    Part further = atom_;
    if (is_loop) {
      further.make_loop();
      all.append(further);
    } else if (most > least || least == 0) {
      further.make_optional();
      all.append(further.times(std::max(most - least, 1.0)));
    }
    atom_ = all;
  }

  /** An atom is what a repetition behind it repeats. */
  void begin_atom(const Part& part) {
    end_atom();
    atom_ = part;
  }

  void begin_anchor(bool is_at_edge = false) {
    begin_atom(Part::anchor());
    (is_at_edge ? is_anchored_ : is_hazardous_) = true;
  }

  void end_atom() {
    const double run_past_it = atom_.can_be_empty ? sequence_.run + atom_.branches : 0;
    sequence_.run = std::max(run_in_atom_, run_past_it);
    longest_run_ = std::max(longest_run_, sequence_.run);
    sequence_.current.append(atom_);
    atom_ = {};
    run_in_atom_ = 0;
  }

  void end_alternative() {
    end_atom();
    if (sequence_.has_alternatives) {
      sequence_.done.choose_or(sequence_.current);
    } else {
      sequence_.done = sequence_.current;
    }
    sequence_.has_alternatives = true;
    sequence_.current = {};
    sequence_.run_of_other_alternative =
        std::max(sequence_.run_of_other_alternative, sequence_.run);
    sequence_.run = sequence_.run_at_start + 1;
  }

  void open_group() {
    end_atom();
    open_groups_.push_back(sequence_);
    const double run = sequence_.run + 1;
    sequence_ = {};
    sequence_.run = run;
    sequence_.run_at_start = run;
    sequence_.group = groups_.size();
    groups_.emplace_back();
  }

  void close_group() {
    end_alternative();
    Part group = sequence_.done;
    group.make_group();
    groups_[sequence_.group].shortest = group.shortest;
    groups_[sequence_.group].longest = group.longest;
    run_in_atom_ = sequence_.run_of_other_alternative;
    sequence_ = open_groups_.back();
    open_groups_.pop_back();
    atom_ = group;
  }

  void take_escape() {
    const char escaped = at_ < pattern_.size() ? pattern_[at_++] : '\0';
    if (escaped >= '1' && escaped <= '9') {
      const auto number = static_cast<std::size_t>(escaped - '0');
      Group& group = groups_[number < groups_.size() ? number : 0];
      group.is_referred_to = true;
      begin_atom(Part::reference(group.shortest, group.longest));
    } else if (escaped != '\0' && std::strchr("bB<>`'", escaped) != nullptr) {
      begin_anchor();
    } else {
      begin_atom(Part::character());
    }
  }

  /** "{3}", "{3,}", "{,3}" or "{3,5}". Anything else does not compile or stands for itself. */
  void take_interval() {
    std::size_t end = at_;
    const double least = number(&end);
    double most = least;
    if (end < pattern_.size() && pattern_[end] == ',') {
      ++end;
      const bool is_open = end < pattern_.size() && pattern_[end] == '}';
      most = is_open ? endless : number(&end);
    }
    if (end >= pattern_.size() || pattern_[end] != '}') {
      return begin_atom(Part::character());
    }
    at_ = end + 1;
    repeat(least, most);
  }

  double number(std::size_t* at) const {
    constexpr double beyond_all_limits = 1'000'000;
    double value = 0;
    for (; *at < pattern_.size() && std::isdigit(static_cast<unsigned char>(pattern_[*at])) != 0;
         ++*at) {
      value = std::min(value * 10 + (pattern_[*at] - '0'), beyond_all_limits);
    }
    return value;
  }

  /** Until a group is closed, what it matches may be of any length. */
  struct Group {
    double shortest = 0;
    double longest = endless;
    bool is_referred_to = false;
  };

  std::string_view pattern_;
  std::size_t at_ = 0;
  bool is_hazardous_ = false; /**< see pattern_limits::run_of_hazardous ... */
  bool is_anchored_ = false;  /**< ... and run_of_anchored */
  bool is_endless_ = false;
  double longest_run_ = 0;
  int loops_ = 0;
  int loops_over_nothing_ = 0;
  std::vector<Sequence> open_groups_;
  std::vector<Group> groups_{Group{}}; /**< by their numbers; 0 for one that there is not */
  Sequence sequence_;
  Part atom_;
  double run_in_atom_ = 0; /**< at the end of a group */
};

/** The alternatives of a group as one text, a few of them in a group at a time. */
std::string grouped(std::vector<std::string> alternatives) {
  constexpr std::size_t few = 16;
  const auto joined = [&](std::size_t first, std::size_t count) {
    std::string text = std::move(alternatives[first]);
    for (std::size_t i = first + 1; i < std::min(first + count, alternatives.size()); ++i) {
      text += '|';
      text += alternatives[i];
    }
    return text;
  };
  while (alternatives.size() > few) {
    std::vector<std::string> groups;
    for (std::size_t first = 0; first < alternatives.size(); first += few) {
      groups.push_back('(' + joined(first, few) + ')');
    }
    alternatives = std::move(groups);
  }
  return joined(0, few);
}

}  // namespace

PatternCost cost_of(std::string_view pattern) {
  return Scan(pattern).cost();
}

std::string with_grouped_alternatives(std::string_view pattern) {
  std::vector<std::vector<std::string>> open{{""}};  // the alternatives of each open group
  std::size_t at = 0;
  while (at < pattern.size() && open.size() <= pattern_limits::depth) {
    const std::size_t start = at++;
    switch (pattern[start]) {
      case '(':
        open.push_back({""});
        continue;
      case '|':
        open.back().emplace_back();
        continue;
      case ')':
        if (open.size() > 1) {
          const std::string inside = grouped(std::move(open.back()));
          open.pop_back();
          open.back().back() += '(' + inside + ')';
        } else {
          open.back().back() += "[)]";  // a character, which must not end a new group
        }
        continue;
      case '[':
        at = end_of_bracket_expression(pattern, at);
        break;
      case '\\':
        at = std::min(at + 1, pattern.size());
        break;
      default:
        break;
    }
    open.back().back() += pattern.substr(start, at - start);
  }
  // With open groups it does not compile anyway.
  return open.size() > 1 ? std::string(pattern) : grouped(std::move(open.back()));
}

}  // namespace orktool
