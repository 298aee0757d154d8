/** @file Damages a site's file as bytes say: rows that no site has, or bytes of the file itself. */
#pragma once

#include <sqlite3.h>

#include <cstddef>
#include <cstdint>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

namespace test {

/** Reads an input byte by byte; behind its end come zeros. */
class DamageSource {
 public:
  explicit DamageSource(std::string_view bytes) : bytes_(bytes) {}

  bool is_empty() const { return bytes_.empty(); }

  unsigned byte() {
    if (bytes_.empty()) {
      return 0;
    }
    const auto value = static_cast<unsigned char>(bytes_.front());
    bytes_.remove_prefix(1);
    return value;
  }
  unsigned number() { return byte() << 8 | byte(); }

 private:
  std::string_view bytes_;
};

/** Changes rows of a site, whatever its rules. */
class RowDamage {
 public:
  explicit RowDamage(const std::string& path) {
    sqlite3_open(path.c_str(), &database_);
    execute("PRAGMA foreign_keys = OFF; PRAGMA journal_mode = DELETE");
  }
  ~RowDamage() { sqlite3_close(database_); }
  RowDamage(const RowDamage&) = delete;
  RowDamage& operator=(const RowDamage&) = delete;

  /** Takes some bytes and changes a row as they say; a change that a key refuses does nothing. */
  void change(DamageSource& source) {
    static constexpr const char* tables[] = {"value", "value", "instance",   "attribute", "class",
                                             "meta",  "lock",  "preference", "password",  "value"};
    const std::string table = tables[source.byte() % std::size(tables)];
    const std::string key =
        join(query("SELECT name FROM pragma_table_info('" + table + "') WHERE pk > 0 ORDER BY pk"));
    const std::vector<std::string> columns =
        query("SELECT name FROM pragma_table_info('" + table + "')");
    const std::string row = row_of(table, key, source.number());
    const std::string column = columns[source.byte() % columns.size()];
    const unsigned action = source.byte();
    const std::string value = value_of(table, key, column, source);
    if (action % 8 == 0) {
      execute("DELETE FROM " + table + row);
    } else {
      execute("UPDATE OR REPLACE " + table + " SET " + column + " = " + value + row);
    }
  }

  void execute(const std::string& sql) {
    sqlite3_exec(database_, sql.c_str(), nullptr, nullptr, nullptr);
  }

 private:
  std::vector<std::string> query(const std::string& sql) {
    std::vector<std::string> values;
    sqlite3_exec(
        database_, sql.c_str(),
        [](void* found, int, char** row, char**) {
          static_cast<std::vector<std::string>*>(found)->emplace_back(row[0] ? row[0] : "NULL");
          return 0;
        },
        &values, nullptr);
    return values;
  }

  static std::string join(const std::vector<std::string>& names) {
    std::string text;
    for (const std::string& name : names) {
      text += (text.empty() ? "" : ", ") + name;
    }
    return text;
  }

  /** Where one row is, counted in the order of the key. */
  std::string row_of(const std::string& table, const std::string& key, unsigned number) {
    const std::vector<std::string> count = query("SELECT max(1, count(*)) FROM " + table);
    const unsigned rows = count.empty() ? 1 : static_cast<unsigned>(std::stoul(count.front()));
    return " WHERE (" + key + ") = (SELECT " + key + " FROM " + table + " ORDER BY " + key +
           " LIMIT 1 OFFSET " + std::to_string(number % rows) + ")";
  }

  std::string value_of(const std::string& table, const std::string& key, const std::string& column,
                       DamageSource& source) {
    static constexpr const char* odd[] = {
        "0",     "-1", "1",   "4294967296", "9223372036854775807",   "2147483648",         "1.5",
        "9e999", "''", "'x'", "x'00ff'",    "'a' || char(0) || 'b'", "hex(zeroblob(3000))"};
    const unsigned kind = source.byte();
    if (kind % 3 == 0) {
      return odd[source.byte() % std::size(odd)];
    }
    if (kind % 3 == 1) {
      return std::to_string(source.number() % 400);
    }
    return "(SELECT " + column + " FROM " + table + row_of(table, key, source.number()) + ")";
  }

  sqlite3* database_ = nullptr;
};

/** Changes bytes of a file. */
inline void damage_bytes(const std::string& path, DamageSource& source) {
  std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
  file.seekg(0, std::ios::end);
  const auto size = static_cast<std::size_t>(file.tellg());
  while (!source.is_empty() && size > 0) {
    const std::size_t place = source.number() * std::size_t{256} + source.byte();
    file.seekp(static_cast<std::streamoff>(place % size));
    file.put(static_cast<char>(source.byte()));
  }
}

/** The first byte says whether rows are changed or bytes. */
inline void damage(const std::string& path, std::string_view bytes) {
  DamageSource source(bytes);
  if (source.byte() % 4 == 0) {
    damage_bytes(path, source);
    return;
  }
  RowDamage rows(path);
  for (int changes = 0; changes < 8 && !source.is_empty(); ++changes) {
    rows.change(source);
  }
}

}  // namespace test
