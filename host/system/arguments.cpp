#include "arguments.h"

#include <optional>
#include <set>

#include "os.h"

namespace host {

namespace {

struct Arguments {
  std::vector<std::string> given;
  std::vector<std::string> real = os::command_line();
  std::set<std::string> kept;  // handed out, and valid until the process ends
};

Arguments& arguments() {
  // Never destroyed: the texts stay valid until the process ends.
  static Arguments& instance = *new Arguments;
  return instance;
}

struct Found {
  bool is_there = false;
  std::optional<std::string> value;
};

Found look_up(const std::vector<std::string>& line, const std::string& name) {
  for (std::size_t i = 1; i < line.size(); ++i) {
    if (line[i].starts_with(name + "=")) {
      return {true, line[i].substr(name.size() + 1)};
    }
    if (line[i] != name) {
      continue;
    }
    const bool has_value = i + 1 < line.size() && !line[i + 1].starts_with('-');
    return {true, has_value ? std::optional(line[i + 1]) : std::nullopt};
  }
  return {};
}

}  // namespace

void set_arguments(std::vector<std::string> given) {
  arguments().given = std::move(given);
}

const char* find_argument(const std::string& option) {
  const bool wants_value = option.ends_with('=');
  const std::string name = wants_value ? option.substr(0, option.size() - 1) : option;
  const auto& line = arguments().given.empty() ? arguments().real : arguments().given;
  const Found found = look_up(line, name);
  if (!found.is_there || (wants_value && !found.value)) {
    return nullptr;
  }
  return arguments().kept.insert(found.value.value_or("")).first->c_str();
}

}  // namespace host
