/** @file Sites that are counted together. */
#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "call_sites.h"

namespace trace {

enum class GroupBy {
  name,   /**< a function, or all calls of one, wherever they are made */
  text,   /**< the same with their arguments */
  place,  /**< each place in the sources on its own */
  file,   /**< all of a source file */
  module_ /**< all whose names begin alike, up to the first underscore */
};

/** Groups of sites, numbered from 0 on. Sites may be added to the table meanwhile. */
class SiteGroups {
 public:
  SiteGroups(const CallSites& sites, GroupBy how) : sites_(sites), how_(how) {}

  uint32_t of(uint32_t site) {
    return site < groups_.size() && groups_[site] != CallSites::no_site ? groups_[site]
                                                                        : find(site);
  }
  uint32_t size() const { return static_cast<uint32_t>(names_.size()); }

  /** What users know it by: `ZOLP_ask_login` is a function, `PREF_initialize()` a call. */
  const std::string& name(uint32_t group) const { return names_[group]; }
  /** The site that was met first. */
  const CallSite& site(uint32_t group) const { return sites_[first_sites_[group]]; }

 private:
  uint32_t find(uint32_t site);
  std::string name_of(const CallSite& site) const;

  const CallSites& sites_;
  GroupBy how_;
  std::vector<uint32_t> groups_; /**< by site */
  std::vector<std::string> names_;
  std::vector<uint32_t> first_sites_;
  std::unordered_map<std::string, uint32_t> known_;
};

/** The place of a site, `utilities.cpp:297`. */
std::string place_of(const CallSite& site);

}  // namespace trace
