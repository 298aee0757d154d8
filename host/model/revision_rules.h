/** @file Which revision of an item counts. */
#pragma once

#include <string>
#include <unordered_map>
#include <vector>

#include "referrers.h"
#include "store.h"

namespace host {

/** A revision rule at work. What it has once found of an item it finds again. */
class Configurator {
 public:
  /** @param rule NULLTAG stands for the latest revision; refused with CONFIG_not_a_rule. */
  Configurator(Store& store, tag rule);

  /**
   * The revision of an item, or NULLTAG.
   * @param explanation set to the reason, unless it is null.
   */
  tag revision_of(tag item, std::string* explanation = nullptr);

 private:
  tag find(tag item, std::string* explanation);
  tag latest_with_status(const std::vector<tag>& revisions, const std::string& status);

  Store& store_;
  std::vector<std::string> clauses_;
  Referrers revisions_;
  std::unordered_map<tag, tag> found_;
};

/** A clause as rules keep it. */
inline constexpr const char* latest_clause = "latest";
std::string status_clause(const std::string& status);

}  // namespace host
