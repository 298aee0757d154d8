/** @file `zolp list`: clean, reduce and look at release lists and item lists. */
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "assembly_tree.h"
#include "commands.h"
#include "error.h"
#include "output_files.h"
#include "release_list.h"
#include "site.h"
#include "text.h"
#include "utf8_path.h"
#include "zolp_orktool.h"

namespace fs = std::filesystem;

namespace tool {

namespace {

// ------------------------------------------------------------------------------ column positions

/**
 * A session on a site of the program's own, with all that the library wants before it knows the
 * columns of a list: it learns them when it builds the head of a clone log, here an empty one.
 */
class ColumnSession {
 public:
  explicit ColumnSession(const std::string& separator)
      : work_(fs::temp_directory_path()), site_(":memory:", Site::Open::anew) {
    const std::string header_template = work_.file("header_template");
    const std::string list = work_.file("list");
    std::ofstream empty(host::utf8_path(header_template));
    std::ofstream(host::utf8_path(list)) << "1     ;A" << separator << "A\n";
    site_.seed(site_description(separator, header_template).dump());
    session_.emplace();
    LibraryCall call;
    const std::string log = work_.file("log");
    const int status = ZOLP_create_clonelogheader(list.c_str(), log.c_str(), "zolp_list_header");
    if (status != 0) {
      throw Error("cannot find the columns (" + platform_error_text(status) + ")",
                  "see the call trace, set ZOLP_TRACE_LEVEL=4");
    }
  }

 private:
  static Json site_description(const std::string& separator, const std::string& header_template) {
    Json description = Json::parse(R"({
      "site": {"automatic_login": "list"}, "groups": ["list"], "roles": ["list"],
      "users": [{"id": "list", "memberships": [{"group": "list", "role": "list"}]}]})");
    description["preferences"] = {{"FLColumnCatIVFSeparatorPref", separator},
                                  {"WsoInsertNoSelectionsPref", "0"},
                                  {"zolp_list_header", header_template}};
    return description;
  }

  WorkFolder work_;
  Site site_;
  std::optional<Session> session_;
};

// ----------------------------------------------------------------------------------------- copies

struct CopyOptions {
  std::string in, out;
  std::vector<std::string> patterns;
  bool force = false;
  bool json = false;
};

using Copy = std::function<int(const char* in_file, const char* out_file)>;

void check_target(const CopyOptions& options) {
  std::error_code ignored;
  if (fs::equivalent(host::utf8_path(options.in), host::utf8_path(options.out), ignored)) {
    throw usage_error("IN and OUT are the same file", "name another file for OUT");
  }
  if (fs::exists(host::utf8_path(options.out), ignored) && !options.force) {
    throw Error("file " + options.out + " already exists", "name another one, or say --force");
  }
}

/** Makes a reduced copy of a list with one of the library's functions. */
void copy_list(const CopyOptions& options, const Copy& copy) {
  const size_t lines = check_list_file(options.in);
  check_target(options);
  const fs::path target = host::utf8_path(options.out);
  if (!target.has_filename()) {
    throw usage_error("OUT names no file", "name one");
  }
  OutputFiles files(target.has_parent_path() ? target.parent_path() : fs::path("."));
  const std::string written = files.add(target.filename().string());
  {
    LibraryCall call;
    if (copy(options.in.c_str(), written.c_str()) != 0) {
      throw Error("cannot copy " + options.in + " to " + options.out,
                  "check that the list is writable and that there is room");
    }
  }
  const std::uintmax_t size = fs::file_size(host::utf8_path(written));
  const size_t kept = size == 0 ? 0 : check_list_file(written);
  stop_if_interrupted();
  files.publish();
  if (options.json) {
    print_json({{"file", options.out}, {"lines_read", lines}, {"lines_kept", kept}});
  } else {
    std::printf("wrote %s: %zu of %s\n", printable(options.out).c_str(), kept,
                counted(lines, "line").c_str());
  }
}

std::shared_ptr<CopyOptions> add_copy_command(CLI::App& list, const std::string& name,
                                              const std::string& purpose, CLI::App*& command) {
  command = list.add_subcommand(name, purpose);
  const auto options = std::make_shared<CopyOptions>();
  command->add_option("IN", options->in, "The release list; must be writable")
      ->required()
      ->type_name("");
  command->add_option("OUT", options->out, "The file to write")->required()->type_name("");
  command->add_flag("--force", options->force, "Replace OUT when it exists");
  command->add_flag("--json", options->json, "Print the result as JSON");
  return options;
}

void add_clean(CLI::App& list) {
  CLI::App* command = nullptr;
  const auto options =
      add_copy_command(list, "clean", "Copy a list without its empty \"Where\" blocks", command);
  command->footer(
      "\nA block is empty when the line after its \"Where\" line begins with \"----\"; both go.\n"
      "Example: zolp list clean release_list.txt cleaned.txt");
  command->callback([options] { copy_list(*options, ZOLP_clean_list); });
}

void add_dedupe(CLI::App& list) {
  CLI::App* command = nullptr;
  const auto options = add_copy_command(
      list, "dedupe", "Copy a list with the first line of each item only", command);
  command->footer(
      "\nItems are the same when the 128 characters from \"Item Revision\" on are the same,\n"
      "that is up to and into \"New Item ID\". The lines below a dropped item go with it.");
  command->callback([options] {
    check_list_file(options->in);
    const ColumnSession columns("/");
    copy_list(*options, ZOLP_remove_doubles_from_list);
  });
}

void add_scan(CLI::App& list) {
  CLI::App* command = nullptr;
  const auto options = add_copy_command(
      list, "scan", "Copy a list without the \"Where\" lines that hold certain texts", command);
  command->add_option("--pattern", options->patterns, "Text to drop lines by; repeatable")
      ->type_name("TEXT")
      ->required()
      ->allow_extra_args(false);
  command->footer(
      "\nExample: zolp list scan in.txt out.txt --pattern PROTO --pattern \"Spare \"\n"
      "A \"Where\" line that holds a pattern itself goes too.");
  command->callback([options] {
    std::vector<char*> patterns;
    for (std::string& pattern : options->patterns) {
      if (pattern.empty()) {
        throw usage_error("a pattern is empty", "it would drop all lines");
      }
      patterns.push_back(pattern.data());
    }
    copy_list(*options, [&patterns](const char* in_file, const char* out_file) {
      return ZOLP_scan_usage(in_file, out_file, static_cast<int>(patterns.size()), patterns.data());
    });
  });
}

// -------------------------------------------------------------------------------------- item list

/** The arrays that `ZOLP_read_itemrevlist` hands out. */
struct ItemList {
  ItemList() = default;
  ~ItemList() {
    for (int i = 0; i < count; ++i) {
      std::free(item_ids[i]);
      std::free(levels[i]);
    }
    std::free(item_ids);
    std::free(levels);
    std::free(counts);
  }
  ItemList(const ItemList&) = delete;
  ItemList& operator=(const ItemList&) = delete;

  int count = 0;
  char** item_ids = nullptr;
  char** levels = nullptr;
  int* counts = nullptr;
};

/** An item's id; in a release list the cell's separator stands in front of it. */
std::string shown_item_id(const std::string& field) {
  return cell_text(field.starts_with(";") ? field.substr(1) : field);
}

void show_items(const std::string& path, bool json) {
  check_list_file(path);
  ItemList list;
  {
    LibraryCall call;
    if (ZOLP_read_itemrevlist(path.c_str(), &list.count, &list.item_ids, &list.levels,
                              &list.counts) != 0) {
      throw Error("cannot read " + path, "check that it is writable, and that memory is enough");
    }
  }
  if (list.count == 0) {
    throw Error("list " + path + " has no item line",
                "lines begin with a level in characters 1 to 6, the item id follows");
  }
  Json items = Json::array();
  Table table({"level", "item", "count"});
  for (int i = 0; i < list.count; ++i) {
    const int level = std::atoi(list.levels[i]);
    const std::string id = shown_item_id(list.item_ids[i]);
    if (json) {
      items.push_back({{"level", level}, {"item", id}, {"count", list.counts[i]}});
    } else {
      table.add_row({std::to_string(level), id, std::to_string(list.counts[i])});
    }
  }
  if (json) {
    return print_json(items);
  }
  table.print();
}

void add_items(CLI::App& list) {
  CLI::App* const command = list.add_subcommand("items", "Print an item list as a table");
  struct Options {
    std::string file;
    bool json = false;
  };
  const auto options = std::make_shared<Options>();
  command->add_option("FILE", options->file, "The item list; must be writable")
      ->required()
      ->type_name("");
  command->add_flag("--json", options->json, "Print JSON");
  command->footer(
      "\n\"count\" says how often the same text stands in the list; texts that differ in\n"
      "blanks behind the id count as different.");
  command->callback([options] { show_items(options->file, options->json); });
}

// ------------------------------------------------------------------------------------------- tree

struct TreeOptions {
  std::string file;
  std::string separator = "/";
  size_t depth = 100;
  bool json = false;
};

std::string item_text(const char* id, const char* revision, const std::string& separator) {
  const std::string revision_text = cell_text(revision);
  return cell_text(id) + (revision_text == "----" ? "" : separator + revision_text);
}

Json record_json(const assy_entry& entry) {
  if (!is_item(entry)) {
    return {{"type", entry.type}, {"dataset", cell_text(entry.dataset_name)}, {"mode", entry.mode}};
  }
  return {{"level", entry.level},
          {"item", cell_text(entry.item_id)},
          {"revision", cell_text(entry.item_rev)},
          {"mode", entry.mode},
          {"new_item", cell_text(entry.new_item_id)},
          {"new_revision", cell_text(entry.new_item_rev)},
          {"new_name", cell_text(entry.new_name)}};
}

std::string record_text(const assy_entry& entry, const std::string& separator) {
  if (!is_item(entry)) {
    return "[" + std::string(entry.type) + "] " + cell_text(entry.dataset_name);
  }
  std::string text = item_text(entry.item_id, entry.item_rev, separator) + "  " + entry.mode;
  const std::string new_item = item_text(entry.new_item_id, entry.new_item_rev, separator);
  if (std::strcmp(entry.mode, "CLONE") == 0 && !new_item.empty()) {
    text += " -> " + new_item;
  }
  const std::string name = cell_text(entry.new_name);
  return name.empty() ? text : text + "  " + name;
}

void print_tree(const assy_entry* root, const TreeOptions& options) {
  size_t hidden = 0;
  std::vector<std::string> indents = {""};
  visit_assembly(root, [&](const assy_entry& entry, size_t depth) {
    if (depth >= options.depth) {
      ++hidden;
      return true;
    }
    const bool is_last = entry.next == nullptr;
    const char* const branch = depth == 0 ? "" : is_last ? "└── " : "├── ";
    std::printf("%s%s%s\n", indents[depth].c_str(), branch,
                printable(record_text(entry, options.separator)).c_str());
    indents.resize(depth + 1);
    indents.push_back(indents[depth] + (depth == 0 ? "" : is_last ? "    " : "│   "));
    return true;
  });
  if (hidden > 0) {
    std::printf("(%s deeper than --depth %zu)\n", counted(hidden, "record").c_str(), options.depth);
  }
}

void print_tree_json(const assy_entry* root, const TreeOptions& options) {
  Json roots = Json::array();
  std::vector<Json*> siblings = {&roots};
  visit_assembly(root, [&](const assy_entry& entry, size_t depth) {
    if (depth >= options.depth) {
      return false;
    }
    siblings.resize(depth + 1);
    Json& record = siblings[depth]->emplace_back(record_json(entry));
    if (entry.child != nullptr && depth + 1 < options.depth) {
      siblings.push_back(&(record["children"] = Json::array()));
    }
    return true;
  });
  print_json(roots);
}

void show_tree(const TreeOptions& options) {
  const ReleaseListContents contents = check_release_list(options.file, options.separator);
  const ColumnSession columns(options.separator);
  Assembly tree;
  {
    LibraryCall call;
    const int status = ZOLP_read_assylist(options.file.c_str(), tree.address());
    if (status != 0) {
      throw Error("cannot read " + options.file,
                  "check that it is writable, and that memory is enough");
    }
  }
  stop_if_interrupted();
  if (options.json) {
    return print_tree_json(tree.root(), options);
  }
  print_tree(tree.root(), options);
  if (contents.level_jumps > 0) {
    std::printf(
        "(%s placed elsewhere than the level says, the first at %s; the reader climbs one "
        "level only)\n",
        counted(contents.level_jumps, "item").c_str(), contents.first_level_jump.c_str());
  }
}

void add_tree(CLI::App& list) {
  CLI::App* const command =
      list.add_subcommand("tree", "Draw a release list as the tree it stands for");
  const auto options = std::make_shared<TreeOptions>();
  command->add_option("FILE", options->file, "The release list; must be writable")
      ->required()
      ->type_name("");
  command->add_option("--depth", options->depth, "Number of levels to draw, up to 1000")
      ->type_name("N")
      ->capture_default_str()
      ->check(CLI::Range(1, 1000));
  command
      ->add_option("--separator", options->separator,
                   "Text between item id and revision, as the site's preference has it")
      ->type_name("TEXT")
      ->capture_default_str();
  command->add_flag("--json", options->json, "Print JSON");
  command->footer(
      "\nThe tree is the one that the clone run works with: an item shows its newest dataset, and\n"
      "none when it has items below it; an item that drops several levels goes up one.");
  command->callback([options] {
    if (options->separator.empty()) {
      throw usage_error("the separator is empty", "give its text");
    }
    show_tree(*options);
  });
}

}  // namespace

void add_list_commands(CLI::App& program) {
  CLI::App* const list = program.add_subcommand("list", "Clean, reduce and look at list files");
  list->require_subcommand(1);
  list->footer("\n\"zolp list COMMAND --help\" says more about each command.");
  add_clean(*list);
  add_dedupe(*list);
  add_scan(*list);
  add_items(*list);
  add_tree(*list);
}

}  // namespace tool
