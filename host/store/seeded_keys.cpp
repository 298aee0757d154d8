#include "seeded_keys.h"

#include <charconv>
#include <string_view>

#include "random_name.h"

namespace host {

namespace {

/** What the names of the settings begin with. */
const std::string prefix = "seeded ";

/** The line of a number: its name is in the setting of the last first number up to it. */
constexpr const char* line_query =
    "SELECT value FROM meta WHERE name >= 'line ' AND name < 'line!' "
    "AND CAST(substr(name, 6) AS INTEGER) <= ? "
    "ORDER BY CAST(substr(name, 6) AS INTEGER) DESC LIMIT 1";

std::string line_of(Store& store, tag object) {
  Query query(store.database(), line_query, object);
  return query.next() ? query.text(0) : std::string();
}

/** The site's own object of this key. */
tag own_object(Store& store, const std::string& key) {
  const std::size_t end = key.rfind('-');
  tag object = NULLTAG;
  const std::string_view number =
      std::string_view(key).substr(end == std::string::npos ? 0 : end + 1);
  const auto parsed = std::from_chars(number.data(), number.data() + number.size(), object);
  const bool is_number = parsed.ec == std::errc() && parsed.ptr == number.data() + number.size();
  return is_number && object != NULLTAG && key == key_of_object(store, object) &&
                 store.exists(object)
             ? object
             : NULLTAG;
}

}  // namespace

tag object_of_seed(Store& store, const std::string& key) {
  Query query(store.database(),
              "SELECT i.tag FROM meta m JOIN instance i ON i.tag = m.value AND i.deleted = 0 "
              "WHERE m.name = ?",
              prefix + key);
  return query.next() ? static_cast<tag>(query.integer(0)) : own_object(store, key);
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

std::string key_of_object(Store& store, tag object) {
  return line_of(store, object) + "-" + std::to_string(object);
}

void begin_line_of_numbers(Database& database) {
  // A site of an earlier version has none so far: then all of its numbers are of the new one.
  run(database,
      "INSERT OR REPLACE INTO meta SELECT 'line ' || iif(?, value, 1), ? FROM meta "
      "WHERE name = 'next_number'",
      has_line_of_numbers(database), random_name().substr(0, 16));
}

bool has_line_of_numbers(Database& database) {
  Query query(database, "SELECT 1 FROM meta WHERE name >= 'line ' AND name < 'line!'");
  return query.next();
}

}  // namespace host
