// Locks: rows of the file that name who may change an instance.

#include "failure.h"
#include "ork/store.h"
#include "store.h"

namespace host {

bool Store::is_own(const LockHolder& holder) const {
  return holder.process == process_ && holder.node == node_;
}

std::optional<LockHolder> Store::read_lock(tag object) {
  Query query(database_,
              "SELECT user_id, node, process_id, process_start, since FROM lock WHERE instance = ?",
              object);
  if (!query.next()) {
    return std::nullopt;
  }
  LockHolder holder;
  holder.user_id = query.text(0);
  holder.node = query.text(1);
  holder.process = {query.integer(2), query.integer(3)};
  holder.since = parse_date(query.text(4));
  // Of a process on another machine nothing is known, so its locks hold.
  if (!is_own(holder) && holder.node == node_ && !os::is_running(holder.process)) {
    return std::nullopt;
  }
  return holder;
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

void Store::take_lock(tag object) {
  run(database_, "INSERT OR REPLACE INTO lock VALUES(?, ?, ?, ?, ?, ?)", object, identity_.user_id,
      node_, process_.id, process_.start, date_text(os::local_time()));
}

void Store::require_own_lock(tag object) {
  const std::optional<LockHolder> holder = read_lock(object);
  if (!holder || !is_own(*holder)) {
    refuse(STORE_not_locked, "object " + std::to_string(object));
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
  if (instance.locked) {
    run(database_, "DELETE FROM lock WHERE instance = ?", object);
    instance.locked = false;
  }
  read(object, instance);
}

void Store::unlock(tag object) {
  Instance& instance = loaded(object);
  if (instance.changed) {
    refuse(STORE_not_saved, "object " + std::to_string(object));
  }
  run(database_, "DELETE FROM lock WHERE instance = ?", object);
  instance.locked = false;
}

void Store::release_locks() {
  run(database_, "DELETE FROM lock WHERE node = ? AND process_id = ? AND process_start = ?", node_,
      process_.id, process_.start);
  for (auto& [object, instance] : instances_) {
    instance.locked = false;
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
