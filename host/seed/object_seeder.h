/**
 * @file
 * The section "objects" of seeds: objects of any class with values of all their attributes, for
 * what the other sections cannot say. It is taken after these, since it refers to what they make.
 */
#pragma once

#include <vector>

#include "seed_writer.h"

namespace host {

class ObjectSeeder : private SeedWriter {
 public:
  using SeedWriter::SeedWriter;

  /** Takes the section. */
  void take(const Node& root);

 private:
  struct Taken {
    Node node;
    tag object;
    bool was_locked;
  };

  /** The object, which is made when it is a new one with a key; without its values. */
  tag take_object(const Node& node);
  tag take_keyed(const Node& node);
  tag make(const Node& node, const Class& type);
  void take_values(const Node& node, tag object);

  std::vector<Taken> taken_;
};

}  // namespace host
