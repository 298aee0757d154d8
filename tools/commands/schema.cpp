/** @file `zolp schema`: JSON Schemas of what commands print with --json. */
#include "schemas.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "commands/commands.h"
#include "error.h"
#include "output_files.h"
#include "text.h"

namespace tool {

namespace {

constexpr const char* shared = "definitions";

struct SchemaOptions {
  std::vector<std::string> words;
  std::string folder;
};

std::vector<std::string> schema_names() {
  std::vector<std::string> names;
  for (const SchemaText& schema : schema_texts()) {
    if (schema.name != std::string_view(shared)) {
      names.emplace_back(schema.name);
    }
  }
  return names;
}

Json schema_text(const std::string& name) {
  for (const SchemaText& schema : schema_texts()) {
    if (schema.name == name) {
      return Json::parse(schema.text);
    }
  }
  throw Error("\"" + name + "\" has no schema", "see \"zolp schema\" for what has one");
}

/** Finds the shared definitions that a part of a schema refers to, and those that these need. */
void find_definitions(const Json& part, const Json& definitions, std::set<std::string>& found) {
  constexpr std::string_view begin = "#/definitions/";
  for (const auto& [key, value] : part.items()) {
    if (key == "$ref") {
      const std::string name = value.get<std::string>().substr(begin.size());
      if (found.insert(name).second) {
        find_definitions(definitions.at(name), definitions, found);
      }
    } else if (value.is_structured()) {
      find_definitions(value, definitions, found);
    }
  }
}

/** A schema that needs no other file. */
Json whole_schema(const std::string& name) {
  Json schema = {{"$schema", "http://json-schema.org/draft-07/schema#"}};
  schema.update(schema_text(name));
  const Json definitions = schema_text(shared);
  std::set<std::string> needed;
  find_definitions(schema, definitions, needed);
  for (const auto& [key, value] : definitions.items()) {
    if (needed.count(key) != 0) {
      schema[shared][key] = value;
    }
  }
  return schema;
}

void write_schemas(const std::string& folder) {
  OutputFiles files(host::utf8_path(folder));
  for (const std::string& name : schema_names()) {
    std::ofstream file(host::utf8_path(files.add(name + ".json")), std::ios::binary);
    file << whole_schema(name).dump(2) << "\n";
    file.close();
    if (!file) {
      throw Error("a schema cannot be written", "make room on the disk");
    }
  }
  files.publish();
}

void print_schema(const SchemaOptions& options) {
  if (!options.folder.empty()) {
    return write_schemas(options.folder);
  }
  std::string name;
  for (const std::string& word : options.words) {
    name += (name.empty() ? "" : "-") + word;
  }
  if (!name.empty()) {
    return print_json(whole_schema(name));
  }
  for (const std::string& each : schema_names()) {
    std::puts(each.c_str());
  }
}

}  // namespace

void add_schema_command(CommandParser& program) {
  CommandParser& command =
      program.add_command("schema", "Print the JSON Schema of what a command prints with --json");
  const auto options = std::make_shared<SchemaOptions>();
  const OptionParser words =
      command
          .add_option("COMMAND", options->words,
                      "The command, or \"failure\" for what --json makes of failures; names of all "
                      "when left out")
          .type_name("");
  command.add_option("--out", options->folder, "Write a file for each command there")
      .type_name("FOLDER")
      .excludes(words);
  command.footer(
      "\nSchemas are of draft 7, and need no other file. The packages install them in "
      "share/zolp/schemas.\n"
      "Examples: zolp schema bom tree\n"
      "          zolp schema failure");
  command.callback([options] { print_schema(*options); });
}

}  // namespace tool
