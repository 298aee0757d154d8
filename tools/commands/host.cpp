/** @file `zolp host`: create, fill, look at, copy, check and remove embedded host sites. */
#include "commands/host.h"

#include <cstdlib>
#include <filesystem>

#include "commands/commands.h"
#include "site.h"
#include "utf8_path.h"

namespace fs = std::filesystem;

namespace tool {

std::vector<std::string> given(const std::string& first, const std::string& second) {
  std::vector<std::string> arguments;
  for (const std::string& argument : {first, second}) {
    if (!argument.empty()) {
      arguments.push_back(argument);
    }
  }
  return arguments;
}

std::string take_site_file(std::vector<std::string>& arguments) {
  const bool has_default = std::getenv("ORK_HOST_DB") != nullptr;
  if (arguments.empty()) {
    return site_file("");
  }
  std::string first = arguments.front();
  const bool looks_like_path = first.find_first_of("/\\.") != std::string::npos ||
                               fs::is_regular_file(host::utf8_path(first));
  if (!looks_like_path && has_default) {
    return site_file("");
  }
  arguments.erase(arguments.begin());
  return first;
}

bool is_shown(const std::string& key, const Json& value) {
  return key != "tag" && !(key == "values" && value.is_object());
}

std::string value_text(const Json& value) {
  if (value.is_string()) {
    return value.get<std::string>();
  }
  if (value.is_null()) {
    return "";
  }
  if (value.is_boolean()) {
    return value.get<bool>() ? "yes" : "no";
  }
  if (!value.is_structured()) {
    return value.dump();
  }
  if (value.is_object()) {
    for (const char* key : {"id", "name"}) {
      if (value.contains(key)) {
        return value_text(value[key]);
      }
    }
  }
  const char* const between = value.is_object() ? "/" : ", ";
  std::string text;
  for (const auto& [key, part] : value.items()) {
    if (is_shown(key, part)) {
      text += (text.empty() ? "" : between) + value_text(part);
    }
  }
  return text;
}

void add_host_commands(CommandParser& program) {
  CommandParser& group =
      program.add_group("host", "Create, fill, show, copy, check and remove embedded sites");
  group.footer(R"(
Examples:
  zolp host init site.db --seed site.json        a new site
  zolp host show site.db users                    who may log in
  zolp host pref site.db ZOLP_qnversion v15       set a preference
  zolp host unlock site.db                        after a process that hangs

"zolp host COMMAND --help" says more about each command.)");
  add_host_init(group);
  add_host_seed(group);
  add_host_show(group);
  add_host_pref(group);
  add_host_unlock(group);
  add_host_snapshot(group);
  add_host_restore(group);
  add_host_reset(group);
  add_host_remove(group);
  add_host_check(group);
  add_host_export(group);
}

}  // namespace tool
