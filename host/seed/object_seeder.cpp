#include "object_seeder.h"

#include "files.h"
#include "seeded_keys.h"
#include "utf8_path.h"

namespace host {

void ObjectSeeder::take(const Node& root) {
  const WithoutSigning as_the_seed_says(store_);
  for (const Node& node : root.items_of("objects")) {
    const tag object = take_object(node);
    const bool was_locked = store_.is_locked(object);
    store_.lock(object);
    taken_.push_back({node, object, was_locked});
  }
  // All of them are there now, since they may refer to one another.
  std::vector<tag> changed;
  for (const Taken& taken : taken_) {
    take_values(taken.node, taken.object);
    changed.push_back(taken.object);
  }
  at_place(root, [&] { store_.save(changed); });
  for (const Taken& taken : taken_) {
    if (const auto key = taken.node.find("key")) {
      note_object_of_seed(store_, key->name(), taken.object);
    }
    if (!taken.was_locked) {
      store_.unlock(taken.object);
    }
  }
}

tag ObjectSeeder::take_object(const Node& node) {
  node.allow_only({"object", "key", "class", "id", "path", "values", "files"});
  const auto place = node.find("object");
  const tag object = place ? find_object(*place) : take_keyed(node);
  if (const auto type = node.find("class"); type && store_.class_of(object).name != type->text()) {
    type->refuse("the object exists with class \"" + store_.class_of(object).name + "\"");
  }
  return object;
}

tag ObjectSeeder::take_keyed(const Node& node) {
  const Node class_name = node.at("class");
  const Class* const type = store_.find_class(class_name.name());
  if (type == nullptr || type->is_abstract || !type->is_a(store_.class_named("Object"))) {
    class_name.refuse("there is no class \"" + class_name.text() + "\" that has objects");
  }
  const std::string key = node.at("key").name();
  if (run_.keyed.contains(key)) {
    node.at("key").refuse("is given twice");
  }
  const tag known = object_of_seed(store_, key);
  return run_.keyed[key] = known != NULLTAG ? known : make(node, *type);
}

/** A file's contents come with it, once. */
tag ObjectSeeder::make(const Node& node, const Class& type) {
  const auto path = node.find("path");
  if (!path) {
    return at_place(node, [&] { return store_.create(type); });
  }
  if (type.name != "VeloFile") {
    path->refuse("objects of class " + type.name + " have no contents");
  }
  return at_place(*path, [&] {
    const std::string from = (folder_ / utf8_path(path->name())).string();
    return import_file(from, last_part(path->name()), SS_BINARY);
  });
}

void ObjectSeeder::take_values(const Node& node, tag object) {
  const auto values = node.find("values");
  if (!values) {
    return;
  }
  const Class& type = store_.class_of(object);
  for (const auto& [name, value] : values->members()) {
    const Attribute* const attribute = type.find_attribute(name);
    if (attribute == nullptr) {
      value.refuse("class " + type.name + " has no attribute of this name");
    }
    Values wanted = values_of(value, *attribute);
    at_place(value, [&, attribute_name = name] {
      if (store_.values(object, attribute_name) != wanted) {
        store_.set_values(object, attribute_name, std::move(wanted));
      }
    });
  }
}

}  // namespace host
