/** @file A site with product structures, and a window on one of them. */
#pragma once

#include <sstream>

#include "support/site.h"

namespace test {

/**
 * Seed of structures in short form: "T: A B=20 A*2; A: C" is an item T of A, of B with sequence
 * number 20, and of A again with quantity 2, and an item A of C. Each item has one revision, "A".
 */
inline std::string structure_seed(const std::string& description) {
  std::set<std::string> items;
  std::string structures;
  std::istringstream assemblies(description);
  for (std::string assembly; std::getline(assemblies, assembly, ';');) {
    std::istringstream words(assembly);
    std::string parent;
    std::string lines;
    words >> parent;
    parent.erase(parent.find(':'));
    items.insert(parent);
    for (std::string word; words >> word;) {
      const std::size_t end = word.find_first_of("=*");
      const std::string id = word.substr(0, end);
      items.insert(id);
      lines += (lines.empty() ? R"({"item": ")" : R"(, {"item": ")") + id + "\"";
      if (end != std::string::npos) {
        lines += word[end] == '=' ? R"(, "sequence": ")" : R"(, "quantity": ")";
        lines += word.substr(end + 1) + "\"";
      }
      lines += "}";
    }
    structures += (structures.empty() ? R"({"item": ")" : R"(, {"item": ")") + parent +
                  R"(", "revision": "A", "lines": [)" + lines + "]}";
  }
  std::string seed;
  for (const std::string& id : items) {
    seed += (seed.empty() ? R"({"items": [{"id": ")" : R"(, {"id": ")") + id +
            R"(", "name": "Part", "revisions": [{"id": "A"}]})";
  }
  return seed + R"(], "structures": [)" + structures + "]}";
}

/** A list that a walk over lines appends to. */
struct List {
  ~List() { MEM_free(array); }
  std::vector<tag> tags() const { return {array, array + count}; }

  int count = 0;
  tag* array = nullptr;
};

class StructureSite : public Site {
 public:
  StructureSite() { log_in(); }

  static void seed(const std::string& json) { ASSERT_EQ(ork_host_seed(json.c_str()), ORK_ok); }

  /** Shows a revision in a new window; returns its line. */
  tag open(const char* item_id, const char* revision_id = "A", tag rule = NULLTAG) {
    tag top = NULLTAG;
    EXPECT_EQ(BOMW_create_window(&window), ORK_ok);
    EXPECT_EQ(BOMW_set_window_top_line(window, find(item_id, revision_id), NULLTAG, rule, &top),
              ORK_ok);
    return top;
  }

  /** Closes the latest window, and drops what was not saved. */
  void close() const { EXPECT_EQ(BOMW_close_window(window), ORK_ok); }

  /** Seeds structures in short form and shows one of them. */
  tag show(const std::string& description, const char* item_id = "T") {
    seed(structure_seed(description));
    return open(item_id);
  }

  static tag find(const char* item_id, const char* revision_id = nullptr) {
    return ask(ork_host_find_item, item_id, revision_id);
  }

  static std::vector<tag> children(tag line) { return list(BOMW_line_get_child_lines, line); }

  static tag child(tag line, std::size_t index) { return children(line).at(index); }

  static std::string value(tag line, const char* attribute) {
    char* text = nullptr;
    EXPECT_EQ(OBJ_get_value_string(line, attribute, &text), ORK_ok);
    return take(text);
  }

  /** Values of the lines right below a line. */
  static std::vector<std::string> values_below(tag line, const char* attribute) {
    std::vector<std::string> found;
    for (const tag below : children(line)) {
      found.push_back(value(below, attribute));
    }
    return found;
  }

  static std::vector<std::string> sequences(tag line) {
    return values_below(line, "bl_sequence_no");
  }

  tag window = NULLTAG; /**< the latest one */
};

}  // namespace test

using test::List;
