/** @file The part of SQLite that the host uses; failures are refusals with ORK_site_not_available.
 */
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

namespace host {

/** An open database and its prepared statements. */
class Database {
 public:
  /** Opens a file, or creates it; ":memory:" keeps nothing. */
  explicit Database(const std::string& path);

  const std::string& path() const { return path_; }

  /** Runs statements that have no parameters and no result. */
  void execute(const char* sql);

 private:
  friend class Query;
  friend class Transaction;

  struct CloseConnection {
    void operator()(sqlite3* connection) const;
  };
  struct FinalizeStatement {
    void operator()(sqlite3_stmt* statement) const;
  };
  using StatementHandle = std::unique_ptr<sqlite3_stmt, FinalizeStatement>;

  StatementHandle take_statement(std::string_view sql);
  void put_back(std::string_view sql, StatementHandle statement);
  void check(int result) const;

  std::string path_;
  std::unique_ptr<sqlite3, CloseConnection> connection_;
  std::map<std::string, StatementHandle, std::less<>> statements_;
  int transaction_depth_ = 0;
  bool transaction_failed_ = false;
};

/** One run of a statement. The text must outlive it. */
class Query {
 public:
  template <typename... Parameters>
  Query(Database& database, std::string_view sql, const Parameters&... parameters)
      : database_(database), sql_(sql), statement_(database.take_statement(sql)) {
    (bind(parameters), ...);
  }
  ~Query();
  Query(const Query&) = delete;
  Query& operator=(const Query&) = delete;

  void bind(std::int64_t value);
  void bind(std::uint32_t value) { bind(std::int64_t{value}); }
  void bind(int value) { bind(std::int64_t{value}); }
  void bind(bool value) { bind(std::int64_t{value}); }
  void bind(double value);
  void bind(std::string_view value);
  void bind(const std::string& value) { bind(std::string_view(value)); }
  void bind(const char* value) { bind(std::string_view(value)); }

  /** Goes on to the next row of the result; false when there is none. */
  bool next();

  bool is_null(int column) const;
  std::int64_t integer(int column) const;
  double real(int column) const;
  std::string text(int column) const;

 private:
  Database& database_;
  std::string_view sql_;
  Database::StatementHandle statement_;
  int parameters_ = 0;
};

/** Runs a statement whose result does not matter. */
template <typename... Parameters>
void run(Database& database, std::string_view sql, const Parameters&... parameters) {
  Query(database, sql, parameters...).next();
}

/** A text with the wildcards "*" (any text) and "?" (one character); ASCII letters match in either
 * case. */
class WildcardPattern {
 public:
  explicit WildcardPattern(std::string_view pattern);

  bool matches(const std::string& text) const;

 private:
  std::string like_; /**< the same as a pattern of LIKE */
};

/**
 * A transaction that writes, undone unless it is committed. One inside another belongs to the outer
 * one: when it fails, the outer one can no longer be committed.
 */
class Transaction {
 public:
  explicit Transaction(Database& database);
  ~Transaction();
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;

  void commit();

 private:
  Database& database_;
  bool done_ = false;
};

}  // namespace host
