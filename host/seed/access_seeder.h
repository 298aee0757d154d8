/** @file The section of a seed that is about access rules. */
#pragma once

#include <vector>

#include "seed_writer.h"

namespace host {

class AccessSeeder : private SeedWriter {
 public:
  using SeedWriter::SeedWriter;

  /** Takes the section "access_rules". */
  void take(const Node& root);

 private:
  /** The list becomes that of the seed: rules are known by their place. */
  void take_rules(const std::vector<Node>& nodes);
  void take_rule(const Node& node, int number);

  /** "owner", "owning_group" or "world", or an object that names a user, group or role. */
  void take_accessor(const Node& node, tag rule);

  /** {"class": name}, {"type": name}, or one object as in relations. */
  void take_target(const Node& node, tag rule);
};

}  // namespace host
