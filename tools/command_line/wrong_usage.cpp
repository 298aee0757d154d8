#include "command_line/wrong_usage.h"

#include <algorithm>
#include <numeric>

namespace tool {

namespace {

/** How many letters are to be put in, left out, replaced or swapped with their neighbours. */
size_t distance(const std::string& one, const std::string& other) {
  std::vector<size_t> before_last;
  std::vector<size_t> last(other.size() + 1);
  std::iota(last.begin(), last.end(), size_t{0});
  for (size_t i = 1; i <= one.size(); ++i) {
    std::vector<size_t> row(other.size() + 1, i);
    for (size_t j = 1; j <= other.size(); ++j) {
      const bool is_same = one[i - 1] == other[j - 1];
      row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + (is_same ? 0 : 1)});
      if (i > 1 && j > 1 && one[i - 1] == other[j - 2] && one[i - 2] == other[j - 1]) {
        row[j] = std::min(row[j], before_last[j - 2] + 1);
      }
    }
    before_last = std::move(last);
    last = std::move(row);
  }
  return last.back();
}

/** The known words that are nearest to one, if any is near. */
std::vector<std::string> nearest(const std::string& word, const std::vector<std::string>& known) {
  size_t least = std::min<size_t>(2, word.size() / 2) + 1;
  std::vector<std::string> found;
  for (const std::string& candidate : known) {
    const bool is_begun = word.size() >= 3 && candidate.starts_with(word);
    const size_t away = is_begun ? 1 : distance(word, candidate);
    if (away < least) {
      least = away;
      found.clear();
    }
    if (away == least && away <= std::min<size_t>(2, word.size() / 2)) {
      found.push_back(candidate);
    }
  }
  return found;
}

std::string joined(const std::vector<std::string>& texts, const std::string& between) {
  std::string all;
  for (const std::string& text : texts) {
    all += (all.empty() ? "" : between) + text;
  }
  return all;
}

std::string quoted(const std::string& text) {
  return "\"" + text + "\"";
}

std::string help_of(const Command& command) {
  return "see " + quoted(command.full_name() + " --help");
}

std::string question(const std::vector<std::string>& meant) {
  std::vector<std::string> texts;
  std::transform(meant.begin(), meant.end(), std::back_inserter(texts), quoted);
  return "did you mean " + joined(texts, " or ") + "? ";
}

/** Commands of a name in any group, by their full names. */
void find_named(const Command& group, const std::string& name, std::vector<std::string>& found) {
  for (const Command& command : group.commands) {
    if (command.name() == name) {
      found.push_back(command.full_name());
    }
    find_named(command, name, found);
  }
}

std::string unknown_command(const Command& program, const Command& group, const std::string& word) {
  std::vector<std::string> names;
  for (const Command& command : group.commands) {
    names.push_back(command.name());
  }
  std::vector<std::string> meant;
  for (const std::string& name : nearest(word, names)) {
    meant.push_back(group.full_name() + " " + name);
  }
  if (meant.empty()) {
    find_named(program, word, meant);
  }
  return quoted(word) + " is no command of " + quoted(group.full_name()) + ": " +
         (meant.empty() ? "its commands are " + joined(names, ", ") + "; " : question(meant)) +
         help_of(group);
}

/** The option of a word, as it is spelled: "--rev", "-u" of "-u=ada"; empty for other words. */
std::string option_in(const std::string& word) {
  if (word.size() < 2 || word[0] != '-') {
    return "";
  }
  return word[1] == '-' ? word.substr(0, word.find('=')) : word.substr(0, 2);
}

bool is_known_everywhere(const std::string& option) {
  return option == "-h" || option == "--help";
}

std::string unknown_option(const Command& command, const std::string& option) {
  std::vector<std::string> names;
  for (const Parameter* const known : command.options()) {
    names.insert(names.end(), known->names.begin(), known->names.end());
  }
  const bool is_long = option.starts_with("--");
  const std::vector<std::string> meant =
      is_long ? nearest(option, names) : std::vector<std::string>();
  return quoted(command.full_name()) + " has no option " + option + ": " +
         (meant.empty() ? "" : question(meant)) + help_of(command);
}

}  // namespace

std::string wrong_usage(const Command& program, const std::vector<std::string>& words,
                        const std::string& what_parser_says) {
  const Command* command = &program;
  auto word = words.begin();
  for (; word != words.end() && command->find(*word) != nullptr; ++word) {
    command = command->find(*word);
  }
  for (auto rest = word; rest != words.end() && *rest != "--"; ++rest) {
    const std::string option = option_in(*rest);
    const bool is_number = option.size() == 2 && option[1] >= '0' && option[1] <= '9';
    if (!option.empty() && !is_number && !is_known_everywhere(option) &&
        command->option(option) == nullptr) {
      return unknown_option(*command, option);
    }
    if (option.empty() && !command->commands.empty()) {
      return unknown_command(program, *command, *rest);
    }
  }
  if (!command->commands.empty()) {
    std::vector<std::string> names;
    for (const Command& below : command->commands) {
      names.push_back(below.name());
    }
    return quoted(command->full_name()) + " needs a command: one of " + joined(names, ", ") + "; " +
           help_of(*command);
  }
  return what_parser_says + ": " + help_of(*command);
}

}  // namespace tool
