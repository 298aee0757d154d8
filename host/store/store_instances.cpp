// Instances and their values.

#include <algorithm>
#include <cmath>
#include <iterator>

#include "failure.h"
#include "ork/store.h"
#include "store.h"

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

bool is_no_value(const Scalar& value) {
  if (const auto* reference = std::get_if<tag>(&value)) {
    return *reference == NULLTAG;
  }
  if (const auto* date = std::get_if<date_s>(&value)) {
    return *date == date_s{};
  }
  return false;
}

void bind_value(Query& query, const Scalar& value) {
  const auto bind = [&query](const auto& content) {
    if constexpr (std::is_same_v<std::decay_t<decltype(content)>, date_s>) {
      query.bind(date_text(content));
    } else {
      query.bind(content);
    }
  };
  std::visit(bind, value);
}

Scalar read_value(const Query& query, int column, Kind kind) {
  switch (kind) {
    case Kind::text:
      return query.text(column);
    case Kind::integer:
      return static_cast<int>(query.integer(column));
    case Kind::real:
      return query.real(column);
    case Kind::logical:
      return query.integer(column) != 0;
    case Kind::date:
      return parse_date(query.text(column));
    case Kind::reference:
      return static_cast<tag>(query.integer(column));
  }
  refuse(ORK_internal_error, "a value of no kind");
}

void check_value(const Attribute& attribute, const Scalar& value) {
  if (value.index() != static_cast<std::size_t>(attribute.kind)) {
    refuse(STORE_wrong_value_type, attribute.name);
  }
  if (const auto* text = std::get_if<std::string>(&value)) {
    if (text->size() > static_cast<std::size_t>(attribute.max_length)) {
      refuse(STORE_value_too_long, attribute.name + " takes " +
                                       std::to_string(attribute.max_length) + " bytes, not " +
                                       std::to_string(text->size()));
    }
  }
  if (const auto* real = std::get_if<double>(&value); real != nullptr && !std::isfinite(*real)) {
    refuse(ORK_invalid_argument, attribute.name + " takes finite numbers only");
  }
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

/** Replaces what is in memory by what is saved. One statement reads one state of the file. */
void Store::read(tag object, Instance& instance) {
  Query query(database_,
              "SELECT i.class, i.version, i.deleted, v.attribute, v.content FROM instance i "
              "LEFT JOIN value v ON v.instance = i.tag WHERE i.tag = ? "
              "ORDER BY v.attribute, v.position",
              object);
  if (!query.next()) {
    refuse(STORE_unknown_tag, std::to_string(object));
  }
  if (query.integer(2) != 0) {
    refuse(STORE_deleted_tag, object_text(object));
  }
  const Class& type = class_with_id(static_cast<std::uint32_t>(query.integer(0)));
  Instance fresh;
  fresh.type = &type;
  fresh.locked = instance.locked;
  fresh.version = query.integer(1);
  fresh.stamp = ++last_stamp_;
  fresh.state = InstanceState::loaded;
  fresh.slots.resize(type.slots.size());
  std::unordered_map<std::int64_t, std::size_t> slot_by_id;
  for (std::size_t i = 0; i < type.slots.size(); ++i) {
    slot_by_id.emplace(type.slots[i]->id, i);
  }
  do {
    if (query.is_null(3)) {
      break;  // no values at all
    }
    const auto slot = slot_by_id.find(query.integer(3));
    if (slot == slot_by_id.end()) {
      continue;  // of an attribute that another process has just added
    }
    fresh.slots[slot->second].values.push_back(
        read_value(query, 4, type.slots[slot->second]->kind));
  } while (query.next());
  instance = std::move(fresh);
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
  int position = 0;
  for (const Scalar& value : slot.values) {
    Query insert(database_, "INSERT INTO value VALUES(?, ?, ?, ?)", object, attribute.id,
                 position++);
    bind_value(insert, value);
    insert.next();
  }
}

/** Notes who saves an instance, and when. */
void Store::sign(tag object, Instance& instance) {
  if (instance.type->find_attribute("last_mod_date") == nullptr) {
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
    const Values& key = values(object, name);
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

void Store::check_references(const Slot& slot) {
  for (const Scalar& value : slot.values) {
    const auto* target = std::get_if<tag>(&value);
    if (target == nullptr || *target == NULLTAG || saved_version(*target)) {
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
    refuse(STORE_not_locked, object_text(object));
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

bool Store::has_unsaved_changes() const {
  for (const auto& [object, instance] : instances_) {
    if (instance.changed) {
      return true;
    }
  }
  return false;
}

void Store::save_all() {
  std::vector<tag> changed;
  for (const auto& [object, instance] : instances_) {
    if (instance.changed) {
      changed.push_back(object);
    }
  }
  std::sort(changed.begin(), changed.end());
  save(changed);
}

Store::Slot& Store::slot_of(Instance& instance, const std::string& attribute,
                            const Attribute** definition) {
  const Class& type = *instance.type;
  const auto found = type.slot_by_name.find(attribute);
  if (found == type.slot_by_name.end()) {
    refuse(STORE_unknown_attribute, type.name + " has no " + attribute);
  }
  if (definition != nullptr) {
    *definition = type.slots[found->second];
  }
  // The class may have got attributes since the instance was loaded.
  if (instance.slots.size() < type.slots.size()) {
    instance.slots.resize(type.slots.size());
  }
  return instance.slots[found->second];
}

const Values& Store::transient_values(Transient& object, const std::string& attribute) {
  const Class& type = class_named(object.class_name());
  if (type.find_attribute(attribute) == nullptr) {
    refuse(STORE_unknown_attribute, type.name + " has no " + attribute);
  }
  transient_values_.clear();
  object.read(attribute, &transient_values_);
  return transient_values_;
}

const Values& Store::values(tag object, const std::string& attribute) {
  if (Transient* transient = find_transient(object)) {
    return transient_values(*transient, attribute);
  }
  return slot_of(loaded(object), attribute, nullptr).values;
}

const std::string& Store::text(tag object, const std::string& attribute) {
  static const std::string none;
  const Values& held = values(object, attribute);
  return held.empty() ? none : std::get<std::string>(held.front());
}

template <typename Value>
Value Store::single(tag object, const std::string& attribute) {
  const Values& held = values(object, attribute);
  return held.empty() ? Value{} : std::get<Value>(held.front());
}

tag Store::reference(tag object, const std::string& attribute) {
  return single<tag>(object, attribute);
}

bool Store::logical_value(tag object, const std::string& attribute) {
  return single<bool>(object, attribute);
}

int Store::integer(tag object, const std::string& attribute) {
  return single<int>(object, attribute);
}

date_s Store::date(tag object, const std::string& attribute) {
  return single<date_s>(object, attribute);
}

bool Store::has_value(tag object, const std::string& attribute, const Scalar& value) {
  const Values& held = values(object, attribute);
  return held.empty() ? is_no_value(value) : held.front() == value;
}

void Store::set(tag object, const std::string& attribute, Scalar value) {
  const Class& type = class_of(object);
  const Attribute* definition = type.find_attribute(attribute);
  if (definition == nullptr) {
    refuse(STORE_unknown_attribute, type.name + " has no " + attribute);
  }
  if (definition->list) {
    refuse(STORE_wrong_value_type, attribute + " is a list");
  }
  check_value(*definition, value);
  if (Transient* transient = find_transient(object)) {
    transient->write(attribute, value);
    return;
  }
  Values values;
  if (!is_no_value(value)) {
    values.push_back(std::move(value));
  }
  set_values(object, attribute, std::move(values));
}

void Store::set_values(tag object, const std::string& attribute, Values values) {
  Instance& instance = loaded(object);
  const Attribute* definition = nullptr;
  Slot& slot = slot_of(instance, attribute, &definition);
  if (!definition->list && values.size() > 1) {
    refuse(STORE_wrong_value_type, attribute + " is not a list");
  }
  for (const Scalar& value : values) {
    check_value(*definition, value);
  }
  require_changeable(object, instance);
  if (slot.values == values) {
    return;
  }
  slot.values = std::move(values);
  note_change(instance, slot);
}

void Store::require_changeable(tag object, const Instance& instance) const {
  if (instance.state != InstanceState::is_new && !instance.locked) {
    refuse(STORE_not_locked, object_text(object));
  }
}

void Store::note_change(Instance& instance, Slot& slot) {
  slot.changed = true;
  instance.changed = true;
  instance.stamp = ++last_stamp_;
}

/** A list that may be changed, by this value if there is one. */
Store::Slot& Store::list_of(Instance& instance, tag object, const std::string& attribute,
                            const Scalar* value) {
  const Attribute* definition = nullptr;
  Slot& slot = slot_of(instance, attribute, &definition);
  if (!definition->list) {
    refuse(STORE_wrong_value_type, attribute + " is not a list");
  }
  if (value != nullptr) {
    check_value(*definition, *value);
  }
  require_changeable(object, instance);
  return slot;
}

void Store::set_element(tag object, const std::string& attribute, std::size_t position,
                        Scalar value) {
  Instance& instance = loaded(object);
  Slot& list = list_of(instance, object, attribute, &value);
  if (list.values.at(position) == value) {
    return;
  }
  list.values[position] = std::move(value);
  note_change(instance, list);
}

void Store::append(tag object, const std::string& attribute, Scalar value) {
  Instance& instance = loaded(object);
  Slot& list = list_of(instance, object, attribute, &value);
  list.values.push_back(std::move(value));
  note_change(instance, list);
}

void Store::erase(tag object, const std::string& attribute, std::size_t position) {
  Instance& instance = loaded(object);
  Slot& list = list_of(instance, object, attribute, nullptr);
  static_cast<void>(list.values.at(position));
  list.values.erase(list.values.begin() + static_cast<std::ptrdiff_t>(position));
  note_change(instance, list);
}

std::vector<tag> Store::find(const std::string& class_name, const Criteria& criteria) {
  const Class& wanted = class_named(class_name);
  std::string sql = "SELECT DISTINCT i.tag, i.class FROM instance i";
  for (std::size_t n = 0; n < criteria.size(); ++n) {
    std::string alias = "v";
    alias += std::to_string(n);
    sql += " JOIN value " + alias + " ON " + alias + ".instance = i.tag AND " + alias +
           ".attribute = ? AND " + alias + ".content = ?";
  }
  sql += " WHERE i.deleted = 0 ORDER BY i.tag";
  Query query(database_, sql);
  for (const auto& [name, value] : criteria) {
    const Attribute* attribute = wanted.find_attribute(name);
    if (attribute == nullptr) {
      refuse(STORE_unknown_attribute, wanted.name + " has no " + name);
    }
    query.bind(attribute->id);
    bind_value(query, value);
  }
  std::vector<tag> found;
  while (query.next()) {
    if (class_with_id(static_cast<std::uint32_t>(query.integer(1))).is_a(wanted)) {
      found.push_back(static_cast<tag>(query.integer(0)));
    }
  }
  return found;
}

std::vector<tag> Store::find_new(const std::string& class_name, const Criteria& criteria) {
  const Class& wanted = class_named(class_name);
  const auto is_wanted = [&](tag object) {
    return class_of(object).is_a(wanted) &&
           std::all_of(criteria.begin(), criteria.end(), [&](const auto& criterion) {
             return has_value(object, criterion.first, criterion.second);
           });
  };
  std::vector<tag> found;
  std::copy_if(new_.begin(), new_.end(), std::back_inserter(found), is_wanted);
  return found;
}

std::unordered_map<tag, Scalar> Store::saved_values(const std::string& class_name,
                                                    const std::string& attribute) {
  const Class& wanted = class_named(class_name);
  const Attribute* definition = wanted.find_attribute(attribute);
  if (definition == nullptr) {
    refuse(STORE_unknown_attribute, wanted.name + " has no " + attribute);
  }
  Query query(database_, "SELECT instance, content FROM value WHERE attribute = ?", definition->id);
  std::unordered_map<tag, Scalar> values;
  while (query.next()) {
    values.emplace(static_cast<tag>(query.integer(0)), read_value(query, 1, definition->kind));
  }
  return values;
}

tag Store::find_type(const std::string& name) {
  const auto known = type_by_name_.find(name);
  if (known != type_by_name_.end()) {
    return known->second;
  }
  const tag type = find_one("Type", {{"type_name", name}});
  if (type != NULLTAG) {
    type_by_name_.emplace(name, type);
  }
  return type;
}

tag Store::find_one(const std::string& class_name, const Criteria& criteria) {
  const std::vector<tag> found = find(class_name, criteria);
  return found.empty() ? NULLTAG : found.front();
}

}  // namespace host
