// The store's tables, its classes and its settings.

#include <algorithm>

#include "failure.h"
#include "file_references.h"
#include "ork/store.h"
#include "schema.h"
#include "seeded_keys.h"
#include "store.h"

namespace host {

namespace {

constexpr int schema_version = 1;

constexpr const char* schema = R"(
CREATE TABLE meta(name TEXT PRIMARY KEY, value NOT NULL) WITHOUT ROWID;
CREATE TABLE class(
  id INTEGER PRIMARY KEY, name TEXT NOT NULL UNIQUE, parent INTEGER REFERENCES class);
CREATE TABLE attribute(
  id INTEGER PRIMARY KEY, class INTEGER NOT NULL REFERENCES class, name TEXT NOT NULL,
  kind TEXT NOT NULL, list INTEGER NOT NULL, max_length INTEGER NOT NULL, UNIQUE(class, name));
CREATE TABLE instance(
  tag INTEGER PRIMARY KEY, class INTEGER NOT NULL REFERENCES class, version INTEGER NOT NULL,
  deleted INTEGER NOT NULL DEFAULT 0);
CREATE TABLE value(
  instance INTEGER NOT NULL REFERENCES instance, attribute INTEGER NOT NULL REFERENCES attribute,
  position INTEGER NOT NULL, content NOT NULL,
  PRIMARY KEY(instance, attribute, position)) WITHOUT ROWID;
CREATE INDEX value_by_content ON value(attribute, content);
CREATE TABLE lock(
  instance INTEGER PRIMARY KEY REFERENCES instance, user_id TEXT NOT NULL, node TEXT NOT NULL,
  holder TEXT NOT NULL, since TEXT NOT NULL);
CREATE TABLE password(user INTEGER PRIMARY KEY REFERENCES instance, hash TEXT NOT NULL);
CREATE TABLE preference(
  name TEXT NOT NULL, position INTEGER NOT NULL, value TEXT NOT NULL,
  PRIMARY KEY(name, position)) WITHOUT ROWID;
INSERT INTO meta VALUES('next_number', 1);
)";

/** What sites that were made without it get when they are opened. */
constexpr const char* later_tables = R"(
CREATE TABLE IF NOT EXISTS text(
  language TEXT NOT NULL, key TEXT NOT NULL, text TEXT NOT NULL,
  PRIMARY KEY(language, key)) WITHOUT ROWID;
)";

const std::string all_tables = std::string(schema) + later_tables;

/** Locks that were kept under numbers of processes: theirs have ended. */
constexpr const char* later_lock_table = R"(
DROP TABLE lock;
CREATE TABLE lock(
  instance INTEGER PRIMARY KEY REFERENCES instance, user_id TEXT NOT NULL, node TEXT NOT NULL,
  holder TEXT NOT NULL, since TEXT NOT NULL);
)";

std::int64_t single_number(Database& database, const char* sql) {
  Query query(database, sql);
  return query.next() ? query.integer(0) : 0;
}

}  // namespace

bool Class::is_a(const Class& ancestor) const {
  for (const Class* type = this; type != nullptr; type = type->parent) {
    if (type == &ancestor) {
      return true;
    }
  }
  return false;
}

const Attribute* Class::find_attribute(const std::string& attribute_name) const {
  const auto found = slot_by_name.find(attribute_name);
  return found == slot_by_name.end() ? nullptr : slots[found->second];
}

Store::Store(Database& database, Presence& presence)
    : database_(database), presence_(presence), node_(os::node_name()) {
  create_tables();
  load_classes();
  complete_built_ins();
  if (presence.name_so_far().empty()) {
    return;
  }
  Query locks(database_, "SELECT instance FROM lock WHERE holder = ?", presence.name_so_far());
  while (locks.next()) {
    instances_[static_cast<tag>(locks.integer(0))].locked = true;
  }
}

void Store::create_tables() {
  const auto is_site = [this] { return has_site_mark(database_); };
  if (!is_site()) {
    if (single_number(database_, "SELECT count(*) FROM sqlite_master") != 0 && !is_site()) {
      refuse(ORK_site_not_available, database_.path() + " is a database of another program");
    }
    database_.log_ahead();
    Transaction transaction(database_);
    if (!is_site()) {
      database_.execute(schema);
      set_setting("schema_version", std::to_string(schema_version));
      database_.execute(("PRAGMA application_id = " + std::to_string(site_application_id)).c_str());
    }
    transaction.commit();
  }
  // Write-ahead logging without a sync per commit: a commit survives the process, in the kernel.
  database_.execute("PRAGMA synchronous = NORMAL; PRAGMA foreign_keys = ON");
  const std::string version = setting("schema_version").value_or("");
  if (version != std::to_string(schema_version)) {
    refuse(ORK_site_not_available, database_.path() + " has format " + version +
                                       ", and this program understands format " +
                                       std::to_string(schema_version));
  }
  add_later_tables();
  require_tables(database_, all_tables.c_str());
}

/** Looks first: nothing is written, and nobody is waited for, where they are there. */
void Store::add_later_tables() {
  const auto is_old = [this] {
    return single_number(database_,
                         "SELECT count(*) FROM pragma_table_info('lock') WHERE name = 'holder'") ==
           0;
  };
  const auto lacks_texts = [this] {
    return single_number(database_, "SELECT count(*) FROM sqlite_master WHERE name = 'text'") == 0;
  };
  if (!is_old() && !lacks_texts() && has_line_of_numbers(database_)) {
    return;
  }
  Transaction transaction(database_);
  if (is_old()) {
    database_.execute(later_lock_table);
  }
  database_.execute(later_tables);
  if (!has_line_of_numbers(database_)) {
    begin_line_of_numbers(database_);
  }
  transaction.commit();
}

void Store::complete_built_ins() {
  if (!add_missing_classes(false) && !add_missing_tools(false) && !add_missing_types(false) &&
      !add_missing_objects(false)) {
    return;
  }
  Transaction transaction(database_);
  load_classes();
  add_missing_classes(true);
  add_missing_tools(true);
  add_missing_types(true);
  add_missing_objects(true);
  transaction.commit();
}

/** What a file says of the classes that every site has. */
void Store::check_built_in(const Class& type, const ClassDefinition& definition) const {
  const std::string parent = type.parent != nullptr ? type.parent->name : "";
  if (parent != definition.parent) {
    refuse(ORK_site_damaged, "class " + type.name + " is below \"" + parent +
                                 "\", and not below \"" + definition.parent + "\"");
  }
  for (const AttributeDefinition& attribute : definition.attributes) {
    const Attribute* const found = type.find_attribute(attribute.name);
    if (found != nullptr && (found->kind != attribute.kind || found->list != attribute.list)) {
      refuse(ORK_site_damaged,
             "class " + type.name + ": its attribute " + attribute.name + " has another kind");
    }
  }
}

bool Store::add_missing_classes(bool write) {
  bool missing = false;
  for (const ClassDefinition& definition : built_in_classes()) {
    const auto found = class_by_name_.find(definition.name);
    if (found == class_by_name_.end() && !write) {
      return true;
    }
    if (found != class_by_name_.end()) {
      check_built_in(*found->second, definition);
    }
    const auto parent = class_by_name_.find(definition.parent);
    Class& type = found != class_by_name_.end()
                      ? *found->second
                      : add_class(0, definition.name,
                                  parent != class_by_name_.end() ? parent->second : nullptr);
    for (const AttributeDefinition& attribute : definition.attributes) {
      if (type.find_attribute(attribute.name) != nullptr) {
        continue;
      }
      missing = true;
      if (write) {
        define_attribute(type, attribute);
      }
    }
  }
  return missing;
}

bool Store::add_missing_tools(bool write) {
  bool missing = false;
  for (const ToolDefinition& definition : built_in_tools()) {
    if (find_one("Tool", {{"tool_name", definition.name}}) != NULLTAG) {
      continue;
    }
    missing = true;
    if (!write) {
      break;
    }
    const tag tool = create(class_named("Tool"), {{"tool_name", definition.name}});
    set_values(tool, "output_formats",
               {definition.output_formats.begin(), definition.output_formats.end()});
    save(tool);
    refresh(tool, false);
  }
  return missing;
}

bool Store::add_missing_types(bool write) {
  bool missing = false;
  for (const TypeDefinition& definition : built_in_types()) {
    if (find_one("Type", {{"type_name", std::string(definition.name)}}) != NULLTAG) {
      continue;
    }
    missing = true;
    if (!write) {
      break;
    }
    const tag type = create(class_named(definition.class_of_type));
    set(type, "type_name", std::string(definition.name));
    set(type, "type_class", std::string(definition.class_of_objects));
    set(type, "parent_type", find_type(definition.parent));
    for (const DatasetTypeDefinition& dataset_type : built_in_dataset_types()) {
      if (dataset_type.type == definition.name) {
        set(type, "default_tool", find_one("Tool", {{"tool_name", dataset_type.default_tool}}));
        set_file_references(*this, type, dataset_type.references);
      }
    }
    save(type);
    refresh(type, false);
  }
  return missing;
}

bool Store::add_missing_objects(bool write) {
  for (const auto& [class_name, attribute, name] : built_in_objects()) {
    const Criteria key = {{attribute, std::string(name)}};
    if (find_one(class_name, key) != NULLTAG) {
      continue;
    }
    if (!write) {
      return true;
    }
    const tag object = create(class_named(class_name), key);
    save(object);
    refresh(object, false);
  }
  return false;
}

void Store::load_classes() {
  Query classes(database_, "SELECT id, name, parent FROM class ORDER BY id");
  while (classes.next()) {
    const auto id = static_cast<std::uint32_t>(classes.integer(0));
    if (classes_.contains(id)) {
      continue;
    }
    const auto parent = classes_.find(static_cast<std::uint32_t>(classes.integer(2)));
    if (parent == classes_.end() && !classes.is_null(2)) {
      refuse(ORK_site_damaged,
             "class " + classes.text(1) + ": there is no class " + classes.text(2) + " before it");
    }
    add_class(id, classes.text(1), parent == classes_.end() ? nullptr : parent->second.get());
  }
  Query attributes(database_,
                   "SELECT id, class, name, kind, list, max_length FROM attribute ORDER BY id");
  while (attributes.next()) {
    const auto owner = classes_.find(static_cast<std::uint32_t>(attributes.integer(1)));
    if (owner == classes_.end()) {
      continue;  // another process has just defined it
    }
    auto attribute = std::make_unique<Attribute>();
    attribute->id = static_cast<std::uint32_t>(attributes.integer(0));
    attribute->name = attributes.text(2);
    if (!find_kind(attributes.text(3), &attribute->kind)) {
      refuse(ORK_site_damaged, "attribute " + attribute->name + " has an unknown kind");
    }
    attribute->list = attributes.integer(4) != 0;
    attribute->max_length = static_cast<int>(attributes.integer(5));
    if (const auto* built_in = find_built_in_attribute(owner->second->name, attribute->name)) {
      attribute->is_file_name = built_in->is_file_name;
    }
    if (owner->second->find_attribute(attribute->name) == nullptr) {
      add_attribute(*owner->second, std::move(attribute));
    }
  }
}

/** With id 0 it is a class that the file does not have yet. */
Class& Store::add_class(std::uint32_t id, const std::string& name, const Class* parent) {
  if (id == 0) {
    id = next_number();
    run(database_, "INSERT INTO class(id, name, parent) VALUES(?, ?, nullif(?, 0))", id, name,
        parent != nullptr ? parent->id : 0U);
  }
  auto added = std::make_unique<Class>();
  Class& type = *added;
  type.id = id;
  type.name = name;
  type.parent = parent;
  if (parent != nullptr) {
    type.slots = parent->slots;
    type.slot_by_name = parent->slot_by_name;
    type.key_owner = parent->key_owner;
    type.key = parent->key;
    type.key_taken = parent->key_taken;
    type.side_by_side = parent->side_by_side;
  }
  for (const ListsSideBySide& lists : lists_side_by_side()) {
    if (lists.class_name == name) {
      type.side_by_side.push_back(lists.attributes);
    }
  }
  const auto& known = built_in_classes();
  const auto definition = std::find_if(
      known.begin(), known.end(), [&](const ClassDefinition& entry) { return entry.name == name; });
  type.is_built_in = definition != known.end();
  type.is_abstract = type.is_built_in && definition->is_abstract;
  if (type.is_built_in && !definition->key.empty()) {
    type.key_owner = &type;
    type.key.assign(definition->key.begin(), definition->key.end());
    type.key_taken = definition->key_taken;
  }
  classes_.emplace(id, std::move(added));
  class_by_name_.emplace(name, &type);
  return type;
}

/** The new slot is the last one of each class, so that loaded instances keep theirs. */
void Store::add_attribute(Class& owner, std::unique_ptr<Attribute> attribute) {
  for (const auto& [id, type] : classes_) {
    if (!type->is_a(owner)) {
      continue;
    }
    type->slot_by_name.emplace(attribute->name, type->slots.size());
    type->slots.push_back(attribute.get());
  }
  owner.own.push_back(std::move(attribute));
}

const Class* Store::find_class(const std::string& name) {
  auto found = class_by_name_.find(name);
  if (found == class_by_name_.end()) {
    load_classes();  // another process may have defined it
    found = class_by_name_.find(name);
  }
  return found == class_by_name_.end() ? nullptr : found->second;
}

const Class& Store::class_named(const std::string& name) {
  const Class* type = find_class(name);
  if (type == nullptr) {
    refuse(STORE_unknown_class, name);
  }
  return *type;
}

const Class* Store::find_class_with_id(std::int64_t id) {
  const auto number = static_cast<std::uint32_t>(id);
  if (number != id) {
    return nullptr;
  }
  if (!classes_.contains(number)) {
    load_classes();
  }
  const auto found = classes_.find(number);
  return found == classes_.end() ? nullptr : found->second.get();
}

const Class& Store::class_with_id(std::uint32_t id) {
  const Class* const found = find_class_with_id(id);
  if (found == nullptr) {
    refuse(STORE_unknown_class, std::to_string(id));
  }
  return *found;
}

std::vector<const Class*> Store::classes() const {
  std::vector<const Class*> all;
  for (const auto& [id, type] : classes_) {
    all.push_back(type.get());
  }
  std::sort(all.begin(), all.end(),
            [](const Class* left, const Class* right) { return left->id < right->id; });
  return all;
}

const Class& Store::define_class(const std::string& name, const Class& parent) {
  Transaction transaction(database_);
  const Class& type = add_class(0, name, &parent);
  transaction.commit();
  return type;
}

void Store::define_attribute(const Class& owner, const AttributeDefinition& definition) {
  for (const auto& [id, type] : classes_) {
    if (type->is_a(owner) && type->find_attribute(definition.name) != nullptr) {
      refuse(ORK_invalid_argument,
             "class " + type->name + " already has an attribute " + definition.name);
    }
  }
  auto attribute = std::make_unique<Attribute>();
  static_cast<AttributeDefinition&>(*attribute) = definition;
  Transaction transaction(database_);
  attribute->id = next_number();
  run(database_,
      "INSERT INTO attribute(id, class, name, kind, list, max_length) VALUES(?, ?, ?, ?, ?, ?)",
      attribute->id, owner.id, definition.name, name_of(definition.kind), definition.list,
      definition.max_length);
  transaction.commit();
  add_attribute(*classes_.at(owner.id), std::move(attribute));
}

std::uint32_t Store::next_number() {
  if (batch_) {
    return batch_->next_number = checked_number(std::int64_t{batch_->next_number} + 1);
  }
  Query query(database_,
              "UPDATE meta SET value = max(value, ?) + 1 WHERE name = 'next_number' "
              "RETURNING value - 1",
              first_unused_number_);
  query.next();
  const std::int64_t number = query.integer(0);
  query.next();  // runs it to its end, where SQLite commits it
  return checked_number(number);
}

/** A number that is given out from now on. */
std::uint32_t Store::checked_number(std::int64_t number) {
  if (number < 1) {
    refuse(ORK_site_damaged, "its next_number is " + std::to_string(number));
  }
  if (number >= first_transient) {
    refuse(ORK_site_not_available, "the site has used up its object numbers");
  }
  first_unused_number_ = static_cast<std::uint32_t>(number) + 1;
  return static_cast<std::uint32_t>(number);
}

void Store::begin_batch() {
  batch_.emplace(Batch{next_number(), {}});
}

void Store::end_batch() {
  run(database_, "UPDATE meta SET value = max(value, ?) WHERE name = 'next_number'",
      batch_->next_number + 1);
  batch_.reset();
}

std::optional<std::string> Store::setting(const std::string& name) {
  Query query(database_, "SELECT value FROM meta WHERE name = ?", name);
  if (!query.next()) {
    return std::nullopt;
  }
  return query.text(0);
}

void Store::set_setting(const std::string& name, const std::string& value) {
  run(database_, "INSERT INTO meta VALUES(?, ?) ON CONFLICT(name) DO UPDATE SET value = ?", name,
      value, value);
}

}  // namespace host
