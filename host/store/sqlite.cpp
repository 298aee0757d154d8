#include "sqlite.h"

#include <sqlite3.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <system_error>

#include "failure.h"
#include "ork/ork.h"
#include "os.h"
#include "os_file.h"
#include "writer_note.h"

namespace host {

namespace {

using std::chrono::milliseconds;

/** How long one process waits for another's transaction, in seconds. */
constexpr int usual_patience = 10;
constexpr int most_patience = 3600;
constexpr const char* patience_variable = "ORK_HOST_WAIT";

/** Who waits for longer is told so. */
constexpr milliseconds unnoticed_wait{1000};
constexpr int longest_pause_ms = 50;

int patience() {
  const std::string text = os::environment(patience_variable);
  char* end = nullptr;
  const long wanted = std::strtol(text.c_str(), &end, 10);
  const bool is_number = !text.empty() && *end == '\0' && wanted >= 0;
  return is_number ? static_cast<int>(std::min<long>(wanted, most_patience)) : usual_patience;
}

constexpr const char* in_memory = ":memory:";

/** A new site is for its owner; one that is there keeps the rights that it has been given. */
void make_private_file(const std::string& path) {
  try {
    os::make_private_file(path);
  } catch (const std::system_error& error) {
    refuse(ORK_site_not_available, path + ": " + error.code().message());
  }
}

/** A file may come from anybody: what its schema wants to be run is not. */
void distrust(sqlite3* connection) {
  sqlite3_db_config(connection, SQLITE_DBCONFIG_ENABLE_TRIGGER, 0, nullptr);
  sqlite3_db_config(connection, SQLITE_DBCONFIG_ENABLE_VIEW, 0, nullptr);
  sqlite3_db_config(connection, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
  sqlite3_db_config(connection, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
}

constexpr char like_escape = '\\';

}  // namespace

void Database::CloseConnection::operator()(sqlite3* connection) const {
  sqlite3_close_v2(connection);
}

void Database::FinalizeStatement::operator()(sqlite3_stmt* statement) const {
  sqlite3_finalize(statement);
}

Database::Database(const std::string& path) : path_(path), patience_(patience()) {
  if (path != in_memory) {
    make_private_file(path);
  }
  sqlite3* connection = nullptr;
  constexpr int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX;
  const int result = sqlite3_open_v2(path.c_str(), &connection, flags, nullptr);
  connection_.reset(connection);
  check(result);
  distrust(connection);
  check(sqlite3_busy_handler(connection, wait_for_writer, this));
}

int Database::wait_for_writer(void* database, int earlier_waits) {
  return static_cast<Database*>(database)->wait(earlier_waits) ? 1 : 0;
}

/** Pauses until the file may be free; false when the wait has been long enough. */
bool Database::wait(int earlier_waits) {
  const auto now = std::chrono::steady_clock::now();
  if (earlier_waits == 0) {
    waiting_since_ = now;
    has_said_that_it_waits_ = false;
  }
  const int seconds = is_patient_ ? patience_ : 0;
  const auto waited = now - waiting_since_;
  if (waited >= std::chrono::seconds(seconds)) {
    return false;
  }
  if (waited > unnoticed_wait && !has_said_that_it_waits_) {
    has_said_that_it_waits_ = true;
    const std::string writers = writers_of(path_);
    std::fprintf(stderr, "%s: waiting up to %d s for %s\n", path_.c_str(), seconds,
                 writers.empty() ? "another process that changes the site" : writers.c_str());
  }
  os::sleep_milliseconds(std::min(earlier_waits + 1, longest_pause_ms));
  return true;
}

void Database::check(int result) const {
  if (result == SQLITE_OK) {
    return;
  }
  if ((result & 0xFF) == SQLITE_BUSY) {
    const std::string writers = writers_of(path_);
    refuse(ORK_site_busy, path_ + (writers.empty() ? "" : ", by " + writers) + "; waited for " +
                              std::to_string(is_patient_ ? patience_ : 0) + " s; " +
                              patience_variable + " says how long to wait");
  }
  const char* text = connection_ ? sqlite3_errmsg(connection_.get()) : sqlite3_errstr(result);
  refuse(ORK_site_not_available, path_ + ": " + text);
}

void Database::execute(const char* sql) {
  check(sqlite3_exec(connection_.get(), sql, nullptr, nullptr, nullptr));
}

bool Database::is_in_transaction() const {
  return sqlite3_get_autocommit(connection_.get()) == 0;
}

void Database::log_ahead() {
  // Of two that ask for this at once SQLite refuses both, and has neither wait.
  for (int waits = 0;; ++waits) {
    const int result =
        sqlite3_exec(connection_.get(), "PRAGMA journal_mode = WAL", nullptr, nullptr, nullptr);
    if ((result & 0xFF) != SQLITE_BUSY || !wait(waits)) {
      check(result);
      return;
    }
  }
}

void Database::hold_changes() {
  if (holds_changes_ || holds_view_) {
    refuse(ORK_invalid_argument, "changes or a view are held already");
  }
  holds_changes_ = true;
  transaction_failed_ = false;
}

void Database::end_changes(bool keep) {
  holds_changes_ = false;
  transaction_failed_ = transaction_failed_ || is_rehearsal_;
  is_rehearsal_ = false;
  if (is_in_transaction()) {
    if (keep && !transaction_failed_) {
      try {
        run(*this, "COMMIT");
        return;
      } catch (const Failure&) {
        if (is_in_transaction()) {
          run(*this, "ROLLBACK");
        }
        throw;
      }
    }
    run(*this, "ROLLBACK");
  }
  if (keep && transaction_failed_) {
    transaction_failed_ = false;
    refuse(ORK_site_not_available,
           path_ + ": the changes were undone, since one could not be written");
  }
  transaction_failed_ = false;
}

void Database::hold_view() {
  if (holds_changes_ || holds_view_ || is_in_transaction()) {
    refuse(ORK_invalid_argument, "changes or a view are held already");
  }
  run(*this, "BEGIN");
  run(*this, "PRAGMA query_only = ON");
  holds_view_ = true;
}

void Database::end_view() {
  if (holds_view_) {
    holds_view_ = false;
    run(*this, "PRAGMA query_only = OFF");
    run(*this, "COMMIT");
  }
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

void Query::restart() {
  sqlite3_reset(statement_.get());
  parameters_ = 0;
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

ColumnType Query::type(int column) const {
  switch (sqlite3_column_type(statement_.get(), column)) {
    case SQLITE_INTEGER:
      return ColumnType::integer;
    case SQLITE_FLOAT:
      return ColumnType::real;
    case SQLITE_TEXT:
      return ColumnType::text;
    case SQLITE_BLOB:
      return ColumnType::bytes;
    default:
      return ColumnType::nothing;
  }
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
  if (database_.holds_view_) {
    refuse(ORK_invalid_argument, "nothing is changed while a view of the site is held");
  }
  if (database_.transaction_depth_ == 0) {
    if (database_.holds_changes_ && database_.transaction_failed_) {
      refuse(ORK_site_not_available, "the changes that were held have been undone");
    }
    if (!database_.is_in_transaction()) {
      run(database_, "BEGIN IMMEDIATE");
      database_.transaction_failed_ = false;
    }
    if (database_.holds_changes_) {
      run(database_, "SAVEPOINT part");
    }
  }
  ++database_.transaction_depth_;
}

Transaction::~Transaction() {
  if (done_) {
    return;
  }
  --database_.transaction_depth_;
  database_.transaction_failed_ = !database_.is_rehearsal_;
  if (database_.transaction_depth_ > 0) {
    return;
  }
  try {
    if (database_.holds_changes_ && database_.is_in_transaction()) {
      run(database_, "ROLLBACK TO part");
      run(database_, "RELEASE part");
      database_.transaction_failed_ = false;  // the parts before it are as they were
    } else {
      run(database_, "ROLLBACK");
    }
  } catch (const std::exception&) {
    // SQLite has already undone it, after a full disk for example.
  }
}

void Transaction::commit() {
  if (database_.transaction_failed_) {
    refuse(ORK_internal_error, "a part of the transaction failed");
  }
  if (database_.transaction_depth_ == 1) {
    run(database_, database_.holds_changes_ ? "RELEASE part" : "COMMIT");
  }
  --database_.transaction_depth_;
  done_ = true;
}

Reading::Reading(Database& database)
    : database_(database), is_outermost_(!database.is_in_transaction()) {
  if (is_outermost_) {
    run(database_, "BEGIN");
  }
}

Reading::~Reading() {
  if (!is_outermost_) {
    return;
  }
  try {
    run(database_, "COMMIT");
  } catch (const std::exception&) {
    // There is nothing that could be lost.
  }
}

}  // namespace host
