#include "site.h"

#include <cstdlib>

#include "failure.h"
#include "object_id.h"
#include "site_texts.h"
#include "structures.h"
#include "turn.h"
#include "writer_note.h"

namespace host {

namespace {

/** The program's end: what is tidied up then is this process's own, and in no thread's hands. */
void close_site_at_exit() {
  if (const Turn turn; turn.is_granted()) {
    close_site();
  }
}

/** Identity of changes that are made outside of sessions. */
constexpr const char* no_user = "(site administration)";

std::unique_ptr<Site>& current() {
  // Never destroyed, since programs may call the platform while they end; the site is closed then.
  static std::unique_ptr<Site>& instance = *new std::unique_ptr<Site>;
  static const int registered = std::atexit(close_site_at_exit);
  static_cast<void>(registered);
  return instance;
}

/** A site that was open when this process was forked. */
const Site*& left_behind() {
  static const Site* site = nullptr;
  return site;
}

/** While changes are held: others wait for this process. */
std::optional<WriterNote>& note_of_held_changes() {
  static std::optional<WriterNote> note;
  return note;
}

void refuse_forked() {
  refuse(ORK_site_not_available,
         "the site is open in the process that this one was forked from; only that one uses it");
}

}  // namespace

Site::Site(const std::string& path)
    : forks_(os::forks()), database_(path), presence_(path), vault_(path, presence_) {
  reload_store();
  reload_texts();
  vault_.sweep(*store_);
}

Site::~Site() {
  try {
    give_all_back();
  } catch (const std::exception&) {
    // What this process has ends with it, and the next process sweeps the vault.
  }
}

/** Those that are held when a session or a site ends. */
void Site::report_locks() {
  for (const auto& [object, origin] : store_->own_locks()) {
    std::string label = "object " + std::to_string(object);
    try {
      label = object_label(*store_, object);
    } catch (const Failure&) {
      // It is gone, or damaged.
    }
    report_lock("lock on " + label + ": " + origin_text(origin));
  }
}

/** Gives back what stands under this process's name, and then the name. */
void Site::give_all_back() {
  held_back_jobs.clear();
  if (reports_origins()) {
    report_locks();
  }
  database_.end_changes(false);
  note_of_held_changes().reset();
  database_.end_view();
  try {
    store_->release_locks();
  } catch (const Failure&) {
    // They end with the name.
  }
  vault_.settle(*store_);
  presence_.leave();
}

void Site::reload_store() {
  structures_.reset();
  const std::uint32_t first_number = store_ ? store_->first_unused_number() : 0;
  store_ = std::make_unique<Store>(database_, presence_);
  store_->skip_numbers(first_number);
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
  try {
    give_all_back();
  } catch (...) {
    reload_store();
    throw;
  }
  reload_store();
}

void Site::hold_changes() {
  if (store_->has_unsaved_changes()) {
    refuse(ORK_invalid_argument, "the session has unsaved changes; save or drop them first");
  }
  database_.hold_changes();
  note_of_held_changes().emplace(path(), session ? session->user_id : "");
}

void Site::end_changes(bool keep) {
  const auto undo_in_memory = [this] {
    held_back_jobs.clear();
    reload_store();
    reload_texts();
    if (session) {
      session->preferences.reset();
      session->access_rules.reset();
    }
  };
  try {
    database_.end_changes(keep);
    note_of_held_changes().reset();
  } catch (...) {
    note_of_held_changes().reset();
    undo_in_memory();
    throw;
  }
  if (!keep) {
    undo_in_memory();
  }
}

Site* open_site() {
  return current().get();
}

Site& site() {
  if (!current()) {
    refuse(ORK_site_not_available, "no site is open");
  }
  if (current()->is_left_behind()) {
    refuse_forked();
  }
  return *current();
}

Structures& structures() {
  return site().structures();
}

void open_site(const std::string& path) {
  close_site();
  if (left_behind() != nullptr) {
    refuse_forked();  // SQLite takes the locks of the other process for this one's
  }
  Turn::keep(true);
  try {
    current() = std::make_unique<Site>(path);
    use_site_texts(&current()->texts());
  } catch (...) {
    Turn::keep(false);
    throw;
  }
}

void close_site() {
  use_site_texts(nullptr);
  if (current() && current()->is_left_behind()) {
    left_behind() = current().release();
  }
  current().reset();
  Turn::keep(false);
}

Session& session() {
  Site* opened = open_site();
  if (opened == nullptr || !opened->session) {
    refuse(ORK_not_logged_in);
  }
  if (opened->is_left_behind()) {
    refuse_forked();
  }
  return *opened->session;
}

}  // namespace host
