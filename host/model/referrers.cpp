#include "referrers.h"

#include <algorithm>

namespace host {

namespace {

/** From here on a reading of all is cheaper on most sites than one more question. */
constexpr std::size_t many = 100;

}  // namespace

const std::vector<tag>& Referrers::of(tag object) {
  const auto known = known_.find(object);
  if (known != known_.end()) {
    return known->second;
  }
  if (!has_all_ && known_.size() >= many) {
    read_all();
    return of(object);
  }
  std::vector<tag>& found = known_[object];
  if (!has_all_) {
    found = store_.find(class_name_, {{attribute_, object}});
  }
  return found;
}

void Referrers::read_all() {
  has_all_ = true;
  std::unordered_map<tag, std::vector<tag>> all;
  for (const auto& [referrer, object] : store_.saved_values(class_name_, attribute_)) {
    all[std::get<tag>(object)].push_back(referrer);
  }
  for (auto& [object, referrers] : all) {
    std::sort(referrers.begin(), referrers.end());
  }
  known_.merge(all);  // what was answered stays
}

}  // namespace host
