#include "site.h"

#include <cstdlib>

#include "failure.h"
#include "structures.h"

namespace host {

namespace {

/** Identity of changes that are made outside of sessions. */
constexpr const char* no_user = "(site administration)";

std::unique_ptr<Site>& current() {
  // Never destroyed, since programs may call the platform while they end; the site is closed then.
  static std::unique_ptr<Site>& instance = *new std::unique_ptr<Site>;
  static const int registered = std::atexit(close_site);
  static_cast<void>(registered);
  return instance;
}

}  // namespace

Site::Site(const std::string& path) : database_(path), vault_(path) {
  reload_store();
  reload_texts();
  vault_.sweep(*store_);
}

Site::~Site() {
  try {
    store_->release_locks();
    vault_.settle(*store_);
  } catch (const std::exception&) {
    // Locks end with the process at the latest, and the next process sweeps the vault.
  }
}

void Site::reload_store() {
  structures_.reset();
  store_ = std::make_unique<Store>(database_);
  structures_ = std::make_unique<Structures>(*store_);
  store_->set_identity(session ? Identity{session->user_id, session->user, session->group}
                               : Identity{no_user});
}

void Site::reload_texts() {
  texts_ = read_site_texts(database_);
}

void Site::begin_session(Session opened) {
  session = std::move(opened);
  reload_store();
}

void Site::end_session() {
  session.reset();
  store_->release_locks();
  reload_store();
  vault_.settle(*store_);
}

Site* open_site() {
  return current().get();
}

Site& site() {
  if (!current()) {
    refuse(ORK_site_not_available, "no site is open");
  }
  return *current();
}

Structures& structures() {
  return site().structures();
}

void open_site(const std::string& path) {
  current().reset();
  current() = std::make_unique<Site>(path);
}

void close_site() {
  current().reset();
}

Session& session() {
  Site* opened = open_site();
  if (opened == nullptr || !opened->session) {
    refuse(ORK_not_logged_in);
  }
  return *opened->session;
}

}  // namespace host
