#include "seeded_keys.h"

namespace host {

namespace {

/** What the names of the settings begin with. */
const std::string prefix = "seeded ";

}  // namespace

tag object_of_seed(Store& store, const std::string& key) {
  Query query(store.database(),
              "SELECT i.tag FROM meta m JOIN instance i ON i.tag = m.value AND i.deleted = 0 "
              "WHERE m.name = ?",
              prefix + key);
  return query.next() ? static_cast<tag>(query.integer(0)) : NULLTAG;
}

void note_object_of_seed(Store& store, const std::string& key, tag object) {
  run(store.database(), "INSERT OR REPLACE INTO meta VALUES(?, ?)", prefix + key, object);
}

std::unordered_map<tag, std::string> keys_of_seeds(Store& store) {
  std::unordered_map<tag, std::string> keys;
  Query query(store.database(),
              "SELECT i.tag, m.name FROM meta m JOIN instance i ON i.tag = m.value AND "
              "i.deleted = 0 WHERE substr(m.name, 1, ?) = ? ORDER BY m.name",
              static_cast<int>(prefix.size()), prefix);
  while (query.next()) {
    keys.emplace(static_cast<tag>(query.integer(0)), query.text(1).substr(prefix.size()));
  }
  return keys;
}

}  // namespace host
