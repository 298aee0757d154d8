/** @file The sections of a seed that say what objects are made of, and who works with them. */
#pragma once

#include <optional>
#include <string>

#include "seed_writer.h"

namespace host {

/** The site itself, groups, roles, users, classes, types, preferences, texts, other sites. */
class DefinitionSeeder : private SeedWriter {
 public:
  using SeedWriter::SeedWriter;

  void take(const Node& root);

 private:
  void take_named(const Node& node, const char* class_name, const std::string& prefix);
  void take_user(const Node& node);
  void take_password(const Node& node, tag user);
  void take_membership(const Node& node, tag user);
  void take_default_group(const Node& node, tag user);
  void take_class(const Node& node);
  const Class& class_of(const Node& node);
  void take_type(const Node& node);
  void take_relation_type(const Node& node);
  void take_password_cost(const Node& node);
  void take_site(const Node& node);
  void take_other_site(const Node& node);
  void take_preferences(const Node& node);
  void take_preference(const std::string& name, const Node& value);
  std::string preference_value(const Node& node);
  void take_texts(const Node& node);
  static std::optional<std::string> text_of(const std::string& key, const Node& node);
};

}  // namespace host
