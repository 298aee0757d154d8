#include "site_groups.h"

namespace trace {

std::string place_of(const CallSite& site) {
  return site.file + ":" + std::to_string(site.line);
}

std::string SiteGroups::name_of(const CallSite& site) const {
  const std::string name = site.name + (site.kind == CallKind::frame ? "" : "()");
  switch (how_) {
    case GroupBy::text:
      return site.text;
    case GroupBy::file:
      return site.file;
    case GroupBy::module_:
      return site.name.substr(0, site.name.find('_'));
    case GroupBy::name:
    case GroupBy::place:
    default:
      return name;
  }
}

uint32_t SiteGroups::find(uint32_t site) {
  if (groups_.size() <= site) {
    groups_.resize(size_t{site} + 1, CallSites::no_site);
  }
  const CallSite& named = sites_[site];
  std::string name = name_of(named);
  std::string key = name;
  if (how_ == GroupBy::place) {
    key += ' ' + place_of(named);
  } else if (how_ == GroupBy::text || (how_ == GroupBy::name && named.kind == CallKind::frame)) {
    // Two functions of a name, each private to its source file, are two.
    key += ' ' + named.file;
  }
  const auto [known, is_new] = known_.try_emplace(std::move(key), size());
  if (is_new) {
    names_.push_back(std::move(name));
    first_sites_.push_back(site);
  }
  return groups_[site] = known->second;
}

}  // namespace trace
