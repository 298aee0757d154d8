#include "access_seeder.h"

#include <algorithm>

#include "access.h"

namespace host {

namespace {

Values privileges_of(const Node& node) {
  Values privileges;
  for (const Node& item : node.items()) {
    if (!is_privilege(item.text())) {
      item.refuse("there is no privilege \"" + item.text() + "\"");
    }
    privileges.push_back(item.text());
  }
  if (privileges.empty()) {
    node.refuse("expected at least one privilege");
  }
  return privileges;
}

/** The one member of an object, which has one of these names. */
Node only_member(const Node& node, std::initializer_list<std::string_view> names,
                 std::string* name) {
  node.allow_only(names);
  const auto members = node.members();
  if (members.size() != 1) {
    node.refuse("expected one member");
  }
  *name = members.front().first;
  return members.front().second;
}

}  // namespace

void AccessSeeder::take(const Node& root) {
  if (const auto rules = root.find("access_rules")) {
    attempt(*rules, [&] { take_rules(rules->items()); });
  }
}

void AccessSeeder::take_rules(const std::vector<Node>& nodes) {
  const int count = static_cast<int>(nodes.size());
  for (const tag rule : store_.find("AccessRule")) {
    if (store_.integer(rule, "rule_number") > count) {
      remove(rule);
    }
  }
  for (int i = 0; i < count; ++i) {
    const Node& node = nodes[static_cast<std::size_t>(i)];
    attempt(node, [&] { take_rule(node, i + 1); });
  }
}

void AccessSeeder::take_rule(const Node& node, int number) {
  node.allow_only({"grant", "deny", "to", "on"});
  const auto grant = node.find("grant");
  const auto deny = node.find("deny");
  if (grant.has_value() == deny.has_value()) {
    node.refuse("expected either \"grant\" or \"deny\"");
  }
  const tag rule = ensure(node, "AccessRule", {{"rule_number", number}});
  put(node, rule, "grants", grant.has_value());
  put_list(node, rule, "privileges", privileges_of(grant ? *grant : *deny));
  take_accessor(node.at("to"), rule);
  take_target(node.at("on"), rule);
}

void AccessSeeder::take_accessor(const Node& node, tag rule) {
  std::string kind;
  tag accessor = NULLTAG;
  if (node.is_text()) {
    kind = node.text();
    if (std::count(unnamed_accessor_kinds.begin(), unnamed_accessor_kinds.end(), kind) == 0) {
      node.refuse("expected owner, owning_group, world or an object");
    }
  } else {
    const Node named = only_member(node, {"user", "group", "role"}, &kind);
    accessor = kind == "user"    ? find_user(named)
               : kind == "group" ? find_group(named)
                                 : find_role(named);
  }
  put(node, rule, "accessor_kind", kind);
  put(node, rule, "accessor", accessor);
}

void AccessSeeder::take_target(const Node& node, tag rule) {
  std::string class_name;
  tag type = NULLTAG;
  tag object = NULLTAG;
  if (const auto named = node.find("class")) {
    node.allow_only({"class"});
    class_name = named->name();
    if (store_.find_class(class_name) == nullptr) {
      named->refuse("there is no class \"" + class_name + "\"");
    }
  } else if (const auto typed = node.find("type")) {
    node.allow_only({"type"});
    type = find_type(*typed);
  } else {
    object = find_object(node);
  }
  put(node, rule, "target_class", class_name);
  put(node, rule, "target_type", type);
  put(node, rule, "target_object", object);
}

}  // namespace host
