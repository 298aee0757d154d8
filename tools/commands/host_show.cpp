/** @file `zolp host show`: prints what a site holds. */
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "commands/host.h"
#include "error.h"
#include "site.h"
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

}  // namespace

void add_host_show(CLI::App& group) {
  CLI::App* const show = group.add_subcommand("show", "Print what a site holds");
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

}  // namespace tool
