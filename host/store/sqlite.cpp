#include "sqlite.h"

#include <sqlite3.h>

#include "failure.h"
#include "ork/ork.h"

namespace host {

namespace {

/** How long one process waits for another's transaction. */
constexpr int busy_timeout_ms = 10'000;

constexpr char like_escape = '\\';

}  // namespace

void Database::CloseConnection::operator()(sqlite3* connection) const {
  sqlite3_close_v2(connection);
}

void Database::FinalizeStatement::operator()(sqlite3_stmt* statement) const {
  sqlite3_finalize(statement);
}

Database::Database(const std::string& path) : path_(path) {
  sqlite3* connection = nullptr;
  constexpr int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX;
  const int result = sqlite3_open_v2(path.c_str(), &connection, flags, nullptr);
  connection_.reset(connection);
  check(result);
  check(sqlite3_busy_timeout(connection, busy_timeout_ms));
}

void Database::check(int result) const {
  if (result == SQLITE_OK) {
    return;
  }
  const char* text = connection_ ? sqlite3_errmsg(connection_.get()) : sqlite3_errstr(result);
  refuse(ORK_site_not_available, path_ + ": " + text);
}

void Database::execute(const char* sql) {
  check(sqlite3_exec(connection_.get(), sql, nullptr, nullptr, nullptr));
}

Database::StatementHandle Database::take_statement(std::string_view sql) {
  const auto found = statements_.find(sql);
  if (found != statements_.end() && found->second) {
    return std::move(found->second);
  }
  sqlite3_stmt* statement = nullptr;
  check(sqlite3_prepare_v3(connection_.get(), sql.data(), static_cast<int>(sql.size()),
                           SQLITE_PREPARE_PERSISTENT, &statement, nullptr));
  return StatementHandle(statement);
}

void Database::put_back(std::string_view sql, StatementHandle statement) {
  const auto found = statements_.find(sql);
  if (found == statements_.end()) {
    statements_.emplace(sql, std::move(statement));
  } else if (!found->second) {
    found->second = std::move(statement);
  }
}

Query::~Query() {
  sqlite3_reset(statement_.get());
  sqlite3_clear_bindings(statement_.get());
  try {
    database_.put_back(sql_, std::move(statement_));
  } catch (const std::bad_alloc&) {
    // The statement is prepared anew next time.
  }
}

void Query::bind(std::int64_t value) {
  database_.check(sqlite3_bind_int64(statement_.get(), ++parameters_, value));
}

void Query::bind(double value) {
  database_.check(sqlite3_bind_double(statement_.get(), ++parameters_, value));
}

void Query::bind(std::string_view value) {
  // A null address would bind null, also for an empty text.
  const char* text = value.data() != nullptr ? value.data() : "";
  database_.check(sqlite3_bind_text64(statement_.get(), ++parameters_, text, value.size(),
                                      SQLITE_TRANSIENT, SQLITE_UTF8));
}

bool Query::next() {
  const int result = sqlite3_step(statement_.get());
  if (result == SQLITE_ROW) {
    return true;
  }
  if (result != SQLITE_DONE) {
    database_.check(result);
  }
  return false;
}

bool Query::is_null(int column) const {
  return sqlite3_column_type(statement_.get(), column) == SQLITE_NULL;
}

std::int64_t Query::integer(int column) const {
  return sqlite3_column_int64(statement_.get(), column);
}

double Query::real(int column) const {
  return sqlite3_column_double(statement_.get(), column);
}

std::string Query::text(int column) const {
  const unsigned char* text = sqlite3_column_text(statement_.get(), column);
  if (text == nullptr) {
    return {};
  }
  const int size = sqlite3_column_bytes(statement_.get(), column);
  return {reinterpret_cast<const char*>(text), static_cast<std::size_t>(size)};
}

WildcardPattern::WildcardPattern(std::string_view pattern) {
  for (const char letter : pattern) {
    if (letter == '*') {
      like_ += '%';
    } else if (letter == '?') {
      like_ += '_';
    } else {
      if (letter == '%' || letter == '_' || letter == like_escape) {
        like_ += like_escape;
      }
      like_ += letter;
    }
  }
}

bool WildcardPattern::matches(const std::string& text) const {
  return sqlite3_strlike(like_.c_str(), text.c_str(), like_escape) == 0;
}

Transaction::Transaction(Database& database) : database_(database) {
  if (database_.transaction_depth_ == 0) {
    run(database_, "BEGIN IMMEDIATE");
    database_.transaction_failed_ = false;
  }
  ++database_.transaction_depth_;
}

Transaction::~Transaction() {
  if (done_) {
    return;
  }
  --database_.transaction_depth_;
  database_.transaction_failed_ = true;
  if (database_.transaction_depth_ > 0) {
    return;
  }
  try {
    run(database_, "ROLLBACK");
  } catch (const std::exception&) {
    // SQLite has already undone it, after a full disk for example.
  }
}

void Transaction::commit() {
  if (database_.transaction_failed_) {
    refuse(ORK_internal_error, "a part of the transaction failed");
  }
  if (database_.transaction_depth_ == 1) {
    run(database_, "COMMIT");
  }
  --database_.transaction_depth_;
  done_ = true;
}

}  // namespace host
