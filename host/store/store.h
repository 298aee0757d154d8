/**
 * @file
 * The store: instances with the values of their class's attributes, in a site's file and, once
 * loaded, in memory. The operations of all modules stand on it.
 *
 * One counter numbers instances, classes and attributes, so that each number means one thing on a
 * site. It only goes up, and a deleted instance leaves its number behind, marked as deleted.
 *
 * A change stays in this process until the instance is saved, which is one transaction. It needs
 * the instance's lock, a row of the file that names its holder. A new instance is its maker's until
 * the first save, and is locked after it. Whoever gets a lock sees what was saved before.
 *
 * The file:
 *   meta        name, value: "schema_version", "next_number", and settings of the site
 *   class       id, name, parent
 *   attribute   id, class, name, kind, list, max_length
 *   instance    tag, class, version (counts saves), deleted
 *   value       instance, attribute, position in the list, content
 *   lock        instance, user_id, node, holder (presence.h), since
 *   password    user, hash (password.h)
 *   preference  name, position, value (preferences.h)
 *   text        language, key, text (site_texts.h)
 */
#pragma once

#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "origin.h"
#include "ork/ork.h"
#include "os.h"
#include "presence.h"
#include "registry.h"
#include "sqlite.h"
#include "transients.h"
#include "values.h"

namespace host {

struct Attribute : AttributeDefinition {
  std::uint32_t id = 0;
};

struct Class {
  std::uint32_t id = 0;
  std::string name;
  const Class* parent = nullptr;
  std::vector<std::unique_ptr<Attribute>> own; /**< without the inherited ones */

  /** Attributes, inherited ones included. An instance keeps its values in this order. */
  std::vector<const Attribute*> slots;
  std::unordered_map<std::string, std::size_t> slot_by_name;

  const Class* key_owner = nullptr; /**< the class whose instances share no key; may be null */
  std::vector<std::string> key;
  int key_taken = 0;
  bool is_abstract = false;
  bool is_built_in = false;
  std::vector<std::vector<std::string>> side_by_side; /**< lists that have one length */

  /** Whether this is a class or descends from it. */
  bool is_a(const Class& ancestor) const;

  const Attribute* find_attribute(const std::string& attribute_name) const;
};

/** States of an instance in this process. */
enum class InstanceState { not_loaded = 7001, loaded = 7002, is_new = 7003 };

struct LockHolder {
  std::string user_id;
  std::string node;
  std::string process; /**< its name (presence.h) */
  date_s since{};
};

/** On whose behalf the store creates, changes and locks. */
struct Identity {
  std::string user_id;
  tag user = NULLTAG;
  tag group = NULLTAG;
};

class Store {
 public:
  /** Opens the store in a database and completes it there: tables, built-in classes and types. */
  Store(Database& database, Presence& presence);
  Store(const Store&) = delete;
  Store& operator=(const Store&) = delete;

  Database& database() { return database_; }
  const Identity& identity() const { return identity_; }
  void set_identity(Identity identity) { identity_ = std::move(identity); }

  // Classes.

  /** Finds a class; null when there is none of that name. */
  const Class* find_class(const std::string& name);

  /** A class that must exist. */
  const Class& class_named(const std::string& name);

  /** A class that must exist, by the number that stands for it. */
  const Class& class_with_id(std::uint32_t id);

  /** The same, which may not exist: null then. */
  const Class* find_class_with_id(std::int64_t id);

  /** Classes in the order in which they were defined. */
  std::vector<const Class*> classes() const;

  const Class& define_class(const std::string& name, const Class& parent);

  /** Adds an attribute to a class; one of that name must exist neither there nor below. */
  void define_attribute(const Class& owner, const AttributeDefinition& definition);

  using Criteria = std::vector<std::pair<std::string, Scalar>>;

  // Instances. A tag that is none is refused with STORE_unknown_tag or STORE_deleted_tag.

  tag create(const Class& type);

  /** With these values; when one is refused, nothing is created. */
  tag create(const Class& type, const Criteria& values);

  /** Values by attribute. */
  using Lists = std::vector<std::pair<const Attribute*, Values>>;

  /**
   * Makes an instance with these values that is saved at once; now and by the store's identity,
   * where they do not say otherwise. Unlike one from `create` it is neither locked nor in memory,
   * so that any number of them can be made.
   */
  tag insert(const Class& type, const Lists& values);

  /** What an attribute holds for one value: nothing for the null reference and the null date. */
  static Values single_value(Scalar value);

  /** Refuses what an attribute does not take. */
  static void check_value(const Attribute& attribute, const Scalar& value);

  /** Whether a tag stands for an instance, one that others have not deleted since. */
  bool exists(tag object);

  void load(tag object) { class_of(object); }

  /** Drops values from memory; a new or changed instance is refused with STORE_not_saved. */
  void unload(tag object);
  InstanceState state(tag object);
  const Class& class_of(tag object);
  bool is_a(tag object, const std::string& class_name) {
    return class_of(object).is_a(class_named(class_name));
  }

  /** Takes the lock and sees to it that the values are the saved ones. */
  void lock(tag object);

  /** With a lock: takes it. Without: drops what was not saved, gives the lock back, reads anew. */
  void refresh(tag object, bool for_change);

  bool is_locked(tag object);

  /** Who holds the lock, in whatever process; nobody when that process is gone. */
  std::optional<LockHolder> lock_holder(tag object);

  /** Instances with a lock that somebody holds. */
  std::vector<tag> locked_instances();

  /** Takes a lock away from whoever holds it; false when nobody does. */
  bool take_lock_away(tag object);

  /** Instances that this process has locked, and inside what. */
  std::vector<std::pair<tag, Origin>> own_locks() const;

  /** Has a change without the lock say why there is none: the reason of a refusal. */
  void note_refused_lock(tag object, const std::string& reason);

  void save(tag object) { save(std::vector<tag>{object}); }

  /** Saves all of them in one transaction, or none. They may refer to one another. */
  void save(const std::vector<tag>& objects);

  /**
   * Deletes an instance that this process has locked, with its parts, in one transaction. No saved
   * instance that stays may refer to any of them.
   */
  void remove(tag object, const std::vector<tag>& parts = {});

  /** A saved instance that refers to an instance, or NULLTAG; it itself and one other aside. */
  tag referrer(tag object, tag aside = NULLTAG);

  /** Forgets an instance that this process has made and that is not in the file. */
  void drop(tag object);

  /** Gives a lock back and keeps the values in memory; refused with unsaved changes. */
  void unlock(tag object);

  /** Reads an instance anew if another process has saved it since. */
  void bring_up_to_date(tag object);

  bool has_unsaved_changes() const { return !changed_instances().empty(); }

  /** New and changed instances, in the order of their tags. */
  std::vector<tag> changed_instances() const;

  /**
   * Drops from memory what was read or changed after a stamp, but for what is locked or not saved:
   * for those that go through a whole site.
   */
  void forget_since(std::uint64_t stamp);
  std::uint64_t last_stamp() const { return last_stamp_; }

  /** Gives all locks back. One that cannot be given back at once ends with the process's name. */
  void release_locks();

  // Values. They stay valid until the instance is next changed, refreshed or unloaded; those of a
  // transient object, until the values of the next one are read.

  const Values& values(tag object, const std::string& attribute);

  /** The values of single-valued attributes; empty, 0 or null where there is no value. */
  const std::string& text(tag object, const std::string& attribute);
  tag reference(tag object, const std::string& attribute);

  /** A reference that objects of this kind always have; one without is refused as damaged. */
  tag required_reference(tag object, const std::string& attribute);

  bool logical_value(tag object, const std::string& attribute);
  int integer(tag object, const std::string& attribute);
  date_s date(tag object, const std::string& attribute);

  /** Whether setting the value would change nothing. */
  bool has_value(tag object, const std::string& attribute, const Scalar& value);

  /** Sets a value; the null reference and the null date stand for none. */
  void set(tag object, const std::string& attribute, Scalar value);
  void set_values(tag object, const std::string& attribute, Values values);

  /** These change one value of a list, for lists that are too long to be set as a whole. */
  void set_element(tag object, const std::string& attribute, std::size_t position, Scalar value);
  void append(tag object, const std::string& attribute, Scalar value);
  void erase(tag object, const std::string& attribute, std::size_t position);

  /** A number that is another one whenever values have changed or were read anew. */
  std::uint64_t stamp(tag object) { return loaded(object).stamp; }

  // Queries. They find what is saved, in the order in which it was created.

  /** Instances of a class and its subclasses, with these values. */
  std::vector<tag> find(const std::string& class_name, const Criteria& criteria = {});

  /** The same, one by one: `see(object, class)` returns whether it wants to see more. */
  template <typename See>
  void for_each(const std::string& class_name, const Criteria& criteria, const See& see);

  /** The first of them, or NULLTAG. */
  tag find_one(const std::string& class_name, const Criteria& criteria);

  /** Those of them that this process has made and that were never saved. */
  std::vector<tag> find_new(const std::string& class_name, const Criteria& criteria);

  /** The saved references of one instance, which is not loaded for this. */
  std::vector<tag> saved_references(tag object, const Attribute& attribute);

  /** The saved values of a single-valued attribute, of all instances that have one. */
  std::unordered_map<tag, Scalar> saved_values(const std::string& class_name,
                                               const std::string& attribute);

  /** A type, of objects or of relations, or NULLTAG. Types stay, so a found one is remembered. */
  tag find_type(const std::string& name);

  // Objects that are no instances.

  Transients& transients() { return transients_; }

  /** The object with a tag; null when it is not a transient one. */
  Transient* find_transient(tag object) const { return transients_.find(object); }

  /** Whether who saves an instance, and when, is noted in it. */
  void set_signing(bool signs) { signs_ = signs; }
  bool is_signing() const { return signs_; }

  // Numbers that this process has had mean one thing to it, also where a transaction was undone.

  std::uint32_t first_unused_number() const { return first_unused_number_; }
  void skip_numbers(std::uint32_t first) { first_unused_number_ = first; }

  // Settings of the site.

  std::optional<std::string> setting(const std::string& name);
  void set_setting(const std::string& name, const std::string& value);

 private:
  struct Slot {
    Values values;
    bool changed = false;
  };
  struct Instance {
    const Class* type = nullptr;
    InstanceState state = InstanceState::not_loaded;
    bool locked = false;
    bool changed = false;
    std::int64_t version = 0;
    std::uint64_t stamp = 0;
    std::vector<Slot> slots;
  };

  /** What is known while many instances are made in one transaction. */
  struct Batch {
    std::uint32_t next_number;
    std::unordered_set<tag> existing; /**< some of the instances that references were made to */
  };
  friend class InsertBatch;
  void begin_batch();
  void end_batch();

  std::uint32_t next_number();
  std::uint32_t checked_number(std::int64_t number);
  bool is_referable(tag object);

  void create_tables();
  void add_later_tables();
  void complete_built_ins();
  void check_built_in(const Class& type, const ClassDefinition& definition) const;
  bool add_missing_classes(bool write);
  bool add_missing_types(bool write);
  bool add_missing_tools(bool write);
  bool add_missing_objects(bool write);
  void load_classes();
  Class& add_class(std::uint32_t id, const std::string& name, const Class* parent);
  void add_attribute(Class& owner, std::unique_ptr<Attribute> attribute);

  Instance& loaded(tag object);
  void read(tag object, Instance& instance);
  Instance read_saved(tag object);
  [[noreturn]] void refuse_missing(tag object, bool is_deleted);
  static void check_lists(tag object, const Instance& instance);
  std::optional<std::int64_t> saved_version(tag object);
  void write_instance(tag object, const Instance& instance);
  void write_values(tag object, const Instance& instance);
  void note_saved(tag object, Instance& instance);
  void erase_rows(tag object);
  void sign(tag object, Instance& instance);
  void check_key(tag object, const Instance& instance);
  void check_references(const Slot& slot);
  void write_slot(tag object, const Attribute& attribute, const Slot& slot);
  void insert_values(tag object, const Attribute& attribute, const Values& values);
  static std::string query_text(std::size_t criteria);
  static void bind_criteria(Query& query, const Class& wanted, const Criteria& criteria);
  template <typename Value>
  Value single(tag object, const std::string& attribute);
  Slot& slot_of(Instance& instance, const std::string& attribute, const Attribute** definition);
  Slot& list_of(Instance& instance, tag object, const std::string& attribute, const Scalar* value);
  void require_changeable(tag object, const Instance& instance) const;
  void note_change(Instance& instance, Slot& slot);
  const Values& transient_values(Transient& object, const std::string& attribute);

  bool is_own(const LockHolder& holder) const;
  std::optional<LockHolder> read_lock(tag object);
  void refuse_lock_of_other(tag object);
  void take_lock(tag object);
  void give_lock_back(tag object, Instance& instance);
  void require_own_lock(tag object);
  [[noreturn]] void refuse_unlocked(tag object) const;

  Database& database_;
  Presence& presence_;
  std::string node_;
  Identity identity_;
  std::unordered_map<std::uint32_t, std::unique_ptr<Class>> classes_;
  std::unordered_map<std::string, Class*> class_by_name_;
  std::unordered_map<tag, Instance> instances_;
  std::unordered_map<tag, std::string> refused_locks_; /**< since the last one that was taken */
  std::unordered_map<tag, Origin> lock_origins_;       /**< where they are wanted */
  std::set<tag> new_;                                  /**< those of them that were never saved */
  std::unordered_map<std::string, tag> type_by_name_;
  std::uint32_t first_unused_number_ = 0;
  bool signs_ = true;
  std::uint64_t last_stamp_ = 0;
  Transients transients_;
  Values transient_values_;
  std::optional<Batch> batch_;
};

/**
 * While one lives, in a transaction, numbers are given out in memory and references are looked up
 * once. The numbers come into the file when it is ended; a store whose batch was not is dropped.
 */
class InsertBatch {
 public:
  explicit InsertBatch(Store& store) : store_(store) { store_.begin_batch(); }
  InsertBatch(const InsertBatch&) = delete;
  InsertBatch& operator=(const InsertBatch&) = delete;
  void end() { store_.end_batch(); }

 private:
  Store& store_;
};

/** Dates of changes are those that are set while one lives, and not those of now. */
class WithoutSigning {
 public:
  explicit WithoutSigning(Store& store) : store_(store), signed_(store.is_signing()) {
    store_.set_signing(false);
  }
  ~WithoutSigning() { store_.set_signing(signed_); }
  WithoutSigning(const WithoutSigning&) = delete;
  WithoutSigning& operator=(const WithoutSigning&) = delete;

 private:
  Store& store_;
  bool signed_;
};

/** Locks an instance for as long as it lives, unless it was locked before. */
class LockGuard {
 public:
  LockGuard(Store& store, tag object);
  ~LockGuard();
  LockGuard(const LockGuard&) = delete;
  LockGuard& operator=(const LockGuard&) = delete;

 private:
  Store& store_;
  tag object_;
  bool taken_;
};

template <typename See>
void Store::for_each(const std::string& class_name, const Criteria& criteria, const See& see) {
  const Class& wanted = class_named(class_name);
  const std::string sql = query_text(criteria.size());
  Query query(database_, sql);
  bind_criteria(query, wanted, criteria);
  tag last = NULLTAG;
  while (query.next()) {
    const auto object = static_cast<tag>(query.integer(0));
    if (object == last) {
      continue;  // its list has the value several times
    }
    last = object;
    const Class& type = class_with_id(static_cast<std::uint32_t>(query.integer(1)));
    if (type.is_a(wanted) && !see(object, type)) {
      return;
    }
  }
}

}  // namespace host
