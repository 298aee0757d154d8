/** @file The sections of a seed that are about product structures. */
#pragma once

#include <string>
#include <unordered_map>
#include <vector>

#include "seed_writer.h"

namespace host {

class StructureSeeder : private SeedWriter {
 public:
  using SeedWriter::SeedWriter;

  /** Takes the sections "view_types", "note_types", "revision_rules" and "structures". */
  void take(const Node& root);

 private:
  /** A structure's lines as the store keeps them. */
  struct Lines {
    Values numbers, items, revisions, quantities, sequences;
    Values note_occurrences, note_types, note_texts;
  };

  /** A name, or an object with a name that may be the site's default. */
  void take_view_type(const Node& node);
  void take_rule(const Node& node);
  static std::string clause_of(const Node& node);

  /** The lines are one value: those of the seed take the place of the ones that are there. */
  void take_structure(const Node& node);
  tag take_view(const Node& node, tag item, tag view_type);
  tag take_view_revision(const Node& node, tag view, tag item, tag revision);
  void take_line(const Node& node, Lines& lines);
  void take_notes(const Node& node, int number, Lines& lines);
  tag find_item(const Node& node);
  tag find_revision_of(const Node& node, tag item);
  tag view_type_of(const Node& node);

  std::unordered_map<std::string, tag> items_; /**< those that were looked up */
};

}  // namespace host
