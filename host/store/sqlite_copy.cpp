// Copies of whole files.

#include <sqlite3.h>

#include "failure.h"
#include "ork/ork.h"
#include "sqlite.h"

namespace host {

namespace {

bool means_damage(int result) {
  const int code = result & 0xFF;
  return code == SQLITE_NOTADB || code == SQLITE_CORRUPT;
}

}  // namespace

Database::Claim Database::claim() {
  const Impatience at_once(*this);
  const int result =
      sqlite3_exec(connection_.get(), "PRAGMA locking_mode = EXCLUSIVE; BEGIN IMMEDIATE; COMMIT",
                   nullptr, nullptr, nullptr);
  if ((result & 0xFF) == SQLITE_BUSY) {
    return Claim::in_use;
  }
  if (means_damage(result)) {
    return Claim::damaged;
  }
  check(result);
  return Claim::alone;
}

void Database::take_over(Database& source) {
  if (source.holds_changes_) {
    refuse(ORK_invalid_argument, "changes are held that may still be undone");
  }
  sqlite3_backup* const copy =
      sqlite3_backup_init(connection_.get(), "main", source.connection_.get(), "main");
  if (copy == nullptr) {
    check(sqlite3_extended_errcode(connection_.get()));
  }
  sqlite3_backup_step(copy, -1);
  const int result = sqlite3_backup_finish(copy);
  if (means_damage(result)) {
    refuse(ORK_site_damaged, path_ + " or " + source.path_ + ": " + sqlite3_errstr(result));
  }
  check(result);
}

}  // namespace host
