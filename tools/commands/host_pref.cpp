/** @file `zolp host pref`: prints, sets or removes a preference. */
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "commands/host.h"
#include "error.h"
#include "site.h"

namespace tool {

namespace {

struct PreferenceOptions {
  std::string file, name;
  std::vector<std::string> values;
  bool unset = false;
  bool json = false;
};

void use_preference(const PreferenceOptions& options) {
  std::vector<std::string> arguments = given(options.file, options.name);
  arguments.insert(arguments.end(), options.values.begin(), options.values.end());
  Site site(take_site_file(arguments));
  if (arguments.empty()) {
    throw usage_error("no preference named", "say which one, see \"zolp host pref --help\"");
  }
  const std::string name = arguments.front();
  const std::vector<std::string> values(arguments.begin() + 1, arguments.end());
  for (const std::string& value : values) {
    if (value.starts_with("--")) {
      throw usage_error("unknown option " + value, "see \"zolp host pref --help\"");
    }
  }
  if (options.unset && !values.empty()) {
    throw usage_error("values given together with --unset", "give one or the other");
  }
  if (options.unset || !values.empty()) {
    site.set_preference(name, values);
    if (options.json) {
      print_json(values);
    }
    return;
  }

  const Json current = Json::parse(site.describe("preferences")).value(name, Json());
  if (current.is_null()) {
    throw Error("preference " + name + " is not set",
                "see \"zolp host show FILE preferences\" for those that are");
  }
  if (options.json) {
    return print_json(current);
  }
  for (const Json& value : current) {
    std::puts(printable(value_text(value)).c_str());
  }
}

}  // namespace

void add_host_pref(CommandParser& group) {
  CommandParser& pref =
      group.add_command("pref", "Print, set or remove a preference: [FILE] NAME [VALUE...]");
  const auto options = std::make_shared<PreferenceOptions>();
  pref.add_option("FILE", options->file, "The site's file; ORK_HOST_DB when left out")
      .type_name("");
  pref.add_option("NAME", options->name, "The preference; values after it are set, or else printed")
      .type_name("");
  // Values are what the parser leaves: as its own list it would take "[a,b]" apart.
  pref.allow_extras();
  pref.add_flag("--unset", options->unset, "Remove the preference");
  pref.add_flag("--json", options->json, "Print the values as JSON");
  pref.footer(
      "\nA first argument that looks like a path is always FILE.\n"
      "Examples: zolp host pref site.db ZOLP_qnversion\n"
      "          zolp host pref site.db ZOLP_qnversion v15\n"
      "          zolp host pref site.db ZOLP_qnversion --unset");
  pref.callback([options, &pref] {
    options->values = pref.remaining();
    for (const std::string& value : options->values) {
      if (value.starts_with("--")) {
        throw ParseError(value + " is no option, and values cannot begin with \"--\"");
      }
    }
    use_preference(*options);
  });
}

}  // namespace tool
