/** @file The open site and the session on it. */
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "access.h"
#include "ork/ork.h"
#include "preferences.h"
#include "sqlite.h"
#include "store.h"
#include "texts.h"
#include "vault.h"

namespace host {

class Structures;

struct Session {
  tag user = NULLTAG;
  tag group = NULLTAG;
  tag role = NULLTAG;
  std::string user_id;
  std::string user_name;
  std::string group_name;
  bool is_administrator = false;
  bool has_bypass = false;
  bool is_journalling = false;
  // Once they have been read:
  std::optional<PreferenceTable> preferences;
  std::optional<std::vector<AccessRule>> access_rules;
};

class Site {
 public:
  explicit Site(const std::string& path);
  ~Site();
  Site(const Site&) = delete;
  Site& operator=(const Site&) = delete;

  const std::string& path() const { return database_.path(); }
  Database& database() { return database_; }
  Store& store() { return *store_; }
  Vault& vault() { return vault_; }
  Structures& structures() { return *structures_; }

  /** The texts of the site's own. */
  const Texts& texts() const { return texts_; }
  void reload_texts();

  /** Forgets all that is in memory of the store, unsaved changes too; locks stay. */
  void reload_store();

  void begin_session(Session session);

  /** Drops unsaved changes, with the contents of unsaved files, and gives locks back. */
  void end_session();

  /** Has changes come into the file together, see Database. Refused with unsaved changes. */
  void hold_changes();
  void end_changes(bool keep);

  std::optional<Session> session;
  std::vector<tag>
      held_back_jobs; /**< go on when changes are held no more: handlers may do anything */
  bool belongs_to_session = false; /**< a login opened it, so it is closed with the session */

  /** Whether the process that opened it is the one that this one was forked from. */
  bool is_left_behind() const { return forks_ != os::forks() && path() != ":memory:"; }

 private:
  void give_all_back();
  void report_locks();

  unsigned forks_;
  Database database_;
  Presence presence_;
  std::unique_ptr<Store> store_;
  std::unique_ptr<Structures> structures_; /**< after the store, which it works on */
  Texts texts_;
  Vault vault_;
};

/** The open site. Without one: refused with ORK_site_not_available. */
Site& site();

/** The open site, or null. */
Site* open_site();

/** Opens a site in place of the one that is open, which is closed in any case. */
void open_site(const std::string& path);

/** Closes the open site. One that another process opened is left to that one. */
void close_site();

/** The session's site or session. Without a session: refused with ORK_not_logged_in. */
Session& session();

inline Store& store() {
  return site().store();
}

}  // namespace host
