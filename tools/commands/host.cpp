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
#include "utf8_path.h"

namespace fs = std::filesystem;

namespace tool {

namespace {

const std::vector<std::string> sections = {"site",
                                           "users",
                                           "groups",
                                           "roles",
                                           "classes",
                                           "types",
                                           "relation_types",
                                           "tools",
                                           "dataset_types",
                                           "form_types",
                                           "objects",
                                           "relations",
                                           "structures",
                                           "preferences",
                                           "texts",
                                           "sites",
                                           "process_templates",
                                           "jobs",
                                           "access",
                                           "locks"};

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
  const fs::path target = host::utf8_path(options.file);
  if (!target.has_filename()) {
    throw usage_error("FILE names no file", "name one");
  }
  if (fs::exists(target)) {
    throw Error("site " + options.file + " already exists",
                "add to it with \"zolp host seed\", or remove it first");
  }
  const fs::path folder = target.has_parent_path() ? target.parent_path() : fs::path(".");
  const WorkFolder work(folder);
  {
    Site site(work.file(target.filename().string()), Site::Open::anew);
    for (const std::string& seed : options.seeds) {
      site.seed_file(seed);
    }
  }
  move_site(work.path(), folder);
}

void seed_site(const SeedOptions& options) {
  Site site(options.file);
  for (const std::string& seed : options.seeds) {
    site.seed_file(seed);
  }
}

// --------------------------------------------------------------------------------------- show

/** Tags are handles of one process, and all attributes of an object are too long for a table. */
bool is_shown(const std::string& key, const Json& value) {
  return key != "tag" && !(key == "attributes" && value.is_object());
}

/** One line of text for a value: its name or id when it has one, otherwise its parts. */
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
    for (const char* key : {"name", "id"}) {
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

/** The keys of all rows, in the order in which they first appear. */
std::vector<std::string> keys_of(const Json& rows) {
  std::vector<std::string> keys;
  for (const Json& row : rows) {
    for (const auto& [key, value] : row.items()) {
      const bool is_known = std::find(keys.begin(), keys.end(), key) != keys.end();
      if (!is_known && is_shown(key, value)) {
        keys.push_back(key);
      }
    }
  }
  return keys;
}

void print_section(const std::string& name, const Json& section) {
  std::printf("%s (%zu)\n", name.c_str(), section.size());
  const bool is_table =
      section.is_array() &&
      std::all_of(section.begin(), section.end(), [](const Json& row) { return row.is_object(); });
  if (section.empty()) {
    return;
  }
  if (is_table) {
    const std::vector<std::string> keys = keys_of(section);
    Table table(keys);
    for (const Json& row : section) {
      std::vector<std::string> cells;
      for (const std::string& key : keys) {
        cells.push_back(value_text(row.value(key, Json())));
      }
      table.add_row(cells);
    }
    table.print();
  } else if (section.is_object()) {
    Table table({"name", "value"});
    for (const auto& [key, value] : section.items()) {
      table.add_row({key, value_text(value)});
    }
    table.print();
  } else {
    for (const Json& value : section) {
      std::puts(printable(value_text(value)).c_str());
    }
  }
}

/** Positional arguments, of which the first may stand for the second: the file can be left out. */
std::vector<std::string> given(const std::string& first, const std::string& second) {
  std::vector<std::string> arguments;
  for (const std::string& argument : {first, second}) {
    if (!argument.empty()) {
      arguments.push_back(argument);
    }
  }
  return arguments;
}

struct ShowOptions {
  std::string file, section;
  bool json = false;
};

void show_site(const ShowOptions& options) {
  std::vector<std::string> arguments = given(options.file, options.section);
  const bool only_section = arguments.size() == 1 && is_section(arguments[0]) &&
                            !fs::is_regular_file(host::utf8_path(arguments[0]));
  const Site site(only_section ? site_file("") : take_site_file(arguments));
  const std::string section = arguments.empty() ? "" : arguments[0];
  if (!section.empty() && !is_section(section)) {
    throw usage_error("there is no section \"" + section + "\"",
                      "choose one of " + value_text(Json(sections)));
  }
  const Json description = Json::parse(site.describe(section));
  if (options.json) {
    return print_json(description);
  }
  if (!section.empty()) {
    return print_section(section, description);
  }
  for (const auto& [name, part] : description.items()) {
    print_section(name, part);
    std::puts("");
  }
}

// --------------------------------------------------------------------------------------- pref

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
    return site.set_preference(name, values);
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

void add_init(CLI::App& host) {
  CLI::App* const init = host.add_subcommand("init", "Create a site");
  const auto options = std::make_shared<SeedOptions>();
  init->add_option("FILE", options->file, "The site's file; must not exist")
      ->required()
      ->type_name("");
  init->add_option("--seed", options->seeds, "JSON file to fill the site from; repeatable")
      ->type_name("FILE")
      ->allow_extra_args(false);
  init->footer(
      "\nExample: zolp host init site.db --seed site.json\n"
      "When a seed is wrong, no site is left behind.");
  init->callback([options] { init_site(*options); });
}

void add_seed(CLI::App& host) {
  CLI::App* const seed = host.add_subcommand("seed", "Fill an existing site");
  const auto options = std::make_shared<SeedOptions>();
  seed->add_option("FILE", options->file, "The site's file")->required()->type_name("");
  seed->add_option("SEED", options->seeds, "JSON files, taken one after the other")
      ->required()
      ->type_name("");
  seed->footer(
      "\nWhat exists under the same name is changed. Each file is taken as a whole or,\n"
      "when it is wrong, not at all; earlier ones stay.");
  seed->callback([options] { seed_site(*options); });
}

void add_show(CLI::App& host) {
  CLI::App* const show = host.add_subcommand("show", "Print what a site holds");
  const auto options = std::make_shared<ShowOptions>();
  show->add_option("FILE", options->file, "The site's file; ORK_HOST_DB when left out")
      ->type_name("");
  show->add_option("SECTION", options->section, "What to print; all when left out")->type_name("");
  show->add_flag("--json", options->json, "Print JSON");
  show->footer("\nSections: " + value_text(Json(sections)) +
               "\nTables leave out tags and the attributes of objects; --json has them.\n"
               "Example: zolp host show site.db users");
  show->callback([options] { show_site(*options); });
}

void add_pref(CLI::App& host) {
  CLI::App* const pref =
      host.add_subcommand("pref", "Print, set or remove a preference: [FILE] NAME [VALUE...]");
  const auto options = std::make_shared<PreferenceOptions>();
  pref->add_option("FILE", options->file, "The site's file; ORK_HOST_DB when left out")
      ->type_name("");
  pref->add_option("NAME", options->name,
                   "The preference; values after it are set, or else printed")
      ->type_name("");
  // Values are what the parser leaves: as its own list it would take "[a,b]" apart.
  pref->allow_extras();
  pref->add_flag("--unset", options->unset, "Remove the preference");
  pref->add_flag("--json", options->json, "Print the values as JSON");
  pref->footer(
      "\nA first argument that looks like a path is always FILE.\n"
      "Examples: zolp host pref site.db ZOLP_qnversion\n"
      "          zolp host pref site.db ZOLP_qnversion v15\n"
      "          zolp host pref site.db ZOLP_qnversion --unset");
  pref->callback([options, pref] {
    options->values = pref->remaining();
    use_preference(*options);
  });
}

}  // namespace

void add_host_commands(CLI::App& program) {
  CLI::App* const host = program.add_subcommand("host", "Create, fill and look at embedded sites");
  host->require_subcommand(1);
  host->footer("\n\"zolp host COMMAND --help\" says more about each command.");
  add_init(*host);
  add_seed(*host);
  add_show(*host);
  add_pref(*host);
}

}  // namespace tool
