// Instances: from the file and back to it.

#include <algorithm>
#include <iterator>

#include "failure.h"
#include "ork/store.h"
#include "store.h"
#include "stored_values.h"

namespace host {

namespace {

std::string object_text(tag object) {
  return "object " + std::to_string(object);
}

/** A part of a key, as a refusal names it. */
std::string key_text(const Scalar& value) {
  if (const auto* text = std::get_if<std::string>(&value)) {
    return *text;
  }
  if (const auto* number = std::get_if<int>(&value)) {
    return std::to_string(*number);
  }
  return object_text(std::get<tag>(value));
}

}  // namespace

const Class& Store::class_of(tag object) {
  const Transient* transient = find_transient(object);
  return transient != nullptr ? class_named(transient->class_name()) : *loaded(object).type;
}

Store::Instance& Store::loaded(tag object) {
  const auto found = instances_.find(object);
  if (found != instances_.end() && found->second.state != InstanceState::not_loaded) {
    return found->second;
  }
  Instance fresh;
  if (found != instances_.end()) {
    fresh.locked = found->second.locked;
  }
  if (find_transient(object) != nullptr) {
    refuse(STORE_not_stored, object_text(object));
  }
  read(object, fresh);
  return instances_.insert_or_assign(object, std::move(fresh)).first->second;
}

/** Replaces what is in memory by what is saved. */
void Store::read(tag object, Instance& instance) {
  Instance fresh = read_saved(object);
  check_lists(object, fresh);
  fresh.locked = instance.locked;
  instance = std::move(fresh);
}

/**
 * One statement reads one state of the file. What references lead to is not looked up before
 * somebody follows them; see refuse_missing.
 */
Store::Instance Store::read_saved(tag object) {
  Query query(database_,
              "SELECT i.class, i.version, i.deleted, v.attribute, v.content, v.position "
              "FROM instance i LEFT JOIN value v ON v.instance = i.tag WHERE i.tag = ? "
              "ORDER BY v.attribute, v.position",
              object);
  if (!query.next()) {
    refuse_missing(object, false);
  }
  if (query.integer(2) != 0) {
    refuse_missing(object, true);
  }
  const Class* const type = find_class_with_id(query.integer(0));
  if (type == nullptr) {
    refuse(ORK_site_damaged, object_text(object) + ": there is no class " + query.text(0));
  }
  Instance fresh;
  fresh.type = type;
  fresh.version = query.integer(1);
  fresh.stamp = ++last_stamp_;
  fresh.state = InstanceState::loaded;
  fresh.slots.resize(type->slots.size());
  std::unordered_map<std::int64_t, std::size_t> slot_by_id;
  for (std::size_t i = 0; i < type->slots.size(); ++i) {
    slot_by_id.emplace(type->slots[i]->id, i);
  }
  do {
    if (query.is_null(3)) {
      break;  // no values at all
    }
    const auto slot = slot_by_id.find(query.integer(3));
    if (slot == slot_by_id.end()) {
      continue;  // of an attribute that another process has just added
    }
    const Attribute& attribute = *type->slots[slot->second];
    Values& values = fresh.slots[slot->second].values;
    check_position(query.integer(5), values.size(), attribute, object);
    values.push_back(stored_value(query, 4, attribute, object));
  } while (query.next());
  return fresh;
}

/** Where an instance that stays refers to one that is not there, the file is damaged. */
void Store::refuse_missing(tag object, bool is_deleted) {
  Query references(database_,
                   "SELECT v.instance, a.name FROM value v JOIN attribute a ON a.id = v.attribute "
                   "JOIN instance i ON i.tag = v.instance AND i.deleted = 0 "
                   "WHERE v.attribute IN (SELECT id FROM attribute WHERE kind = 'reference') "
                   "AND v.content = ? LIMIT 1",
                   object);
  // References to nothing are kept as those to the null tag.
  if (object != NULLTAG && references.next()) {
    refuse_damage(static_cast<tag>(references.integer(0)), references.text(1),
                  "it refers to object " + std::to_string(object) + ", which is not there");
  }
  if (is_deleted) {
    refuse(STORE_deleted_tag, object_text(object));
  }
  refuse(STORE_unknown_tag, std::to_string(object));
}

/** Lists side by side have a value each for each of their things. */
void Store::check_lists(tag object, const Instance& instance) {
  const Class& type = *instance.type;
  const auto length = [&](const std::string& attribute) {
    const std::size_t slot = type.slot_by_name.at(attribute);
    return slot < instance.slots.size() ? instance.slots[slot].values.size() : 0;
  };
  for (const std::vector<std::string>& lists : type.side_by_side) {
    for (const std::string& list : lists) {
      if (length(list) != length(lists.front())) {
        refuse_damage(object, list,
                      "it has " + std::to_string(length(list)) + " values, and " + lists.front() +
                          " has " + std::to_string(length(lists.front())));
      }
    }
  }
}

std::optional<std::int64_t> Store::saved_version(tag object) {
  Query query(database_, "SELECT version FROM instance WHERE tag = ? AND deleted = 0", object);
  if (!query.next()) {
    return std::nullopt;
  }
  return query.integer(0);
}

tag Store::create(const Class& type) {
  const tag object = next_number();
  Instance& instance = instances_[object];
  new_.insert(object);
  instance.type = &type;
  instance.state = InstanceState::is_new;
  instance.changed = true;
  instance.slots.resize(type.slots.size());
  set(object, "creation_date", os::local_time());
  set(object, "owning_user", identity_.user);
  set(object, "owning_group", identity_.group);
  return object;
}

tag Store::create(const Class& type, const Criteria& values) {
  const tag object = create(type);
  try {
    for (const auto& [attribute, value] : values) {
      set(object, attribute, value);
    }
  } catch (...) {
    remove(object);
    throw;
  }
  return object;
}

tag Store::insert(const Class& type, const Lists& values) {
  Instance fresh;
  fresh.type = &type;
  fresh.slots.resize(type.slots.size());
  const auto put = [&](const Attribute* attribute, Values held) {
    if (attribute != nullptr) {
      fresh.slots[type.slot_by_name.at(attribute->name)].values = std::move(held);
    }
  };
  const auto put_reference = [&](const char* name, tag target) {
    put(type.find_attribute(name), target != NULLTAG ? Values{target} : Values{});
  };
  const date_s now = os::local_time();
  put(type.find_attribute("creation_date"), {now});
  put_reference("owning_user", identity_.user);
  put_reference("owning_group", identity_.group);
  if (const Attribute* date = type.find_attribute("last_mod_date")) {
    put(date, {now});
    put_reference("last_mod_user", identity_.user);
  }
  for (const auto& [attribute, held] : values) {
    for (const Scalar& value : held) {
      check_value(*attribute, value);
    }
    put(attribute, held);
  }
  Transaction transaction(database_);
  const tag object = next_number();
  check_key(object, fresh);
  run(database_, "INSERT INTO instance(tag, class, version) VALUES(?, ?, 1)", object, type.id);
  for (std::size_t i = 0; i < fresh.slots.size(); ++i) {
    check_references(fresh.slots[i]);
    insert_values(object, *type.slots[i], fresh.slots[i].values);
  }
  transaction.commit();
  return object;
}

void Store::forget_since(std::uint64_t stamp) {
  std::erase_if(instances_, [stamp](const auto& entry) {
    const Instance& instance = entry.second;
    return instance.stamp > stamp && instance.state == InstanceState::loaded && !instance.locked &&
           !instance.changed;
  });
}

void Store::unload(tag object) {
  Instance& instance = loaded(object);
  if (instance.state == InstanceState::is_new || instance.changed) {
    refuse(STORE_not_saved, "object " + std::to_string(object));
  }
  if (instance.locked) {
    instance.state = InstanceState::not_loaded;
  } else {
    instances_.erase(object);
  }
}

bool Store::exists(tag object) {
  return new_.contains(object) || find_transient(object) != nullptr ||
         saved_version(object).has_value();
}

InstanceState Store::state(tag object) {
  const auto found = instances_.find(object);
  if (found != instances_.end() && found->second.state != InstanceState::not_loaded) {
    return found->second.state;
  }
  if (find_transient(object) != nullptr) {
    return InstanceState::loaded;
  }
  if (!saved_version(object)) {
    loaded(object);  // says what is wrong with the tag
  }
  return InstanceState::not_loaded;
}

void Store::save(const std::vector<tag>& objects) {
  std::vector<std::pair<tag, Instance*>> changed;
  for (const tag object : objects) {
    Instance& instance = loaded(object);
    require_changeable(object, instance);
    if (instance.changed) {
      sign(object, instance);
      changed.emplace_back(object, &instance);
    }
  }
  if (changed.empty()) {
    return;
  }
  Transaction transaction(database_);
  // All of them exist before the first value is written, since they may refer to one another.
  for (const auto& [object, instance] : changed) {
    write_instance(object, *instance);
  }
  for (const auto& [object, instance] : changed) {
    write_values(object, *instance);
  }
  transaction.commit();
  // Not before: what a failure undoes in the file is still to be saved.
  for (const auto& [object, instance] : changed) {
    note_saved(object, *instance);
  }
}

void Store::note_saved(tag object, Instance& instance) {
  instance.state = InstanceState::loaded;
  new_.erase(object);
  instance.locked = true;
  instance.changed = false;
  ++instance.version;
  for (Slot& slot : instance.slots) {
    slot.changed = false;
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

void Store::write_slot(tag object, const Attribute& attribute, const Slot& slot) {
  run(database_, "DELETE FROM value WHERE instance = ? AND attribute = ?", object, attribute.id);
  insert_values(object, attribute, slot.values);
}

void Store::insert_values(tag object, const Attribute& attribute, const Values& values) {
  if (values.empty()) {
    return;
  }
  Query insert(database_, "INSERT INTO value VALUES(?, ?, ?, ?)");
  int position = 0;
  for (const Scalar& value : values) {
    insert.restart();
    insert.bind(object);
    insert.bind(attribute.id);
    insert.bind(position++);
    bind_value(insert, value);
    insert.next();
  }
}

/** Notes who saves an instance, and when. */
void Store::sign(tag object, Instance& instance) {
  if (!signs_ || instance.type->find_attribute("last_mod_date") == nullptr) {
    return;
  }
  set(object, "last_mod_date", os::local_time());
  set(object, "last_mod_user", identity_.user);
}

void Store::check_key(tag object, const Instance& instance) {
  const Class& type = *instance.type;
  if (type.key_owner == nullptr) {
    return;
  }
  Criteria criteria;
  std::string text;
  for (const std::string& name : type.key) {
    const std::size_t slot = type.slot_by_name.at(name);
    static const Values none;
    const Values& key = slot < instance.slots.size() ? instance.slots[slot].values : none;
    if (key.empty()) {
      return;
    }
    criteria.emplace_back(name, key.front());
    if (!text.empty()) {
      text += ", ";
    }
    text += key_text(key.front());
  }
  const tag other = find_one(type.key_owner->name, criteria);
  if (other != NULLTAG && other != object) {
    refuse(type.key_taken, text);
  }
}

/** Whether an instance is saved. Nobody else deletes one while a batch is made. */
bool Store::is_referable(tag object) {
  if (!batch_) {
    return saved_version(object).has_value();
  }
  if (batch_->existing.contains(object)) {
    return true;
  }
  constexpr std::size_t most_remembered = 100'000;
  if (!saved_version(object)) {
    return false;
  }
  if (batch_->existing.size() == most_remembered) {
    batch_->existing.clear();
  }
  batch_->existing.insert(object);
  return true;
}

void Store::check_references(const Slot& slot) {
  for (const Scalar& value : slot.values) {
    const auto* target = std::get_if<tag>(&value);
    if (target == nullptr || *target == NULLTAG || is_referable(*target)) {
      continue;
    }
    if (state(*target) == InstanceState::is_new) {
      refuse(STORE_refers_to_unsaved, object_text(*target));
    }
    refuse(STORE_deleted_tag, object_text(*target));  // by another process, and still loaded here
  }
}

tag Store::referrer(tag object, tag aside) {
  Query references(database_,
                   "SELECT instance FROM value WHERE attribute IN "
                   "(SELECT id FROM attribute WHERE kind = 'reference') "
                   "AND content = ? AND instance NOT IN (?, ?) LIMIT 1",
                   object, object, aside);
  return references.next() ? static_cast<tag>(references.integer(0)) : NULLTAG;
}

void Store::remove(tag object, const std::vector<tag>& parts) {
  const Instance& instance = loaded(object);
  if (instance.state == InstanceState::is_new) {
    drop(object);
    return;
  }
  if (!instance.locked) {
    refuse_lock_of_other(object);
    refuse_unlocked(object);
  }
  std::vector<tag> all = {object};
  all.insert(all.end(), parts.begin(), parts.end());
  Transaction transaction(database_);
  require_own_lock(object);
  for (const tag part : parts) {
    refuse_lock_of_other(part);
  }
  // First, since they may refer to one another.
  for (const tag one : all) {
    erase_rows(one);
  }
  for (const tag one : all) {
    if (const tag other = referrer(one); other != NULLTAG) {
      refuse(STORE_referenced, object_text(one) + ", by " + object_text(other));
    }
  }
  transaction.commit();
  for (const tag one : all) {
    instances_.erase(one);
  }
}

void Store::erase_rows(tag object) {
  if (batch_) {
    batch_->existing.erase(object);
  }
  run(database_, "DELETE FROM value WHERE instance = ?", object);
  run(database_, "DELETE FROM lock WHERE instance = ?", object);
  run(database_, "DELETE FROM password WHERE user = ?", object);
  run(database_, "UPDATE instance SET deleted = 1, version = version + 1 WHERE tag = ?", object);
}

void Store::drop(tag object) {
  new_.erase(object);
  instances_.erase(object);
}

void Store::bring_up_to_date(tag object) {
  Instance& instance = loaded(object);
  const bool may_be_stale = instance.state == InstanceState::loaded && !instance.locked;
  if (may_be_stale && saved_version(object) != instance.version) {
    read(object, instance);
  }
}

std::vector<tag> Store::changed_instances() const {
  std::vector<tag> changed;
  for (const auto& [object, instance] : instances_) {
    if (instance.changed) {
      changed.push_back(object);
    }
  }
  std::sort(changed.begin(), changed.end());
  return changed;
}

}  // namespace host
