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

  /** Takes the sections "view_types", "note_types" and "revision_rules". */
  void take_definitions(const Node& root);

  /** Takes an element of "structures", by its number. */
  void take_structure(const Node& node, std::size_t number);

  /** Refuses structures in which an item is a part of itself, once all of them are there. */
  void check_cycles(const SeedText& text);

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

  /** A structure of the seed, and where it stands. */
  struct Taken {
    tag item, view_revision;
    std::size_t number, begin;
  };

  const Taken& last_of(const std::vector<tag>& cycle, tag* child);
  tag take_view(const Node& node, tag item, tag view_type);
  tag take_view_revision(const Node& node, tag view, tag item, tag revision, const Lines& lines);
  void take_line(const Node& node, int number, Lines& lines);
  void take_notes(const Node& node, int number, Lines& lines);
  tag find_item(const Node& node);
  tag find_revision_of(const Node& node, tag item);
  tag view_type_of(const Node& node);

  std::unordered_map<std::string, tag> items_; /**< those that were looked up */
  std::vector<Taken> taken_;
};

}  // namespace host
