/** @file `zolp host show`: prints what a site holds. */
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "commands/host.h"
#include "error.h"
#include "host/ork_host.h"
#include "json_rows.h"
#include "output.h"
#include "site.h"
#include "site_description.h"
#include "utf8_path.h"

namespace fs = std::filesystem;

namespace tool {

namespace {

const std::vector<std::string>& sections() {
  static const std::vector<std::string> names = [] {
    std::vector<std::string> all;
    for (const char* const* name = ork_host_sections(); *name != nullptr; ++name) {
      all.emplace_back(*name);
    }
    return all;
  }();
  return names;
}

bool is_section(const std::string& name) {
  return std::find(sections().begin(), sections().end(), name) != sections().end();
}

/** What has to be known of a section before its first row is printed. */
struct Survey {
  static constexpr std::size_t most_rows = 1000;

  std::vector<std::pair<std::string, Json>> rows; /**< all of them, or the first ones */
  std::size_t count = 0;
  std::vector<std::string> keys; /**< of all rows, in the order in which they first appear */
  bool is_table = true;          /**< whether all rows are objects */

  void see(const std::string& name, const Json& row) {
    ++count;
    is_table = is_table && row.is_object();
    if (rows.size() < most_rows) {
      rows.emplace_back(name, row);
    }
    for (const auto& [key, value] : row.items()) {
      const bool is_known = std::find(keys.begin(), keys.end(), key) != keys.end();
      if (row.is_object() && !is_known && is_shown(key, value)) {
        keys.push_back(key);
      }
    }
  }
};

void print_section(const std::string& name) {
  Survey survey;
  JsonRows rows([&](const std::string& key, const Json& row) { survey.see(key, row); });
  describe_site(name, [&](std::string_view text) { rows.feed(text); });
  std::printf("%s (%zu)\n", name.c_str(), survey.count);
  if (survey.count == 0) {
    return;
  }
  const bool is_object = rows.is_object();
  const bool is_table = survey.is_table && !is_object;
  BlockTable table(is_object ? std::vector<std::string>{"name", "value"} : survey.keys);
  const auto print_row = [&](const std::string& key, const Json& row) {
    if (is_object) {
      table.add_row({key, value_text(row)});
    } else if (!is_table) {
      std::puts(printable(value_text(row)).c_str());
    } else {
      std::vector<std::string> cells;
      for (const std::string& column : survey.keys) {
        cells.push_back(value_text(row.value(column, Json())));
      }
      table.add_row(cells);
    }
  };
  if (survey.count == survey.rows.size()) {
    for (const auto& [key, row] : survey.rows) {
      print_row(key, row);
    }
  } else {
    JsonRows again(print_row);
    describe_site(name, [&](std::string_view text) { again.feed(text); });
  }
  if (is_object || is_table) {
    table.finish();
  }
}

/** "10  GB-1001/A  x2  [Torque: 9 Nm]" */
std::string line_text(const Json& described) {
  const auto text = [&](const char* member) { return value_text(described.value(member, Json())); };
  std::string line = text("sequence");
  line += (line.empty() ? "" : "  ") + text("item");
  line += described.contains("revision") ? "/" + text("revision") : "";
  line += described.contains("quantity") ? "  x" + text("quantity") : "";
  const Json notes = described.value("notes", Json::object());
  for (const auto& [type, note] : notes.items()) {
    line += "  [" + type + ": " + value_text(note) + "]";
  }
  return line;
}

void print_structure(const Json& structure) {
  std::puts(printable(value_text(structure.at("item")) + "/" +
                      value_text(structure.at("revision")) + "  " +
                      value_text(structure.at("view_type")))
                .c_str());
  const Json& lines = structure.at("lines");
  for (std::size_t i = 0; i < lines.size(); ++i) {
    std::printf("%s%s\n", i + 1 == lines.size() ? "└── " : "├── ",
                printable(line_text(lines[i])).c_str());
  }
}

/** Every structure with its lines below it. */
void print_structures() {
  std::puts("structures");
  JsonRows rows([&](const std::string&, const Json& value) { print_structure(value); });
  describe_site("structures", [&](std::string_view text) { rows.feed(text); });
}

/** Each text in a line. */
void print_texts() {
  Table table({"language", "key", "text"});
  std::size_t count = 0;
  JsonRows rows([&](const std::string& language, const Json& texts) {
    for (const auto& [key, text] : texts.items()) {
      table.add_row({language, key, value_text(text)});
      ++count;
    }
  });
  describe_site("texts", [&](std::string_view text) { rows.feed(text); });
  std::printf("texts (%zu)\n", count);
  if (count > 0) {
    table.print();
  }
}

void print_named(const std::string& name) {
  if (name == "structures") {
    print_structures();
  } else if (name == "texts") {
    print_texts();
  } else {
    print_section(name);
  }
}

void print_as_json(const std::string& section) {
  HeldOutput output;
  describe_site(section, [&](std::string_view text) { output.write(printable_json(text)); });
  output.write("\n");
  output.finish();
}

struct SiteShowOptions {
  std::string file, section;
  bool json = false;
};

void show_site(const SiteShowOptions& options) {
  std::vector<std::string> arguments = given(options.file, options.section);
  const bool only_section = arguments.size() == 1 && is_section(arguments[0]) &&
                            !fs::is_regular_file(host::utf8_path(arguments[0]));
  const Site site(only_section ? site_file("") : take_site_file(arguments));
  const std::string section = arguments.empty() ? "" : arguments[0];
  if (!section.empty() && !is_section(section)) {
    throw usage_error("there is no section \"" + section + "\"",
                      "choose one of " + value_text(Json(sections())));
  }
  const View one_state;
  if (options.json) {
    return print_as_json(section);
  }
  if (!section.empty()) {
    return print_named(section);
  }
  for (const std::string& name : sections()) {
    print_named(name);
    std::puts("");
  }
}

}  // namespace

void add_host_show(CommandParser& group) {
  CommandParser& show = group.add_command("show", "Print what a site holds");
  const auto options = std::make_shared<SiteShowOptions>();
  show.add_option("FILE", options->file, "The site's file; ORK_HOST_DB when left out")
      .type_name("");
  show.add_option("SECTION", options->section, "What to print; all when left out").type_name("");
  show.add_flag("--json", options->json, "Print JSON");
  show.footer(
      "\nSections: " + value_text(Json(sections())) +
      "\nTables leave out tags and values of attributes; --json has them. Its sections are\n"
      "those of seeds, but for objects, jobs and locks.\n"
      "Example: zolp host show site.db users");
  show.callback([options] { show_site(*options); });
}

}  // namespace tool
