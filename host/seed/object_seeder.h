/**
 * @file
 * The section "objects" of seeds: objects of any class with values of all their attributes, for
 * what the other sections cannot say. It is taken last, since it refers to what these make.
 */
#pragma once

#include <filesystem>
#include <string>
#include <unordered_map>
#include <vector>

#include "seed_node.h"
#include "site.h"

namespace host {

class ObjectSeeder {
 public:
  ObjectSeeder(Site& site, std::filesystem::path folder)
      : site_(site), store_(site.store()), folder_(std::move(folder)) {}

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
  tag make(const Node& node, const Class& type);
  void take_values(const Node& node, tag object);
  Scalar scalar(const Node& node, const Attribute& attribute);

  /** The object that a place names, such as {"user": id} or {"item": id, "revision": id}. */
  tag find(const Node& node);
  tag find_in_item(const Node& node);
  tag find_membership(const Node& node);
  tag find_named(const Node& node, const char* class_name, const char* attribute);

  Site& site_;
  Store& store_;
  std::filesystem::path folder_;
  std::vector<Taken> taken_;
  std::unordered_map<std::string, tag> by_key_;
};

}  // namespace host
