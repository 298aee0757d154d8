#include "command_line/command.h"

#include <CLI/CLI.hpp>
#include <algorithm>

#include "command_line/parser.h"

namespace tool {

namespace {

/** What the parser appends to the name of a value: "INT:INT in [0 - 9]", "TEXT:{yes,no}". */
struct ValueType {
  std::string name, range;
  std::vector<std::string> choices;
};

std::string between(const std::string& text, const std::string& start, const std::string& end) {
  const size_t from = text.find(start);
  const size_t to = from == std::string::npos ? from : text.find(end, from + start.size());
  return to == std::string::npos ? "" : text.substr(from + start.size(), to - from - start.size());
}

ValueType value_type(const CLI::Option& option) {
  const std::string text = option.get_type_name();
  ValueType type;
  type.name = text.substr(0, text.find(':'));
  type.range = between(text, " in [", "]");
  if (const std::string choices = between(text, ":{", "}"); !choices.empty()) {
    type.choices = CLI::detail::split(choices, ',');
  }
  return type;
}

std::vector<std::string> names_of(const CLI::Option& option) {
  std::vector<std::string> names;
  for (const std::string& name : option.get_snames()) {
    names.push_back("-" + name);
  }
  for (const std::string& name : option.get_lnames()) {
    names.push_back("--" + name);
  }
  return names;
}

Parameter describe(const CLI::Option& option) {
  const ValueType type = value_type(option);
  Parameter parameter;
  parameter.names = names_of(option);
  if (parameter.is_positional()) {
    parameter.value = option.get_name(true);
  } else if (option.get_items_expected_max() > 0) {
    parameter.value = type.name.empty() ? "VALUE" : type.name;
  }
  parameter.description = option.get_description();
  parameter.preset = option.get_default_str();
  parameter.range = type.range;
  parameter.choices = type.choices;
  for (const CLI::Option* const other : option.get_excludes()) {
    parameter.excludes.push_back(other->get_name());
  }
  parameter.is_required = option.get_required();
  parameter.is_repeatable = option.get_items_expected_max() > 1;
  return parameter;
}

Command describe(const CLI::App& app, std::vector<std::string> path) {
  path.push_back(app.get_name());
  Command command{path, app.get_description(), app.get_footer(), {}, {}};
  for (const CLI::Option* const option : app.get_options()) {
    if (!option->get_group().empty()) {
      command.parameters.push_back(describe(*option));
    }
  }
  for (const CLI::App* const below : app.get_subcommands([](const CLI::App*) { return true; })) {
    if (!below->get_group().empty()) {
      command.commands.push_back(describe(*below, path));
    }
  }
  return command;
}

std::string usage_of(const Parameter& positional) {
  const std::string text = positional.value + (positional.is_repeatable ? "..." : "");
  return positional.is_required ? text : "[" + text + "]";
}

}  // namespace

std::string Command::full_name(const std::string& separator) const {
  std::string text;
  for (const std::string& part : path) {
    text += (text.empty() ? "" : separator) + part;
  }
  return text;
}

std::string Command::usage() const {
  std::string text = full_name();
  if (!options().empty()) {
    text += " [OPTIONS]";
  }
  for (const Parameter* const positional : positionals()) {
    text += " " + usage_of(*positional);
  }
  return commands.empty() ? text : text + " COMMAND";
}

const Command* Command::find(const std::string& wanted) const {
  const auto found = std::find_if(commands.begin(), commands.end(),
                                  [&](const Command& command) { return command.name() == wanted; });
  return found != commands.end() ? &*found : nullptr;
}

const Parameter* Command::option(const std::string& wanted) const {
  for (const Parameter& parameter : parameters) {
    if (std::find(parameter.names.begin(), parameter.names.end(), wanted) !=
        parameter.names.end()) {
      return &parameter;
    }
  }
  return nullptr;
}

std::vector<const Parameter*> Command::positionals() const {
  std::vector<const Parameter*> found;
  for (const Parameter& parameter : parameters) {
    if (parameter.is_positional()) {
      found.push_back(&parameter);
    }
  }
  return found;
}

std::vector<const Parameter*> Command::options() const {
  std::vector<const Parameter*> found;
  for (const Parameter& parameter : parameters) {
    if (!parameter.is_positional()) {
      found.push_back(&parameter);
    }
  }
  return found;
}

Command describe(const CommandParser& parser) {
  return describe(parser.description(), {});
}

}  // namespace tool
