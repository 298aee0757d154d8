#include "schema.h"

#include <map>
#include <string>

#include "failure.h"
#include "ork/ork.h"

namespace host {

namespace {

/** The columns of each table, with their types, keys and constraints; and what they refer to. */
using Tables = std::map<std::string, std::string>;

Tables read_tables(Database& database) {
  Tables tables;
  Query columns(database,
                "SELECT m.name, c.name, c.type, c.\"notnull\", c.pk, c.hidden FROM sqlite_master m "
                "JOIN pragma_table_xinfo(m.name) c WHERE m.type = 'table' ORDER BY m.name, c.cid");
  while (columns.next()) {
    std::string& table = tables[columns.text(0)];
    for (int i = 1; i <= 5; ++i) {
      table += columns.text(i) + (i < 5 ? " " : ", ");
    }
  }
  Query references(database,
                   "SELECT m.name, f.\"from\", f.\"table\", f.on_update, f.on_delete "
                   "FROM sqlite_master m JOIN pragma_foreign_key_list(m.name) f "
                   "WHERE m.type = 'table' ORDER BY m.name, f.\"from\"");
  while (references.next()) {
    std::string& table = tables[references.text(0)];
    for (int i = 1; i <= 4; ++i) {
      table += references.text(i) + (i < 4 ? " " : ", ");
    }
  }
  return tables;
}

Tables tables_of(const char* statements) {
  Database empty(":memory:");
  empty.execute(statements);
  return read_tables(empty);
}

}  // namespace

bool has_site_mark(Database& database) {
  Query query(database, "PRAGMA application_id");
  return query.next() && query.integer(0) == site_application_id;
}

void require_tables(Database& database, const char* statements) {
  Query foreign(database,
                "SELECT type, name FROM sqlite_master WHERE type NOT IN ('table', 'index') OR "
                "(type = 'table' AND sql NOT LIKE 'CREATE TABLE%')");
  if (foreign.next()) {
    refuse(ORK_site_damaged, database.path() + " has a " + foreign.text(0) + " \"" +
                                 foreign.text(1) + "\", which no site has");
  }
  static const Tables expected = tables_of(statements);
  const Tables found = read_tables(database);
  for (const auto& [name, columns] : expected) {
    const auto table = found.find(name);
    if (table == found.end() || table->second != columns) {
      refuse(ORK_site_damaged, database.path() + ": its table \"" + name + "\" is not a site's");
    }
  }
}

}  // namespace host
