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
    case GroupBy::place:
      return name + " " + place_of(site);
    case GroupBy::file:
      return site.file;
    case GroupBy::module_:
      return site.name.substr(0, site.name.find('_'));
    case GroupBy::name:
    default:
      return name;
  }
}

uint32_t SiteGroups::find(uint32_t site) {
  if (groups_.size() <= site) {
    groups_.resize(size_t{site} + 1, CallSites::no_site);
  }
  std::string name = name_of(sites_[site]);
  // Two functions of a name, each private to its source file, are two.
  const bool is_private =
      how_ == GroupBy::text || (how_ == GroupBy::name && sites_[site].kind == CallKind::frame);
  const std::string key = is_private ? name + '\n' + sites_[site].file : name;
  const auto [known, is_new] = known_.try_emplace(key, size());
  if (is_new) {
    names_.push_back(std::move(name));
    first_sites_.push_back(site);
  }
  return groups_[site] = known->second;
}

}  // namespace trace
