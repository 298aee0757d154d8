#include "site_texts.h"

namespace host {

Texts read_site_texts(Database& database) {
  Texts texts;
  Query query(database, "SELECT language, key, text FROM text");
  while (query.next()) {
    if (const auto language = find_language(query.text(0))) {
      texts.in(*language)[query.text(1)] = query.text(2);
    }
  }
  return texts;
}

void write_site_text(Database& database, Language language, const std::string& key,
                     const std::optional<std::string>& text) {
  if (text) {
    run(database, "INSERT OR REPLACE INTO text VALUES(?, ?, ?)", name_of(language), key, *text);
  } else {
    run(database, "DELETE FROM text WHERE language = ? AND key = ?", name_of(language), key);
  }
}

}  // namespace host
