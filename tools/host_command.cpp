/** @file `zolp host`: create, fill and look at embedded host sites. */
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "commands.h"
#include "error.h"
#include "output_files.h"
#include "site.h"
#include "text.h"

namespace fs = std::filesystem;

namespace tool {

namespace {

const std::vector<std::string> sections = {"site",      "users",      "groups",         "roles",
                                           "classes",   "types",      "relation_types", "objects",
                                           "relations", "preferences"};

bool is_section(const std::string& name) {
  return std::find(sections.begin(), sections.end(), name) != sections.end();
}

/**
 * Takes the site's file off the front of positional arguments, where it may be left out. A first
 * argument that looks like a path is never taken for anything else: a mistyped path must not become
 * the name of a preference.
 */
std::string take_site_file(std::vector<std::string>& arguments) {
  const bool has_default = std::getenv("ORK_HOST_DB") != nullptr;
  if (arguments.empty())
    return site_file("");
  const std::string first = arguments.front();
  const bool looks_like_path =
      first.find_first_of("/.") != std::string::npos || fs::is_regular_file(first);
  if (!looks_like_path && has_default)
    return site_file("");
  arguments.erase(arguments.begin());
  return first;
}

// ------------------------------------------------------------------------------ init and seed

struct SeedOptions {
  std::string file;
  std::vector<std::string> seeds;
};

/** Moves a finished site to its place: its file, and what lies beside it. */
void move_site(const fs::path& from, const fs::path& to) {
  for (const auto& entry : fs::directory_iterator(from)) {
    const fs::path target = to / entry.path().filename();
    if (fs::exists(target)) {
      throw Error(target.string() + " already exists", "remove it or choose another name");
    }
  }
  for (const auto& entry : fs::directory_iterator(from)) {
    fs::rename(entry.path(), to / entry.path().filename());
  }
}

void init_site(const SeedOptions& options) {
  const fs::path target(options.file);
  if (fs::exists(target)) {
    throw Error("site " + options.file + " already exists",
                "add to it with \"zolp host seed\", or remove it first");
  }
  const fs::path folder = target.has_parent_path() ? target.parent_path() : fs::path(".");
  const WorkFolder work(folder);
  {
    Site site(work.file(target.filename().string()), Site::Open::anew);
    for (const std::string& seed : options.seeds)
      site.seed_file(seed);
  }
  move_site(work.path(), folder);
}

void seed_site(const SeedOptions& options) {
  Site site(options.file);
  for (const std::string& seed : options.seeds)
    site.seed_file(seed);
}

// --------------------------------------------------------------------------------------- show

/** Tags are handles of one process: of no use to a reader. */
bool is_shown(const std::string& key) {
  return key != "tag";
}

/** One line of text for a value: lists are joined, objects become "key=value". */
std::string value_text(const Json& value) {
  if (value.is_string())
    return value.get<std::string>();
  if (value.is_null())
    return "";
  if (value.is_boolean())
    return value.get<bool>() ? "yes" : "no";
  if (!value.is_structured())
    return value.dump();
  std::string text;
  for (const auto& [key, element] : value.items()) {
    if (value.is_object() && !is_shown(key))
      continue;
    if (!text.empty())
      text += ", ";
    if (value.is_object())
      text += key + "=";
    text += element.is_object() ? "(" + value_text(element) + ")" : value_text(element);
  }
  return text;
}

/** The keys of all rows, in the order in which they first appear. */
std::vector<std::string> keys_of(const Json& rows) {
  std::vector<std::string> keys;
  for (const Json& row : rows) {
    for (const auto& [key, ignored] : row.items()) {
      if (!is_shown(key) || std::find(keys.begin(), keys.end(), key) != keys.end())
        continue;
      keys.push_back(key);
    }
  }
  return keys;
}

void print_section(const std::string& name, const Json& section) {
  std::printf("%s (%zu)\n", name.c_str(), section.size());
  const bool is_table =
      section.is_array() &&
      std::all_of(section.begin(), section.end(), [](const Json& row) { return row.is_object(); });
  if (section.empty())
    return;
  if (is_table) {
    const std::vector<std::string> keys = keys_of(section);
    Table table(keys);
    for (const Json& row : section) {
      std::vector<std::string> cells;
      for (const std::string& key : keys)
        cells.push_back(value_text(row.value(key, Json())));
      table.add_row(cells);
    }
    table.print();
  } else if (section.is_object()) {
    Table table({"name", "value"});
    for (const auto& [key, value] : section.items())
      table.add_row({key, value_text(value)});
    table.print();
  } else {
    for (const Json& value : section)
      std::puts(printable(value_text(value)).c_str());
  }
}

struct ShowOptions {
  std::vector<std::string> arguments;
  bool json = false;
};

void show_site(ShowOptions options) {
  const bool only_section = options.arguments.size() == 1 && is_section(options.arguments[0]) &&
                            !fs::is_regular_file(options.arguments[0]);
  const Site site(only_section ? site_file("") : take_site_file(options.arguments));
  const std::string section = options.arguments.empty() ? "" : options.arguments[0];
  if (!section.empty() && !is_section(section)) {
    throw usage_error("there is no section \"" + section + "\"",
                      "choose one of " + value_text(Json(sections)));
  }
  const Json description = Json::parse(site.describe(section));
  if (options.json)
    return print_json(description);
  if (!section.empty())
    return print_section(section, description);
  for (const auto& [name, part] : description.items()) {
    print_section(name, part);
    std::puts("");
  }
}

// --------------------------------------------------------------------------------------- pref

struct PreferenceOptions {
  std::vector<std::string> arguments;
  bool unset = false;
  bool json = false;
};

/** The values of a preference, from whichever form the description has. */
Json preference_values(const Site& site, const std::string& name) {
  const Json preferences = Json::parse(site.describe("preferences"));
  if (preferences.is_object())
    return preferences.value(name, Json());
  for (const Json& preference : preferences) {
    if (preference.value("name", "") == name)
      return preference.value("values", Json());
  }
  return Json();
}

void use_preference(PreferenceOptions options) {
  Site site(take_site_file(options.arguments));
  if (options.arguments.empty()) {
    throw usage_error("no preference named", "say which one, see \"zolp host pref --help\"");
  }
  const std::string name = options.arguments.front();
  const std::vector<std::string> values(options.arguments.begin() + 1, options.arguments.end());
  if (options.unset && !values.empty()) {
    throw usage_error("values given together with --unset", "give one or the other");
  }
  if (options.unset || !values.empty())
    return site.set_preference(name, values);

  const Json current = preference_values(site, name);
  if (current.is_null()) {
    throw Error("preference " + name + " is not set",
                "see \"zolp host show FILE preferences\" for those that are");
  }
  if (options.json)
    return print_json(current);
  for (const Json& value : current)
    std::puts(printable(value_text(value)).c_str());
}

void add_init(CLI::App& host) {
  CLI::App* const init = host.add_subcommand("init", "Create a site");
  const auto options = std::make_shared<SeedOptions>();
  init->add_option("FILE", options->file, "The site's file; must not exist")->required();
  init->add_option("--seed", options->seeds, "JSON file to fill the site from; repeatable")
      ->allow_extra_args(false);
  init->footer(
      "\nExample: zolp host init site.db --seed site.json\n"
      "When a seed is wrong, no site is left behind.");
  init->callback([options] { init_site(*options); });
}

void add_seed(CLI::App& host) {
  CLI::App* const seed = host.add_subcommand("seed", "Fill an existing site");
  const auto options = std::make_shared<SeedOptions>();
  seed->add_option("FILE", options->file, "The site's file")->required();
  seed->add_option("SEED", options->seeds, "JSON files, taken one after the other")->required();
  seed->footer(
      "\nWhat exists under the same name is changed. Each file is taken as a whole or,\n"
      "when it is wrong, not at all; earlier ones stay.");
  seed->callback([options] { seed_site(*options); });
}

void add_show(CLI::App& host) {
  CLI::App* const show = host.add_subcommand("show", "Print what a site holds");
  const auto options = std::make_shared<ShowOptions>();
  show->add_option("ARGUMENTS", options->arguments, "[FILE] [SECTION]")->expected(0, 2);
  show->add_flag("--json", options->json, "Print JSON");
  show->footer("\nSections: " + value_text(Json(sections)) +
               "\nFILE may be left out when ORK_HOST_DB names it.\n"
               "Example: zolp host show site.db users");
  show->callback([options] { show_site(*options); });
}

void add_pref(CLI::App& host) {
  CLI::App* const pref = host.add_subcommand("pref", "Print, set or remove a preference");
  const auto options = std::make_shared<PreferenceOptions>();
  pref->add_option("ARGUMENTS", options->arguments, "[FILE] NAME [VALUE...]")->expected(1, 1000);
  pref->add_flag("--unset", options->unset, "Remove the preference");
  pref->add_flag("--json", options->json, "Print the values as JSON");
  pref->footer(
      "\nFILE may be left out when ORK_HOST_DB names it; a first argument that looks like\n"
      "a path is always FILE.\n"
      "Examples: zolp host pref site.db ZOLP_qnversion\n"
      "          zolp host pref site.db ZOLP_qnversion v15\n"
      "          zolp host pref site.db ZOLP_qnversion --unset");
  pref->callback([options] { use_preference(*options); });
}

}  // namespace

void add_host_commands(CLI::App& program) {
  CLI::App* const host = program.add_subcommand("host", "Create, fill and look at embedded sites");
  host->require_subcommand(1);
  add_init(*host);
  add_seed(*host);
  add_show(*host);
  add_pref(*host);
}

}  // namespace tool
