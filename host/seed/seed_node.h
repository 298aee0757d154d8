/** @file How seeds are read. */
#pragma once

#include <algorithm>
#include <nlohmann/json.hpp>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "dates.h"
#include "failure.h"

namespace host {

/** What a refusal shows of a name, and how long it gets at most, whatever the seed says. */
inline constexpr std::size_t longest_shown_name = 80;
inline constexpr std::size_t longest_refusal = 1000;

/** A text, cut between two characters where it is too long. */
inline std::string shortened(const std::string& text, std::size_t most) {
  if (text.size() <= most) {
    return text;
  }
  std::size_t end = most;
  while (end > 0 && (text[end] & 0xC0) == 0x80) {
    --end;
  }
  return text.substr(0, end) + "...";
}

/** A value of the seed and its place in it, as a JSON pointer. Refuses what is not as expected. */
class Node {
 public:
  using Json = nlohmann::json;

  Node(const Json& value, std::string place) : value_(&value), place_(std::move(place)) {}

  [[noreturn]] void refuse(const std::string& why) const {
    host::refuse(ORK_invalid_argument,
                 shortened((place_.empty() ? "the seed" : place_) + ": " + why, longest_refusal));
  }
  [[noreturn]] void refuse_kind(const char* expected) const {
    refuse(std::string("expected ") + expected + ", found " + value_->type_name());
  }

  const Json& json() const { return *value_; }
  bool is_null() const { return value_->is_null(); }
  bool is_text() const { return value_->is_string(); }
  bool is_logical() const { return value_->is_boolean(); }
  bool is_list() const { return value_->is_array(); }
  bool is_object() const { return value_->is_object(); }

  std::string text() const {
    if (!is_text()) {
      refuse_kind("a string");
    }
    std::string found = value_->get<std::string>();
    if (found.find('\0') != std::string::npos) {
      refuse("must not contain a NUL character");
    }
    return found;
  }

  std::string name() const {
    std::string found = text();
    if (found.empty()) {
      refuse("must not be empty");
    }
    return found;
  }

  bool logical_value() const {
    if (!is_logical()) {
      refuse_kind("true or false");
    }
    return value_->get<bool>();
  }

  int number_up_to(int limit) const {
    if (!value_->is_number_integer()) {
      refuse_kind("a whole number");
    }
    const auto number = value_->get<std::int64_t>();
    if (number < 1 || number > limit) {
      refuse("expected a number from 1 to " + std::to_string(limit));
    }
    return static_cast<int>(number);
  }

  /** "2026-03-31 12:00:00"; the time may be left out. */
  date_s date() const {
    const std::string found = text();
    const bool has_time = found.find(' ') != std::string::npos;
    const date_s parsed = parse_date(has_time ? found : found + " 00:00:00");
    if (parsed == date_s{}) {
      refuse("expected a date such as \"2026-03-31 12:00:00\"");
    }
    return parsed;
  }

  std::vector<Node> items() const {
    if (!is_list()) {
      refuse_kind("an array");
    }
    std::vector<Node> nodes;
    for (std::size_t i = 0; i < value_->size(); ++i) {
      nodes.emplace_back((*value_)[i], place_ + "/" + std::to_string(i));
    }
    return nodes;
  }

  /** Names and values of an object. */
  std::vector<std::pair<std::string, Node>> members() const {
    if (!is_object()) {
      refuse_kind("an object");
    }
    std::vector<std::pair<std::string, Node>> nodes;
    for (const auto& [key, value] : value_->items()) {
      nodes.emplace_back(key, Node(value, place_ + "/" + escaped(key)));
    }
    return nodes;
  }

  /** Refuses members other than these, which are slips as a rule. */
  void allow_only(std::initializer_list<std::string_view> names,
                  std::span<const std::string_view> more = {}) const {
    for (const auto& [key, node] : members()) {
      if (std::find(names.begin(), names.end(), key) == names.end() &&
          std::find(more.begin(), more.end(), key) == more.end()) {
        node.refuse("is not known here");
      }
    }
  }

  Node at(const char* key) const {
    const std::optional<Node> found = find(key);
    if (!found) {
      refuse(std::string("expected a member \"") + key + "\"");
    }
    return *found;
  }

  std::optional<Node> find(const char* key) const {
    if (!is_object()) {
      refuse_kind("an object");
    }
    const auto found = value_->find(key);
    if (found == value_->end()) {
      return std::nullopt;
    }
    return Node(*found, place_ + "/" + key);
  }

  std::vector<Node> items_of(const char* key) const {
    const std::optional<Node> list = find(key);
    return list ? list->items() : std::vector<Node>();
  }

  /** A member's name as a JSON pointer has it. */
  static std::string escaped(const std::string& key) {
    std::string text;
    for (const char letter : shortened(key, longest_shown_name)) {
      text += letter == '~' ? "~0" : letter == '/' ? "~1" : std::string(1, letter);
    }
    return text;
  }

 private:
  const Json* value_;
  std::string place_;
};

}  // namespace host
