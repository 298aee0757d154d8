#include "seed_node.h"

namespace host {

namespace {

using Json = nlohmann::json;

/** A list or an object on the way to a value, and how far it has been looked through. */
struct Level {
  const Json* values;
  Json::const_iterator next;
};

std::string step_to(const Level& level) {
  const auto taken = std::prev(level.next);
  return level.values->is_object() ? taken.key()
                                   : std::to_string(std::distance(level.values->begin(), taken));
}

}  // namespace

/** Places are sought when something is wrong there, and cost nothing as long as all is right. */
SeedPath SeedPart::path_to(const Json& value) const {
  std::vector<Level> levels;
  const Json* seen = &root;
  while (seen != &value) {
    if (seen->is_structured()) {
      levels.push_back({seen, seen->begin()});
    }
    while (!levels.empty() && levels.back().next == levels.back().values->end()) {
      levels.pop_back();
    }
    if (levels.empty()) {
      break;
    }
    seen = &*levels.back().next++;
  }
  SeedPath path;
  for (const Level& level : levels) {
    path.push_back(step_to(level));
  }
  return path;
}

std::string Node::text() const {
  if (!is_text()) {
    refuse_kind("a string");
  }
  std::string found = value_->get<std::string>();
  if (found.find('\0') != std::string::npos) {
    refuse("must not contain a NUL character");
  }
  return found;
}

std::string Node::name() const {
  std::string found = text();
  if (found.empty()) {
    refuse("must not be empty");
  }
  return found;
}

int Node::number_up_to(int limit) const {
  if (!value_->is_number_integer()) {
    refuse_kind("a whole number");
  }
  const auto number = value_->get<std::int64_t>();
  if (number < 1 || number > limit) {
    refuse("expected a number from 1 to " + std::to_string(limit));
  }
  return static_cast<int>(number);
}

namespace {

date_s parsed(const std::string& text) {
  return parse_date(text.find(' ') != std::string::npos ? text : text + " 00:00:00");
}

}  // namespace

bool Node::is_date() const {
  return is_text() && parsed(text()) != date_s{};
}

date_s Node::date() const {
  const date_s parsed = host::parsed(text());
  if (parsed == date_s{}) {
    refuse("expected a date such as \"2026-03-31 12:00:00\"");
  }
  return parsed;
}

std::vector<Node> Node::items() const {
  if (!is_list()) {
    refuse_kind("an array");
  }
  std::vector<Node> nodes;
  nodes.reserve(value_->size());
  for (const Json& item : *value_) {
    nodes.emplace_back(item, *part_);
  }
  return nodes;
}

std::vector<std::pair<std::string, Node>> Node::members() const {
  if (!is_object()) {
    refuse_kind("an object");
  }
  std::vector<std::pair<std::string, Node>> nodes;
  for (const auto& [key, value] : value_->items()) {
    nodes.emplace_back(key, Node(value, *part_));
  }
  return nodes;
}

void Node::allow_only(std::initializer_list<std::string_view> names,
                      std::span<const std::string_view> more) const {
  if (!is_object()) {
    refuse_kind("an object");
  }
  for (auto member = value_->begin(); member != value_->end(); ++member) {
    if (member.key() != "tag" &&
        std::find(names.begin(), names.end(), member.key()) == names.end() &&
        std::find(more.begin(), more.end(), member.key()) == more.end()) {
      Node(*member, *part_).complain("is not known here");
    }
  }
}

Node Node::at(const char* key) const {
  const std::optional<Node> found = find(key);
  if (!found) {
    refuse(std::string("expected a member \"") + key + "\"");
  }
  return *found;
}

std::optional<Node> Node::find(const char* key) const {
  if (!is_object()) {
    refuse_kind("an object");
  }
  const auto found = value_->find(key);
  if (found == value_->end()) {
    return std::nullopt;
  }
  return Node(*found, *part_);
}

}  // namespace host
