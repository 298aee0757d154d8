/** @file How seeds are read. */
#pragma once

#include <algorithm>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "dates.h"
#include "failure.h"
#include "seed_text.h"

namespace host {

/** What faults do while a seed is taken: the first one refuses it, unless all of them are wanted.
 */
struct SeedFaults {
  TakeFault take;                /**< empty where the first one ends the seed */
  std::size_t count = 0;         /**< of those that were taken */
  std::set<std::string> lacking; /**< names of what a fault has kept from being made */

  bool are_gathered() const { return take != nullptr; }

  void add(const SeedFault& fault) {
    if (!are_gathered()) {
      throw SeedFailure(fault);
    }
    ++count;
    take(fault);
  }
};

/** A part of a seed that is in memory: all of it, or an element of a list that is streamed. */
struct SeedPart {
  const SeedText& text;
  const nlohmann::json& root;
  std::size_t begin; /**< in the text */
  SeedPath base;     /**< the way to it */
  SeedFaults& faults;

  SeedPath path_to(const nlohmann::json& value) const;
};

/** A value of the seed. Refuses what is not as expected, and names its place. */
class Node {
 public:
  using Json = nlohmann::json;

  Node(const Json& value, const SeedPart& part) : value_(&value), part_(&part) {}

  [[noreturn]] void refuse(const std::string& why) const { throw SeedFailure(fault(why)); }
  [[noreturn]] void refuse_kind(const char* expected) const {
    refuse(std::string("expected ") + expected + ", found " + value_->type_name());
  }

  /** The same, and comes back where more faults are looked for. */
  void complain(const std::string& why) const { part_->faults.add(fault(why)); }

  const Json& json() const { return *value_; }
  bool is_null() const { return value_->is_null(); }
  bool is_text() const { return value_->is_string(); }
  bool is_logical() const { return value_->is_boolean(); }
  bool is_list() const { return value_->is_array(); }
  bool is_object() const { return value_->is_object(); }

  std::string text() const;

  /** A text that is not empty. */
  std::string name() const;

  bool logical_value() const {
    if (!is_logical()) {
      refuse_kind("true or false");
    }
    return value_->get<bool>();
  }

  int number_up_to(int limit) const;

  /** "2026-03-31 12:00:00"; the time may be left out. */
  date_s date() const;

  /** Whether it is written like that. */
  bool is_date() const;

  std::vector<Node> items() const;

  /** Names and values of an object. */
  std::vector<std::pair<std::string, Node>> members() const;

  /**
   * Complains of members other than these, which are slips as a rule. "tag" is passed over: with it
   * descriptions of sites number what they list.
   */
  void allow_only(std::initializer_list<std::string_view> names,
                  std::span<const std::string_view> more = {}) const;

  Node at(const char* key) const;
  std::optional<Node> find(const char* key) const;

  /** The same where the value is not null. */
  std::optional<Node> find_value(const char* key) const {
    const std::optional<Node> found = find(key);
    return found && !found->is_null() ? found : std::nullopt;
  }

  std::vector<Node> items_of(const char* key) const {
    const std::optional<Node> list = find(key);
    return list ? list->items() : std::vector<Node>();
  }

  const SeedPart& part() const { return *part_; }

 private:
  SeedFault fault(const std::string& why) const {
    return part_->text.fault_at(part_->begin, part_->base, part_->path_to(*value_), why);
  }

  const Json* value_;
  const SeedPart* part_;
};

}  // namespace host
