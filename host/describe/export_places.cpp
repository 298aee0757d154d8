#include "export_places.h"

#include "known_sites.h"
#include "seeded_keys.h"

namespace host {

ExportPlaces::ExportPlaces(Store& store)
    : keys_(keys_of_seeds(store)), site_number_(local_site_number(store)) {
  Query query(store.database(),
              "SELECT content, count(*) FROM value WHERE attribute IN "
              "(SELECT id FROM attribute WHERE kind = 'reference') GROUP BY content");
  while (query.next()) {
    references_.emplace(static_cast<tag>(query.integer(0)), static_cast<int>(query.integer(1)));
  }
}

nlohmann::ordered_json ExportPlaces::of(tag object) const {
  if (object == NULLTAG) {
    return nullptr;
  }
  const auto found = places_.find(object);
  if (found != places_.end() && !found->second.is_null()) {
    return found->second;
  }
  return {{"object", key(object)}};
}

/** Another site that has no number may use the same keys. */
std::string ExportPlaces::key(tag object) const {
  const auto found = keys_.find(object);
  return found != keys_.end() ? found->second
                              : std::to_string(site_number_) + "-" + std::to_string(object);
}

int ExportPlaces::references_to(tag object) const {
  const auto found = references_.find(object);
  return found != references_.end() ? found->second : 0;
}

}  // namespace host
