/** @file Preferences in a site's file, and the table of them that a session works with. */
#pragma once

#include <string>
#include <unordered_map>
#include <vector>

#include "sqlite.h"

namespace host {

using PreferenceValues = std::vector<std::string>;

class PreferenceTable {
 public:
  /** Values of a preference; none for one that does not exist. */
  const PreferenceValues& values(const char* name) const;

  void set(const std::string& name, PreferenceValues values);

  const auto& all() const { return values_; }

 private:
  struct Hash {
    using is_transparent = void;
    std::size_t operator()(std::string_view text) const {
      return std::hash<std::string_view>()(text);
    }
  };
  std::unordered_map<std::string, PreferenceValues, Hash, std::equal_to<>> values_;
};

/** The session's preferences; its first use reads them. */
const PreferenceTable& session_preferences();

PreferenceTable read_preferences(Database& database);

/** Sets a preference's values in the file; no values remove it. */
void write_preference(Database& database, const std::string& name, const PreferenceValues& values);

}  // namespace host
