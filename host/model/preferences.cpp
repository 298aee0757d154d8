#include "preferences.h"

#include <utility>

#include "site.h"

namespace host {

const PreferenceValues& PreferenceTable::values(const char* name) const {
  static const PreferenceValues none;
  const auto found = values_.find(std::string_view(name));
  return found == values_.end() ? none : found->second;
}

void PreferenceTable::set(const std::string& name, PreferenceValues values) {
  if (values.empty()) {
    values_.erase(name);
  } else {
    values_[name] = std::move(values);
  }
}

PreferenceTable read_preferences(Database& database) {
  std::unordered_map<std::string, PreferenceValues> read;
  Query query(database, "SELECT name, value FROM preference ORDER BY name, position");
  while (query.next()) {
    read[query.text(0)].push_back(query.text(1));
  }
  PreferenceTable table;
  for (auto& [name, values] : read) {
    table.set(name, std::move(values));
  }
  return table;
}

void write_preference(Database& database, const std::string& name, const PreferenceValues& values) {
  Transaction transaction(database);
  run(database, "DELETE FROM preference WHERE name = ?", name);
  int position = 0;
  for (const std::string& value : values) {
    run(database, "INSERT INTO preference VALUES(?, ?, ?)", name, position++, value);
  }
  transaction.commit();
}

const PreferenceTable& session_preferences() {
  auto& table = session().preferences;
  if (!table) {
    table = read_preferences(site().database());
  }
  return *table;
}

}  // namespace host
