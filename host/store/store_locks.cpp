// Locks: rows of the file that name who may change an instance.

#include <algorithm>

#include "failure.h"
#include "ork/store.h"
#include "store.h"

namespace host {

std::optional<LockHolder> Store::read_lock(tag object) {
  Query query(database_, "SELECT user_id, node, holder, since FROM lock WHERE instance = ?",
              object);
  if (!query.next()) {
    return std::nullopt;
  }
  LockHolder holder{query.text(0), query.text(1), query.text(2), parse_date(query.text(3))};
  if (!presence_.lives(holder.process)) {
    return std::nullopt;  // whose process has ended, in whatever way
  }
  return holder;
}

bool Store::is_own(const LockHolder& holder) const {
  return !holder.process.empty() && holder.process == presence_.name_so_far();
}

bool Store::is_locked(tag object) {
  state(object);  // says what is wrong with the tag
  const auto found = instances_.find(object);
  return found != instances_.end() && found->second.locked;
}

std::optional<LockHolder> Store::lock_holder(tag object) {
  state(object);
  return read_lock(object);
}

std::vector<tag> Store::locked_instances() {
  Query query(database_, "SELECT instance FROM lock ORDER BY instance");
  std::vector<tag> locked;
  while (query.next()) {
    locked.push_back(static_cast<tag>(query.integer(0)));
  }
  std::erase_if(locked, [this](tag object) { return !read_lock(object); });
  return locked;
}

void Store::refuse_lock_of_other(tag object) {
  const std::optional<LockHolder> holder = read_lock(object);
  if (!holder || is_own(*holder)) {
    return;
  }
  refuse(STORE_locked_by_other, "object " + std::to_string(object) + ", by user " +
                                    holder->user_id + " on " + holder->node + " since " +
                                    date_text(holder->since));
}

void Store::note_refused_lock(tag object, const std::string& reason) {
  refused_locks_[object] = reason;
}

void Store::refuse_unlocked(tag object) const {
  const auto reason = refused_locks_.find(object);
  refuse(STORE_not_locked, "object " + std::to_string(object) +
                               (reason != refused_locks_.end() ? ". " + reason->second : ""));
}

void Store::take_lock(tag object) {
  run(database_, "INSERT OR REPLACE INTO lock VALUES(?, ?, ?, ?, ?)", object, identity_.user_id,
      node_, presence_.name(), date_text(os::local_time()));
  refused_locks_.erase(object);
  if (reports_origins()) {
    lock_origins_[object] = this_origin();
  }
}

std::vector<std::pair<tag, Origin>> Store::own_locks() const {
  std::vector<std::pair<tag, Origin>> locks;
  for (const auto& [object, instance] : instances_) {
    if (instance.locked) {
      const auto origin = lock_origins_.find(object);
      locks.emplace_back(object, origin != lock_origins_.end() ? origin->second : Origin());
    }
  }
  std::sort(locks.begin(), locks.end());
  return locks;
}

void Store::require_own_lock(tag object) {
  const std::optional<LockHolder> holder = read_lock(object);
  if (!holder || !is_own(*holder)) {
    refuse(STORE_not_locked, "object " + std::to_string(object) +
                                 ", whose lock was taken away from this session" +
                                 (holder ? " and is held by user " + holder->user_id : ""));
  }
}

void Store::lock(tag object) {
  Instance& instance = loaded(object);
  if (instance.state == InstanceState::is_new || instance.locked) {
    return;
  }
  Transaction transaction(database_);
  refuse_lock_of_other(object);
  if (saved_version(object) != instance.version) {
    read(object, instance);
  }
  take_lock(object);
  transaction.commit();
  instance.locked = true;
}

void Store::refresh(tag object, bool for_change) {
  if (for_change) {
    lock(object);
    return;
  }
  Instance& instance = loaded(object);
  if (instance.state == InstanceState::is_new) {
    return;
  }
  give_lock_back(object, instance);
  read(object, instance);
}

void Store::unlock(tag object) {
  Instance& instance = loaded(object);
  if (instance.changed) {
    refuse(STORE_not_saved, "object " + std::to_string(object));
  }
  give_lock_back(object, instance);
}

void Store::give_lock_back(tag object, Instance& instance) {
  if (instance.locked) {
    run(database_, "DELETE FROM lock WHERE instance = ? AND holder = ?", object,
        presence_.name_so_far());
    instance.locked = false;
  }
}

bool Store::take_lock_away(tag object) {
  Transaction transaction(database_);
  const bool is_held = read_lock(object).has_value();
  run(database_, "DELETE FROM lock WHERE instance = ?", object);
  transaction.commit();
  return is_held;
}

void Store::release_locks() {
  for (auto& [object, instance] : instances_) {
    instance.locked = false;
  }
  const std::string& name = presence_.name_so_far();
  const auto has_locks = [&] {
    return !name.empty() && Query(database_, "SELECT 1 FROM lock WHERE holder = ?", name).next();
  };
  if (has_locks()) {
    // Without a wait for others that write: the locks end with this process's name as well.
    const Impatience at_once(database_);
    run(database_, "DELETE FROM lock WHERE holder = ?", name);
  }
}

LockGuard::LockGuard(Store& store, tag object)
    : store_(store), object_(object), taken_(!store.is_locked(object)) {
  store.lock(object);
}

LockGuard::~LockGuard() {
  if (!taken_) {
    return;
  }
  try {
    store_.refresh(object_, false);
  } catch (const std::exception&) {
    // The lock ends with the process or the site at the latest.
  }
}

}  // namespace host
