#include "structure.h"

#include <cstdio>

#include "error.h"
#include "objects.h"
#include "ork/bomw.h"
#include "ork/config.h"
#include "ork/struct.h"
#include "ork/wso.h"
#include "platform_block.h"
#include "site.h"
#include "zolp_orktool.h"

namespace tool {

namespace {

constexpr const char* nothing_has_changed =
    "nothing of it has changed; mend the cause and try again";

tag find_revision(const std::string& id) {
  const tag object = find_object(id);
  if (class_of(object) == "Item") {
    throw Error(id + " is an item", "name one of its revisions, as in " + id + "/A");
  }
  return object;
}

tag find_view_type(const std::string& name) {
  tag type = NULLTAG;
  if (name.empty()) {
    return type;
  }
  require(STRUCT_find_view_type(name.c_str(), &type), "view type " + name,
          {STRUCT_unknown_view_type});
  if (type == NULLTAG) {
    throw Error("there is no view type " + name, "see \"zolp host show FILE view_types\"");
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
    throw Error("there is no revision rule " + name, "see \"zolp host show FILE revision_rules\"");
  }
  return rule;
}

std::vector<std::string> statuses_of(tag revision, const std::string& id) {
  int count = 0;
  char** names = nullptr;
  require(ZOLP_ask_status_names(revision, &count, &names), "the release statuses of " + id);
  const PlatformBlock<char*> array(names);
  std::vector<std::string> statuses;
  for (int i = 0; i < count; ++i) {
    const PlatformBlock<char> name(names[i]);
    statuses.emplace_back(name.get());
  }
  return statuses;
}

}  // namespace

Window::Window(const std::string& revision_id, const std::string& rule_name,
               const std::string& view) {
  const tag revision = find_revision(revision_id);
  const tag view_type = find_view_type(view);
  const tag rule = find_rule(rule_name);
  require(BOMW_create_window(&window_), "the structure");
  const int status = BOMW_set_window_top_line(window_, revision, view_type, rule, &top_line_);
  if (status != ORK_ok) {
    BOMW_close_window(window_);
    require(status, revision_id);
  }
}

Window::~Window() {
  const int status = BOMW_close_window(window_);
  if (status != ORK_ok) {
    forget_failure(status);
    // The session's own end would save what the window was to drop.
    forget_failure(ORK_exit_module(0));
  }
}

void Window::save() {
  require_success(BOMW_save_window(window_), "the structure is not saved", nothing_has_changed);
}

std::vector<tag> lines_below(tag line, const std::string& id) {
  return listed("what is below " + id, [line](int* count, tag** lines) {
    return BOMW_line_get_child_lines(line, count, lines);
  });
}

std::string sequence_of(tag line, const std::string& id) {
  return handed_out("the sequence number of " + id,
                    [line](char** text) { return ZOLP_getSequenceNo(line, text); });
}

Line read_line(tag line, int depth, std::vector<tag>* below) {
  Line read;
  char* item_id = nullptr;
  char* revision_id = nullptr;
  require(ZOLP_get_bomline_item_and_rev(line, &item_id, &revision_id), "a line");
  const PlatformBlock<char> item_block(item_id);
  const PlatformBlock<char> revision_block(revision_id);
  read.item = item_id;
  read.revision = revision_id;
  const std::string id = read.item + "/" + read.revision;
  read.sequence = sequence_of(line, id);
  read.quantity = handed_out("the quantity of " + id,
                             [line](char** text) { return ZOLP_getQuantity(line, text); });
  require(ZOLP_get_bomline_revtag(line, &read.object), "the revision of " + id);
  if (read.object != NULLTAG) {
    read.statuses = statuses_of(read.object, id);
  } else {
    require(ZOLP_get_bomline_itemtag(line, &read.object), "the item of " + id);
  }
  read.name = name_of(read.object);
  *below = lines_below(line, id);
  if (depth == 0 && !below->empty()) {
    read.has_hidden = true;
    below->clear();
  }
  return read;
}

void walk(const std::string& what, const std::function<int()>& call) {
  int status = ORK_ok;
  {
    const LibraryCall library_call;
    status = call();
  }
  require_success(status, what, nothing_has_changed);
}

std::vector<tag> walk_to_list(const std::string& what,
                              const std::function<int(int* count, tag** list)>& call, int ending,
                              bool* is_complete) {
  int status = ORK_ok;
  int count = 0;
  PlatformBlock<tag> block;
  walk(what, [&] {
    tag* list = nullptr;
    status = call(&count, &list);
    block.reset(list);
    return status == ending ? ORK_ok : status;
  });
  if (is_complete != nullptr) {
    *is_complete = status == ORK_ok;
  }
  return {block.get(), block.get() + count};
}

int size_of(const Window& window) {
  int size = 0;
  walk("the structure is not counted",
       [&] { return ZOLP_getSizeOfPS(window.top_line(), 0, nullptr, &size); });
  return size;
}

}  // namespace tool
