/** @file `zolp bom`: shows, measures, renumbers and packs a product structure. */
#include <algorithm>
#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "commands.h"
#include "error.h"
#include "login.h"
#include "objects.h"
#include "ork/bomw.h"
#include "ork/config.h"
#include "ork/obj.h"
#include "ork/struct.h"
#include "ork/wso.h"
#include "platform_block.h"
#include "site.h"
#include "text.h"
#include "zolp_orktool.h"

namespace tool {

namespace {

struct BomOptions {
  std::string revision, rule, view, wanted;
  std::string class_name = "ItemRevision";
  int start = 10;
  int increment = 10;
  int depth = 100;
  bool recursive = false;
  bool save = false;
  bool dry_run = false;
  bool json = false;
  LoginOptions login;
};

// -------------------------------------------------------------------------------------- window

tag find_revision(const std::string& id) {
  const tag object = find_object(id);
  if (class_of(object) == "Item") {
    throw Error(id + " is an item", "name one of its revisions, as in " + id + "/A");
  }
  return object;
}

tag find_view_type(const std::string& name) {
  tag type = NULLTAG;
  if (!name.empty() && STRUCT_find_view_type(name.c_str(), &type) != ORK_ok) {
    throw Error("there is no view type " + name, "see \"zolp host show FILE structures\"");
  }
  return type;
}

tag find_rule(const std::string& name) {
  tag rule = NULLTAG;
  if (name.empty()) {
    return rule;
  }
  require(CONFIG_find(name.c_str(), &rule), "rule " + name);
  if (rule == NULLTAG) {
    throw Error("there is no revision rule " + name, "see \"zolp host show FILE structures\"");
  }
  return rule;
}

/** A BOM window on the structure of a revision, closed at the end. */
class Window {
 public:
  Window(const std::string& revision_id, const BomOptions& options) {
    const tag revision = find_revision(revision_id);
    const tag view_type = find_view_type(options.view);
    const tag rule = find_rule(options.rule);
    require(BOMW_create_window(&window_), "the structure");
    const int status = BOMW_set_window_top_line(window_, revision, view_type, rule, &top_line_);
    if (status != ORK_ok) {
      BOMW_close_window(window_);
      require(status, revision_id);
    }
  }
  ~Window() { BOMW_close_window(window_); }
  Window(const Window&) = delete;
  Window& operator=(const Window&) = delete;

  tag top_line() const { return top_line_; }

  void save() {
    const int status = BOMW_save_window(window_);
    if (status != ORK_ok) {
      throw Error("the structure is not saved (" + platform_error_text(status) + ")",
                  "nothing of it has changed; mend the cause and try again");
    }
  }

 private:
  tag window_ = NULLTAG;
  tag top_line_ = NULLTAG;
};

// ---------------------------------------------------------------------------------------- tree

/** What a tree shows of a line. */
struct Line {
  std::string item, revision, name, sequence, quantity;
  std::vector<std::string> statuses;
  std::vector<Line> below;
  bool has_hidden = false; /**< whether there are lines below that are too deep to be shown */
};

std::vector<std::string> statuses_of(tag revision) {
  int count = 0;
  char** names = nullptr;
  require(ZOLP_ask_status_names(revision, &count, &names), "the release statuses");
  const PlatformBlock<char*> array(names);
  std::vector<std::string> statuses;
  for (int i = 0; i < count; ++i) {
    const PlatformBlock<char> name(names[i]);
    statuses.emplace_back(name.get());
  }
  return statuses;
}

std::string name_of(tag object) {
  char name[WSO_name_size + 1] = "";
  require(WSO_get_name(object, name), "the name");
  return name;
}

std::vector<tag> lines_below(tag line, const std::string& id) {
  return listed("what is below " + id, [line](int* count, tag** lines) {
    return BOMW_line_get_child_lines(line, count, lines);
  });
}

Line read_line(tag line, int depth) {
  Line read;
  char* item_id = nullptr;
  char* revision_id = nullptr;
  require(ZOLP_get_bomline_item_and_rev(line, &item_id, &revision_id), "a line");
  const PlatformBlock<char> item_block(item_id);
  const PlatformBlock<char> revision_block(revision_id);
  read.item = item_id;
  read.revision = revision_id;
  read.sequence = handed_out([line](char** text) { ZOLP_getSequenceNo(line, text); });
  read.quantity = handed_out([line](char** text) { ZOLP_getQuantity(line, text); });
  tag revision = NULLTAG;
  require(ZOLP_get_bomline_revtag(line, &revision), "a line's revision");
  if (revision != NULLTAG) {
    read.name = name_of(revision);
    read.statuses = statuses_of(revision);
  } else {
    tag item = NULLTAG;
    require(ZOLP_get_bomline_itemtag(line, &item), "a line's item");
    read.name = name_of(item);
  }
  const std::vector<tag> below = lines_below(line, read.item);
  read.has_hidden = depth == 0 && !below.empty();
  for (std::size_t i = 0; depth > 0 && i < below.size(); ++i) {
    read.below.push_back(read_line(below[i], depth - 1));
  }
  return read;
}

/** The sequence number; with another one from before it, both. */
std::string number_text(const Line& line, const Line* before) {
  if (before == nullptr || before->sequence == line.sequence) {
    return line.sequence;
  }
  return (before->sequence.empty() ? "none" : before->sequence) + " -> " + line.sequence;
}

std::string line_text(const Line& line, const Line* before) {
  std::string text = number_text(line, before);
  text += text.empty() ? "" : "  ";
  text += line.item + "/" + (line.revision.empty() ? "?" : line.revision) + "  " + line.name;
  if (!line.quantity.empty()) {
    text += "  x" + line.quantity;
  }
  for (const std::string& status : line.statuses) {
    text += "  [" + status + "]";
  }
  return printable(text);
}

/** Draws a line and those below it. `before` is the same structure as it was, or null. */
void draw(const Line& line, const Line* before, const std::string& indent = "",
          const std::string& branch = "", const std::string& indent_below = "") {
  std::printf("%s%s%s%s\n", indent.c_str(), branch.c_str(), line_text(line, before).c_str(),
              line.has_hidden ? "  ..." : "");
  for (std::size_t i = 0; i < line.below.size(); ++i) {
    const bool is_last = i + 1 == line.below.size();
    draw(line.below[i], before != nullptr ? &before->below[i] : nullptr, indent_below,
         is_last ? "└── " : "├── ", indent_below + (is_last ? "    " : "│   "));
  }
}

Json line_json(const Line& line, const Line* before = nullptr) {
  Json json = {{"item", line.item},         {"revision", line.revision},
               {"name", line.name},         {"sequence", line.sequence},
               {"quantity", line.quantity}, {"statuses", line.statuses}};
  if (before != nullptr) {
    json["sequence_before"] = before->sequence;
  }
  json["lines"] = Json::array();
  for (std::size_t i = 0; i < line.below.size(); ++i) {
    json["lines"].push_back(
        line_json(line.below[i], before != nullptr ? &before->below[i] : nullptr));
  }
  return json;
}

void show_tree(const BomOptions& options) {
  const Window window(options.revision, options);
  const Line top = read_line(window.top_line(), options.depth);
  if (options.json) {
    print_json(line_json(top));
  } else {
    draw(top, nullptr);
  }
}

// -------------------------------------------------------------------------------- measuring

/** Runs a walk of the library, whose own output goes where the trace goes. */
int walk(const std::function<int()>& call) {
  const LibraryCall library_call;
  return call();
}

int size_of(const Window& window) {
  int size = 0;
  require(walk([&] { return ZOLP_getSizeOfPS(window.top_line(), 0, nullptr, &size); }),
          "the structure");
  return size;
}

void show_size(const BomOptions& options) {
  const Window window(options.revision, options);
  const int lines = size_of(window);
  if (options.json) {
    print_json({{"lines", lines}});
  } else {
    std::puts(counted(static_cast<std::size_t>(lines), "line").c_str());
  }
}

void show_numbers(const BomOptions& options) {
  const Window window(options.revision, options);
  int count = 0;
  tag* list = nullptr;
  const int status =
      walk([&] { return ZOLP_getSeqNoListOfBom(window.top_line(), 0, nullptr, &count, &list); });
  const PlatformBlock<tag> block(list);
  if (status > 1) {
    require(status, "the sequence numbers");
  }
  int next = options.start;
  if (walk([&] { return ZOLP_getUnusedSeqNo(&next, options.increment, count, list); }) != 0) {
    throw usage_error("--increment is 0 and number " + std::to_string(next) + " is in use",
                      "give another one");
  }
  // A line without a number ends the library's list.
  const bool is_complete = status == 0;
  Json numbers = Json::array();
  for (int i = 0; i < count; ++i) {
    numbers.push_back(static_cast<int>(list[i]));
  }
  if (options.json) {
    print_json({{"numbers", numbers}, {"complete", is_complete}, {"next_unused", next}});
    return;
  }
  for (const Json& number : numbers) {
    std::printf("%d\n", number.get<int>());
  }
  if (!is_complete) {
    std::puts("(the list ends at a line without a number)");
  }
  std::printf("next unused: %d\n", next);
}

void find_in_structure(const BomOptions& options) {
  const Window window(options.revision, options);
  const Window wanted(options.wanted, options);
  logical found = 0;
  walk([&] { return ZOLP_existObjectInBom(wanted.top_line(), window.top_line(), &found); });
  if (options.json) {
    print_json({{"found", found != 0}});
  } else {
    std::printf("%s is %sright below %s\n", printable(options.wanted).c_str(),
                found != 0 ? "" : "not ", printable(options.revision).c_str());
  }
}

void export_objects(const BomOptions& options) {
  const Window window(options.revision, options);
  int count = 0;
  tag* list = nullptr;
  const int status = walk([&] {
    return ZOLP_exportObjectsFromBom(window.top_line(), options.class_name.c_str(), nullptr, 0,
                                     &count, &list);
  });
  const PlatformBlock<tag> block(list);
  require(status, "the objects");
  Json objects = Json::array();
  for (int i = 0; i < count; ++i) {
    objects.push_back({{"id", id_of(list[i])}, {"class", class_of(list[i])}});
  }
  if (options.json) {
    print_json(objects);
    return;
  }
  Table table({"id", "class"});
  for (const Json& object : objects) {
    table.add_row({object["id"], object["class"]});
  }
  table.print();
}

// ---------------------------------------------------------------------------------- changing

void resequence(const BomOptions& options) {
  Window window(options.revision, options);
  const int depth = options.recursive ? options.depth : 1;
  const Line before = read_line(window.top_line(), depth);
  int start = options.start;
  int increment = options.increment;
  require(walk([&] {
            return ZOLP_resequence_bom(window.top_line(), &start, &increment,
                                       options.recursive ? 1 : 0, 0, nullptr, nullptr, 0);
          }),
          "the structure");
  const Line after = read_line(window.top_line(), depth);
  if (options.save) {
    window.save();
  }
  if (options.json) {
    print_json({{"saved", options.save}, {"structure", line_json(after, &before)}});
    return;
  }
  draw(after, &before);
  std::puts(options.save ? "saved" : "nothing is saved; --save keeps it");
}

void pack(const BomOptions& options) {
  const Window window(options.revision, options);
  const int lines = size_of(window);
  const int status =
      walk([&] { return ZOLP_pack_bom(window.top_line(), options.recursive ? 1 : 0); });
  require(status, "the structure");
  const int packed_lines = size_of(window);
  const Line top = read_line(window.top_line(), options.depth);
  if (options.json) {
    print_json({{"lines", lines}, {"packed_lines", packed_lines}, {"structure", line_json(top)}});
    return;
  }
  draw(top, nullptr);
  std::printf("%s, packed %d\n", counted(static_cast<std::size_t>(lines), "line").c_str(),
              packed_lines);
}

// ------------------------------------------------------------------------------- command line

using Options = std::shared_ptr<BomOptions>;

void add_depth(CLI::App& command, const Options& options) {
  command.add_option("--depth", options->depth, "How many levels are drawn")
      ->check(CLI::Range(0, 1000))
      ->capture_default_str();
}

void add_recursive(CLI::App& command, const Options& options) {
  command.add_flag("--recursive", options->recursive, "On all levels, not only on the first");
}

void add_numbering(CLI::App& command, const Options& options) {
  command.add_option("--start", options->start, "First number")->capture_default_str();
  command.add_option("--increment", options->increment, "Distance between two numbers")
      ->capture_default_str();
}

/** Adds a command that works on the structure of a revision. */
CLI::App* add_bom_command(CLI::App& group, const Options& options, const char* name,
                          const char* description, const char* footer,
                          void (*run)(const BomOptions&)) {
  CLI::App* const command = group.add_subcommand(name, description);
  command->add_option("REVISION", options->revision, "Item id/revision id")
      ->required()
      ->type_name("");
  command->add_option("--rule", options->rule, "Revision rule; the latest revisions without")
      ->type_name("NAME");
  command->add_option("--view", options->view, "View type; the site's usual one without")
      ->type_name("NAME");
  work_in_session(*command, options, run);
  command->footer(footer);
  return command;
}

}  // namespace

void add_bom_commands(CLI::App& program) {
  CLI::App& group = *program.add_subcommand("bom", "Work on product structures");
  group.require_subcommand(1);
  const auto options = std::make_shared<BomOptions>();

  CLI::App* command = add_bom_command(
      group, options, "tree", "Draw a structure with sequence numbers, quantities and statuses",
      "\nExample: zolp bom tree MX-100/B --rule Released --host site.db", show_tree);
  add_depth(*command, options);

  add_bom_command(group, options, "size", "Count the lines of a structure",
                  "\nExample: zolp bom size MX-100/B --host site.db", show_size);

  command = add_bom_command(
      group, options, "resequence", "Number the lines anew; shows what changes",
      "\nLines of one revision share a number. Nothing is saved without --save.\n"
      "Example: zolp bom resequence MX-100/B --start 10 --increment 10 --recursive --save",
      resequence);
  add_numbering(*command, options);
  add_recursive(*command, options);
  add_depth(*command, options);
  CLI::Option* const save = command->add_flag("--save", options->save, "Save the new numbers");
  command->add_flag("--dry-run", options->dry_run, "Save nothing, as without --save")
      ->excludes(save);

  command = add_bom_command(group, options, "pack", "Show a structure with equal lines as one",
                            "\nNothing is saved.\n"
                            "Example: zolp bom pack MX-100/B --recursive --host site.db",
                            pack);
  add_recursive(*command, options);
  add_depth(*command, options);

  command = add_bom_command(group, options, "numbers", "List the sequence numbers in use",
                            "\nExample: zolp bom numbers MX-100/B --start 10 --increment 10",
                            show_numbers);
  add_numbering(*command, options);

  command = add_bom_command(
      group, options, "find", "Ask whether a revision is right below another one",
      "\nExample: zolp bom find MX-100/B MX-110/A --host site.db", find_in_structure);
  command->add_option("WANTED", options->wanted, "Item id/revision id to look for")
      ->required()
      ->type_name("");

  command = add_bom_command(group, options, "export",
                            "List the items, revisions or datasets of all assemblies",
                            "\nLines without lines below them do not count.\n"
                            "Example: zolp bom export MX-100/B --class Dataset --host site.db",
                            export_objects);
  command->add_option("--class", options->class_name, "Item, ItemRevision or Dataset")
      ->check(CLI::IsMember({"Item", "ItemRevision", "Dataset"}))
      ->capture_default_str();
}

}  // namespace tool
