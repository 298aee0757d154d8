#include "seed_text.h"

#include <algorithm>
#include <cstdio>
#include <set>
#include <utility>

namespace host {

namespace {

using Json = nlohmann::json;

/** The way to a value as a JSON pointer has it. */
std::string pointer_to(const SeedPath& path) {
  std::string text;
  for (const std::string& step : path) {
    text += '/';
    for (const char letter : shortened(step, longest_shown_name)) {
      text += letter == '~' ? "~0" : letter == '/' ? "~1" : std::string(1, letter);
    }
  }
  return text;
}

/** What the parser says of a text that is no JSON. */
SeedFault syntax_fault(const std::string& what) {
  SeedFault fault{"", 0, 0, what};
  int length = 0;
  if (std::sscanf(what.c_str(), "parse error at line %d, column %d: %n", &fault.line, &fault.column,
                  &length) == 2) {
    fault.why = what.substr(static_cast<std::size_t>(length));
  }
  return fault;
}

// ---------------------------------------------------------------- a text that is known to be JSON

/** Goes through a JSON text, which has been checked up to where it goes. */
class Walker {
 public:
  Walker(std::string_view text, std::size_t at) : text_(text), at_(at) { skip_blanks(); }

  std::size_t at() const { return at_; }
  char letter() const { return at_ < text_.size() ? text_[at_] : '\0'; }
  void step() {
    ++at_;
    skip_blanks();
  }

  /** Goes on to the next member or element; false behind the last one. */
  bool next() {
    if (letter() != ',') {
      return false;
    }
    step();
    return true;
  }

  std::string take_name() {
    const std::size_t begin = at_;
    skip_text();
    std::string name = Json::parse(text_.substr(begin, at_ - begin)).get<std::string>();
    skip_blanks();
    step();  // the colon
    return name;
  }

  /** Goes to behind the value. @return its text. */
  std::string_view take_value() {
    const std::size_t begin = at_;
    if (letter() == '{' || letter() == '[') {
      skip_nested();
    } else if (letter() == '"') {
      skip_text();
    } else {
      while (at_ < text_.size() && std::string_view(",]} \t\r\n").find(text_[at_]) == none) {
        ++at_;
      }
    }
    const std::string_view value = text_.substr(begin, at_ - begin);
    skip_blanks();
    return value;
  }

 private:
  void skip_blanks() {
    while (at_ < text_.size() &&
           (text_[at_] == ' ' || text_[at_] == '\n' || text_[at_] == '\t' || text_[at_] == '\r')) {
      ++at_;
    }
  }

  void skip_nested() {
    std::size_t depth = 0;
    do {
      const char found = text_[at_];
      if (found == '"') {
        skip_text();
        continue;
      }
      depth += found == '{' || found == '[' ? 1 : 0;
      depth -= found == '}' || found == ']' ? 1 : 0;
      ++at_;
    } while (depth > 0 && at_ < text_.size());
  }

  void skip_text() {
    for (++at_; at_ < text_.size() && text_[at_] != '"'; ++at_) {
      at_ += text_[at_] == '\\' ? 1 : 0;
    }
    ++at_;
  }

  static constexpr std::size_t none = std::string_view::npos;

  std::string_view text_;
  std::size_t at_;
};

/** Where a value stands, on from where another one begins. */
std::size_t find_value(std::string_view text, std::size_t begin, const SeedPath& path) {
  Walker walker(text, begin);
  for (const std::string& step : path) {
    const bool is_object = walker.letter() == '{';
    std::size_t number = 0;
    walker.step();
    do {
      const std::string name = is_object ? walker.take_name() : std::to_string(number++);
      if (name == step) {
        break;
      }
      walker.take_value();
    } while (walker.next());
  }
  return walker.at();
}

/** Where the name of a member stands for the second time. */
std::size_t find_repeated(std::string_view text, std::size_t begin, SeedPath path) {
  const std::string wanted = std::move(path.back());
  path.pop_back();
  Walker walker(text, find_value(text, begin, path));
  bool is_known = false;
  walker.step();
  do {
    const std::size_t at = walker.at();
    if (walker.take_name() == wanted && std::exchange(is_known, true)) {
      return at;
    }
    walker.take_value();
  } while (walker.next());
  return begin;
}

// ----------------------------------------------------------------------------- the first reading

/** What one reading of the text tells: whether it is JSON, and which members are given twice. */
class Check final : public nlohmann::json_sax<Json> {
 public:
  using Text = std::string;

  bool null() override { return see_value(); }
  bool boolean(bool) override { return see_value(); }
  bool number_integer(number_integer_t) override { return see_value(); }
  bool number_unsigned(number_unsigned_t) override { return see_value(); }
  bool number_float(number_float_t, const Text&) override { return see_value(); }
  bool string(Text&) override { return see_value(); }
  bool binary(binary_t&) override { return see_value(); }
  bool start_object(std::size_t) override { return open(false); }
  bool start_array(std::size_t) override { return open(true); }
  bool end_object() override { return close(); }
  bool end_array() override { return close(); }

  bool key(Text& name) override {
    Level& level = levels_.back();
    level.name = name;
    if (!level.names.insert(name).second) {
      repeated_.push_back(path());
    }
    return true;
  }

  bool parse_error(std::size_t, const Text&, const nlohmann::detail::exception& error) override {
    // Behind the library's own tag in brackets it says line, column and what it found.
    const std::string what = error.what();
    const std::size_t tag_end = what.find("] ");
    error_ = tag_end == Text::npos ? what : what.substr(tag_end + 2);
    return false;
  }

  const std::string& error() const { return error_; }
  const std::vector<SeedPath>& repeated() const { return repeated_; }

  /** Numbers of elements of the lists at the top. */
  std::size_t elements(const std::string& member) const {
    const auto found = elements_.find(member);
    return found == elements_.end() ? 0 : found->second;
  }

 private:
  struct Level {
    bool is_array;
    std::size_t elements = 0;
    std::string name; /**< of the member that is being read */
    std::set<std::string> names;
  };

  SeedPath path() const {
    SeedPath steps;
    for (const Level& level : levels_) {
      steps.push_back(level.is_array ? std::to_string(level.elements - 1) : level.name);
    }
    return steps;
  }

  bool see_value() {
    if (!levels_.empty() && levels_.back().is_array) {
      ++levels_.back().elements;
    }
    return true;
  }

  bool open(bool is_array) {
    see_value();
    levels_.push_back({is_array, 0, {}, {}});
    return true;
  }

  bool close() {
    if (levels_.size() == 2 && levels_.back().is_array) {
      elements_[levels_.front().name] = levels_.back().elements;
    }
    levels_.pop_back();
    return true;
  }

  std::vector<Level> levels_;
  std::vector<SeedPath> repeated_;
  std::map<std::string, std::size_t> elements_;
  std::string error_;
};

}  // namespace

std::string shortened(const std::string& text, std::size_t most) {
  if (text.size() <= most) {
    return text;
  }
  std::size_t end = most;
  while (end > 0 && (text[end] & 0xC0) == 0x80) {
    --end;
  }
  return text.substr(0, end) + "...";
}

std::string text_of(const SeedFault& fault) {
  const std::string text = shortened(
      (fault.pointer.empty() ? "the seed" : fault.pointer) + ": " + fault.why, longest_refusal);
  return fault.line == 0 ? text
                         : text + " (line " + std::to_string(fault.line) + ", column " +
                               std::to_string(fault.column) + ")";
}

SeedText::SeedText(std::string_view text, std::span<const std::string_view> streamed,
                   const TakeFault& take_fault)
    : text_(text), begin_(text.starts_with("\xEF\xBB\xBF") ? 3 : 0) {
  Check check;
  const bool is_json = Json::sax_parse(text, &check);
  for (const SeedPath& path : check.repeated()) {
    SeedFault fault{pointer_to(path), 0, 0, "is given twice"};
    set_line_and_column(fault, find_repeated(text, begin_, path));
    take_fault(fault);
  }
  if (!is_json) {
    take_fault(syntax_fault(check.error()));
    root_ = Json::object();
    return;
  }
  begin_ = Walker(text, begin_).at();
  for (const std::string_view member : streamed) {
    streamed_[std::string(member)].elements = check.elements(std::string(member));
  }
  read_root(streamed);
}

void SeedText::read_root(std::span<const std::string_view> streamed) {
  Walker walker(text_, begin_);
  if (walker.letter() != '{') {
    root_ = Json::parse(text_.substr(begin_));
    return;
  }
  root_ = Json::object();
  walker.step();
  while (walker.letter() == '"') {
    const std::string name = walker.take_name();
    const std::size_t begin = walker.at();
    const bool is_streamed = walker.letter() == '[' &&
                             std::find(streamed.begin(), streamed.end(), name) != streamed.end();
    const std::string_view value = walker.take_value();
    if (is_streamed) {
      streamed_[name].begin = begin;
    }
    root_[name] = is_streamed ? Json::array() : Json::parse(value);
    walker.next();
  }
}

std::size_t SeedText::size(const std::string& member) const {
  const auto found = streamed_.find(member);
  return found == streamed_.end() ? 0 : found->second.elements;
}

void SeedText::for_each(
    const std::string& member,
    const std::function<void(const Json& element, std::size_t begin)>& see) const {
  if (size(member) == 0) {
    return;
  }
  Walker walker(text_, streamed_.at(member).begin);
  walker.step();
  do {
    const std::size_t begin = walker.at();
    see(Json::parse(walker.take_value()), begin);
  } while (walker.next());
}

SeedFault SeedText::fault_at(std::size_t begin, const SeedPath& base, const SeedPath& path,
                             const std::string& why) const {
  SeedPath whole = base;
  whole.insert(whole.end(), path.begin(), path.end());
  SeedFault fault{pointer_to(whole), 0, 0, why};
  set_line_and_column(fault, find_value(text_, begin, path));
  return fault;
}

void SeedText::set_line_and_column(SeedFault& fault, std::size_t at) const {
  if (at < counted_) {
    counted_ = line_begin_ = 0;
    lines_ = 1;
  }
  for (std::size_t feed = text_.find('\n', counted_); feed < at;
       feed = text_.find('\n', feed + 1)) {
    ++lines_;
    line_begin_ = feed + 1;
  }
  counted_ = std::max(at, line_begin_);
  fault.line = lines_;
  fault.column = static_cast<int>(at - line_begin_) + 1;
}

}  // namespace host
