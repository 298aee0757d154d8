// Instances that are saved or deleted together.

#include <algorithm>

#include "failure.h"
#include "ork/store.h"
#include "store.h"

namespace host {

void Store::save_together(const std::vector<tag>& objects) {
  std::vector<tag> changed;
  for (const tag object : objects) {
    const Instance& instance = loaded(object);
    if (instance.state != InstanceState::is_new && !instance.locked) {
      refuse(STORE_not_locked, "object " + std::to_string(object));
    }
    if (instance.changed) {
      changed.push_back(object);
    }
  }
  if (changed.empty()) {
    return;
  }
  for (const tag object : changed) {
    stamp(object, loaded(object));
  }
  Transaction transaction(database_);
  // All of them exist before the first value is written, since they may refer to one another.
  for (const tag object : changed) {
    write_instance(object, loaded(object));
  }
  for (const tag object : changed) {
    write_values(object, loaded(object));
  }
  transaction.commit();
  for (const tag object : changed) {
    mark_saved(object, loaded(object));
  }
}

void Store::write_instance(tag object, const Instance& instance) {
  if (instance.state == InstanceState::is_new) {
    run(database_, "INSERT INTO instance(tag, class, version) VALUES(?, ?, 1)", object,
        instance.type->id);
    take_lock(object);
  } else {
    require_own_lock(object);
    run(database_, "UPDATE instance SET version = version + 1 WHERE tag = ?", object);
  }
}

void Store::write_values(tag object, const Instance& instance) {
  check_key(object, instance);
  for (std::size_t i = 0; i < instance.slots.size(); ++i) {
    if (!instance.slots[i].changed) {
      continue;
    }
    check_references(instance.slots[i]);
    write_slot(object, *instance.type->slots[i], instance.slots[i]);
  }
}

void Store::mark_saved(tag object, Instance& instance) {
  instance.state = InstanceState::loaded;
  new_.erase(object);
  instance.locked = true;
  instance.changed = false;
  ++instance.version;
  for (Slot& slot : instance.slots) {
    slot.changed = false;
  }
}

void Store::remove(tag object, const std::vector<tag>& parts) {
  const Instance& instance = loaded(object);
  if (instance.state == InstanceState::is_new) {
    drop(object);
    return;
  }
  if (!instance.locked) {
    refuse_lock_of_other(object);
    refuse(STORE_not_locked, "object " + std::to_string(object));
  }
  std::vector<tag> all = {object};
  all.insert(all.end(), parts.begin(), parts.end());
  Transaction transaction(database_);
  require_own_lock(object);
  std::for_each(parts.begin(), parts.end(), [this](tag part) { refuse_lock_of_other(part); });
  std::for_each(all.begin(), all.end(), [this](tag one) { erase(one); });
  for (const tag one : all) {
    if (const auto other = referrer(one)) {
      refuse(STORE_referenced,
             "object " + std::to_string(one) + ", by object " + std::to_string(*other));
    }
  }
  transaction.commit();
  for (const tag one : all) {
    instances_.erase(one);
  }
}

void Store::erase(tag object) {
  run(database_, "DELETE FROM value WHERE instance = ?", object);
  run(database_, "DELETE FROM lock WHERE instance = ?", object);
  run(database_, "DELETE FROM password WHERE user = ?", object);
  run(database_, "UPDATE instance SET deleted = 1, version = version + 1 WHERE tag = ?", object);
}

std::optional<tag> Store::referrer(tag object) {
  Query references(database_,
                   "SELECT instance FROM value WHERE attribute IN "
                   "(SELECT id FROM attribute WHERE kind = 'reference') "
                   "AND content = ? AND instance <> ? LIMIT 1",
                   object, object);
  if (!references.next()) {
    return std::nullopt;
  }
  return static_cast<tag>(references.integer(0));
}

void Store::drop(tag object) {
  new_.erase(object);
  instances_.erase(object);
}

void Store::unlock(tag object) {
  Instance& instance = loaded(object);
  if (instance.changed) {
    refuse(STORE_not_saved, "object " + std::to_string(object));
  }
  run(database_, "DELETE FROM lock WHERE instance = ?", object);
  instance.locked = false;
}

void Store::bring_up_to_date(tag object) {
  Instance& instance = loaded(object);
  const bool may_be_stale = instance.state == InstanceState::loaded && !instance.locked;
  if (may_be_stale && saved_version(object) != instance.version) {
    read(object, instance);
  }
}

}  // namespace host
