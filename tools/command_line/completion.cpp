#include "command_line/completion.h"

#include <algorithm>
#include <cstdlib>

namespace tool {

namespace {

bool begins_with(const std::string& text, const std::string& start) {
  return text.compare(0, start.size(), start) == 0;
}

/** The command that the words lead to, and what is given to it. */
struct Situation {
  const Command* command = nullptr;
  size_t positionals = 0;             /**< how many are complete */
  const Parameter* pending = nullptr; /**< the option that waits for its value */
  std::string site;                   /**< file of the site, if one is named */
  bool is_options_end = false;        /**< a "--" has been given */
};

void take_word(Situation& now, const std::string& word) {
  if (now.pending != nullptr) {
    if (now.pending->names.back() == "--host") {
      now.site = word;
    }
    now.pending = nullptr;
    return;
  }
  if (!now.is_options_end && word == "--") {
    now.is_options_end = true;
    return;
  }
  if (!now.is_options_end && word.size() > 1 && word[0] == '-') {
    const size_t equals = word.find('=');
    const Parameter* const option = now.command->option(word.substr(0, equals));
    if (option == nullptr || option->is_flag()) {
      return;
    }
    now.pending = option;
    if (equals != std::string::npos) {
      take_word(now, word.substr(equals + 1));
    }
    return;
  }
  if (const Command* const below = now.command->find(word)) {
    now.command = below;
    now.positionals = 0;
    return;
  }
  // The commands on a site take its file first.
  if (now.positionals == 0 && now.command->path.size() > 2 && now.command->path[1] == "host") {
    now.site = word;
  }
  ++now.positionals;
}

Completion::Others others_for(const std::string& value) {
  for (const char* const file : {"FILE", "SEED", "LIST", "IN", "OUT", "PATH", "LIBRARY", "PAGE",
                                 "TRACE", "SITE", "COPY", "A", "B"}) {
    if (value == file) {
      return Completion::Others::files;
    }
  }
  return value == "FOLDER" ? Completion::Others::folders : Completion::Others::none;
}

/** What may stand for a value. @param before what stands before it in the same word, "--to=". */
Completion complete_value(const Parameter& parameter, const std::string& begun,
                          const std::string& before, const std::string& site) {
  Completion completion;
  completion.others = others_for(parameter.value);
  for (const std::string& choice : parameter.choices) {
    if (begins_with(choice, begun)) {
      completion.candidates.push_back({before + choice, ""});
    }
  }
  if (is_kind_in_site(parameter.value) && !site.empty()) {
    for (const Candidate& name : names_in_site(parameter.value, begun, site)) {
      completion.candidates.push_back({before + name.text, name.description});
    }
  }
  return completion;
}

Completion complete_option_name(const Command& command, const std::string& begun) {
  Completion completion;
  for (const Parameter* const option : command.options()) {
    for (const std::string& name : option->names) {
      if (begins_with(name, begun)) {
        completion.candidates.push_back({name, option->description});
      }
    }
  }
  return completion;
}

}  // namespace

Completion complete(const Command& program, const std::vector<std::string>& words) {
  Situation now;
  now.command = &program;
  const char* const from_environment = std::getenv("ORK_HOST_DB");
  now.site = from_environment != nullptr ? from_environment : "";
  if (words.empty()) {
    return {};
  }
  for (size_t i = 0; i + 1 < words.size(); ++i) {
    take_word(now, words[i]);
  }
  const std::string& begun = words.back();
  if (now.pending != nullptr) {
    return complete_value(*now.pending, begun, "", now.site);
  }
  if (!now.is_options_end && !begun.empty() && begun[0] == '-') {
    const size_t equals = begun.find('=');
    const Parameter* const option =
        equals == std::string::npos ? nullptr : now.command->option(begun.substr(0, equals));
    return option == nullptr || option->is_flag()
               ? complete_option_name(*now.command, begun)
               : complete_value(*option, begun.substr(equals + 1), begun.substr(0, equals + 1),
                                now.site);
  }
  Completion completion;
  for (const Command& below : now.command->commands) {
    if (begins_with(below.name(), begun)) {
      completion.candidates.push_back({below.name(), below.summary});
    }
  }
  const std::vector<const Parameter*> positionals = now.command->positionals();
  if (!positionals.empty()) {
    const size_t last = positionals.size() - 1;
    const Parameter& next = *positionals[std::min(now.positionals, last)];
    if (now.positionals <= last || next.is_repeatable) {
      return complete_value(next, begun, "", now.site);
    }
  }
  return completion;
}

}  // namespace tool
