#include "selection.h"

namespace basetool {
namespace {

std::string_view trimmed(std::string_view text) {
  while (text.starts_with(' ')) {
    text.remove_prefix(1);
  }
  while (text.ends_with(' ')) {
    text.remove_suffix(1);
  }
  return text;
}

bool matches(std::string_view pattern, std::string_view name) {
  size_t at = 0;
  size_t in_name = 0;
  // Where to go on when what follows the last star does not fit.
  size_t after_star = std::string_view::npos;
  size_t star_end = 0;
  while (in_name < name.size()) {
    if (at < pattern.size() && pattern[at] == '*') {
      after_star = ++at;
      star_end = in_name;
    } else if (at < pattern.size() && pattern[at] == name[in_name]) {
      ++at;
      ++in_name;
    } else if (after_star != std::string_view::npos) {
      at = after_star;
      in_name = ++star_end;
    } else {
      return false;
    }
  }
  return pattern.find_first_not_of('*', at) == std::string_view::npos;
}

}  // namespace

bool list_holds(std::string_view list, std::string_view name) {
  while (!list.empty()) {
    const size_t comma = list.find(',');
    const std::string_view pattern = trimmed(list.substr(0, comma));
    if (!pattern.empty() && matches(pattern, name)) {
      return true;
    }
    list.remove_prefix(comma == std::string_view::npos ? list.size() : comma + 1);
  }
  return false;
}

std::string_view name_of_call(std::string_view text) {
  return trimmed(text.substr(0, text.find('(')));
}

}  // namespace basetool
