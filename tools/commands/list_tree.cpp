/** @file `zolp list tree`: a release list as the tree that it stands for. */
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "assembly_tree.h"
#include "column_session.h"
#include "commands/list.h"
#include "error.h"
#include "failures.h"
#include "output.h"
#include "output_files.h"
#include "picture.h"
#include "release_list.h"
#include "site.h"
#include "text.h"
#include "zolp_orktool.h"

namespace tool {

namespace {

struct TreeOptions : ListOptions {
  std::string separator = "/";
  size_t depth = 100;
  bool json = false;
  PictureOptions picture;
};

std::string item_text(const char* id, const char* revision, const std::string& separator) {
  const std::string revision_text = cell_text(revision);
  return cell_text(id) + (revision_text == "----" ? "" : separator + revision_text);
}

Json record_json(const assy_entry& entry, Encoding encoding) {
  const auto cell = [encoding](const char* field) { return decoded(cell_text(field), encoding); };
  if (!is_item(entry)) {
    return {{"type", entry.type}, {"dataset", cell(entry.dataset_name)}, {"mode", entry.mode}};
  }
  return {{"level", entry.level},
          {"item", cell(entry.item_id)},
          {"revision", cell(entry.item_rev)},
          {"mode", entry.mode},
          {"new_item", cell(entry.new_item_id)},
          {"new_revision", cell(entry.new_item_rev)},
          {"new_name", cell(entry.new_name)}};
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
    std::printf(
        "%s%s%s\n", indents[depth].c_str(), branch,
        printable(decoded(record_text(entry, options.separator), options.encoding)).c_str());
    indents.resize(depth + 1);
    indents.push_back(indents[depth] + (depth == 0 ? "" : is_last ? "    " : "│   "));
    return true;
  });
  if (hidden > 0) {
    std::printf("(%s deeper than --depth %zu)\n", counted(hidden, "record").c_str(), options.depth);
  }
}

/** Prints a tree as it walks it: with the whole in memory twice, a long list would take too much.
 */
class JsonTree {
 public:
  explicit JsonTree(const TreeOptions& options)
      : options_(options),
        stream_([this](std::string_view text) { output_.write(printable_json(text)); }) {}

  void print(const assy_entry* root) {
    stream_.begin_list();
    visit_assembly(root, [this](const assy_entry& entry, size_t depth) {
      end_levels(depth);
      begin(entry, depth);
      return depth + 1 < options_.depth;
    });
    end_levels(0);
    stream_.end();
    output_.write("\n");
    output_.finish();
  }

 private:
  void begin(const assy_entry& entry, size_t depth) {
    stream_.begin_object();
    const Json record = record_json(entry, options_.encoding);
    for (const auto& [name, value] : record.items()) {
      stream_.member(name, value);
    }
    const bool is_shown = depth + 1 < options_.depth;
    if (entry.child != nullptr && is_shown) {
      stream_.key("children");
      stream_.begin_list();
      ++open_;
      return;
    }
    if (entry.child != nullptr) {
      stream_.member("truncated", true);
    }
    stream_.end();
  }

  /** Ends records with children down to a depth. */
  void end_levels(size_t depth) {
    for (; open_ > depth; --open_) {
      stream_.end();
      stream_.end();
    }
  }

  const TreeOptions& options_;
  size_t open_ = 0; /**< records whose children are being printed */
  HeldOutput output_;
  host::JsonStream stream_;
};

/** A box for each record. */
Picture tree_picture(const assy_entry* root, const TreeOptions& options) {
  Picture picture(options.file, Picture::Direction::right);
  std::vector<size_t> above;
  visit_assembly(root, [&](const assy_entry& entry, size_t depth) {
    const bool is_shown = depth + 1 < options.depth;
    std::vector<std::string> label = {
        decoded(record_text(entry, options.separator), options.encoding)};
    if (entry.child != nullptr && !is_shown) {
      label.emplace_back("...");
    }
    const size_t box = picture.add_box(label, is_item(entry) ? Shape::box : Shape::rounded);
    if (depth > 0) {
      picture.add_arrow(above[depth - 1], box);
    }
    above.resize(depth);
    above.push_back(box);
    return is_shown;
  });
  return picture;
}

void show_tree(const TreeOptions& options) {
  const InputFile file(options.file);
  const ReleaseListContents contents = check_release_list(file, options.separator);
  const ColumnSession columns(options.separator);
  Assembly tree;
  {
    LibraryCall call;
    const int status = ZOLP_read_assylist(file.path().c_str(), tree.address());
    const char* const advice = "check that it is writable, and that memory is enough";
    if (status != 0 && !has_failed()) {
      throw Error("cannot read " + file.name(), advice);
    }
    require_success(status, "cannot read " + file.name(), advice);
  }
  stop_if_interrupted();
  if (options.picture.wanted()) {
    return print_picture(tree_picture(tree.root(), options), options.picture);
  }
  if (options.json) {
    return JsonTree(options).print(tree.root());
  }
  print_tree(tree.root(), options);
  if (contents.level_jumps > 0) {
    std::printf(
        "(%s placed elsewhere than the level says, the first at %s; the reader climbs one "
        "level only)\n",
        counted(contents.level_jumps, "item").c_str(),
        printable(contents.first_level_jump).c_str());
  }
}

}  // namespace

void add_list_tree(CommandParser& group) {
  CommandParser& command =
      group.add_command("tree", "Draw a release list as the tree it stands for");
  const auto options = std::make_shared<TreeOptions>();
  add_list_file(command, *options, "The release list; must be writable");
  command.add_option("--depth", options->depth, "Number of levels to draw, up to 1000")
      .type_name("N")
      .shows_preset()
      .range(1, 1000);
  add_separator(command, options->separator);
  command.add_flag("--json", options->json, "Print JSON");
  add_picture_options(command, options->picture);
  command.footer(
      "\nThe tree is the one that the clone run works with: an item shows its newest dataset, and\n"
      "none when it has items below it; an item that drops several levels goes up one.");
  command.callback([options] {
    require_separator(options->separator);
    show_tree(*options);
  });
}

}  // namespace tool
