/** @file The part of SQLite that the host uses; failures are refusals with ORK_site_not_available,
 * and with ORK_site_busy when another process has been writing for too long.
 */
#pragma once

#include <chrono>
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
  /**
   * Opens a file, or creates it for its owner alone; ":memory:" keeps nothing. Whatever the file
   * brings along that would run by itself does not.
   */
  explicit Database(const std::string& path);

  const std::string& path() const { return path_; }

  /** Runs statements that have no parameters and no result. */
  void execute(const char* sql);

  /**
   * Has writers and readers go on beside one another (write-ahead logging). It is kept in the file,
   * and takes a moment in which nobody else uses it.
   */
  void log_ahead();

  /** Whether something is under way that may still be undone. */
  bool is_in_transaction() const;

  /** Writes go on at once or are refused, and wait for no other process. */
  void set_patience(bool is_patient) { is_patient_ = is_patient; }

  // What is begun here spans any number of transactions and questions, until it is ended.

  /** From the next transaction on, changes are kept back, and come into the file all at once. */
  void hold_changes();
  bool holds_changes() const { return holds_changes_; }

  /** Ends that: all that was held back comes into the file, or nothing. */
  void end_changes(bool keep);

  /**
   * The changes that are held can only be undone: a part of them that fails keeps nothing else from
   * being tried.
   */
  void rehearse() { is_rehearsal_ = true; }

  /** All that is read is one state of the file, and changes are refused. */
  void hold_view();
  bool holds_view() const { return holds_view_; }
  void end_view();

  // Copies of whole files (sqlite_copy.cpp).

  enum class Claim { alone, in_use, damaged };

  /** Has the file for this connection alone until it is closed, unless others have it open. */
  Claim claim();

  /** Replaces all that is in this file, as a whole, by what is saved in another one now. */
  void take_over(Database& source);

 private:
  friend class Query;
  friend class Transaction;
  friend class Reading;

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
  static int wait_for_writer(void* database, int earlier_waits);
  bool wait(int earlier_waits);

  std::string path_;
  int patience_; /**< in seconds */
  std::unique_ptr<sqlite3, CloseConnection> connection_;
  std::map<std::string, StatementHandle, std::less<>> statements_;
  int transaction_depth_ = 0;
  bool transaction_failed_ = false;
  bool is_patient_ = true;
  bool holds_changes_ = false;
  bool is_rehearsal_ = false;
  bool holds_view_ = false;
  std::chrono::steady_clock::time_point waiting_since_;
  bool has_said_that_it_waits_ = false;
};

enum class ColumnType { integer, real, text, bytes, nothing };

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

  /** Goes back to before the first row, to be run once more with other parameters. */
  void restart();

  /** Goes on to the next row of the result; false when there is none. */
  bool next();

  ColumnType type(int column) const;
  bool is_null(int column) const { return type(column) == ColumnType::nothing; }
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

/** As long as one lives, all that is read is one state of the file. It writes nothing. */
class Reading {
 public:
  explicit Reading(Database& database);
  ~Reading();
  Reading(const Reading&) = delete;
  Reading& operator=(const Reading&) = delete;

 private:
  Database& database_;
  bool is_outermost_;
};

/** Has writes wait for nobody while it lives. */
class Impatience {
 public:
  explicit Impatience(Database& database) : database_(database) { database_.set_patience(false); }
  ~Impatience() { database_.set_patience(true); }
  Impatience(const Impatience&) = delete;
  Impatience& operator=(const Impatience&) = delete;

 private:
  Database& database_;
};

}  // namespace host
