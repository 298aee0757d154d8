#include "object_seeder.h"

#include <limits>

#include "files.h"
#include "known_sites.h"
#include "object_id.h"
#include "seed_writer.h"
#include "seeded_keys.h"
#include "utf8_path.h"

namespace host {

namespace {

/** Objects that are found by a name: the member of a place, the class and the attribute. */
struct NamedPlace {
  const char* member;
  const char* class_name;
  const char* attribute;
};

constexpr NamedPlace named_places[] = {
    {"user", "User", "user_id"},
    {"group", "Group", "group_name"},
    {"role", "Role", "role_name"},
    {"type", "Type", "type_name"},
    {"tool", "Tool", "tool_name"},
    {"note_type", "PSNoteType", "note_type_name"},
    {"revision_rule", "RevisionRule", "rule_name"},
};

/** Dates of changes are those of the seed while one lives, and not of now. */
class WithoutSigning {
 public:
  explicit WithoutSigning(Store& store) : store_(store) { store_.set_signing(false); }
  ~WithoutSigning() { store_.set_signing(true); }
  WithoutSigning(const WithoutSigning&) = delete;
  WithoutSigning& operator=(const WithoutSigning&) = delete;

 private:
  Store& store_;
};

}  // namespace

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
  if (const auto place = node.find("object")) {
    node.allow_only({"object", "values"});
    return find(*place);
  }
  node.allow_only({"key", "class", "path", "values"});
  const Node class_name = node.at("class");
  const Class* const type = store_.find_class(class_name.name());
  if (type == nullptr || type->is_abstract || !type->is_a(store_.class_named("Object"))) {
    class_name.refuse("there is no class \"" + class_name.text() + "\" that has objects");
  }
  const std::string key = node.at("key").name();
  if (by_key_.contains(key)) {
    node.at("key").refuse("is given twice");
  }
  const tag known = object_of_seed(store_, key);
  if (known == NULLTAG) {
    return by_key_[key] = make(node, *type);
  }
  by_key_[key] = known;
  if (&store_.class_of(known) != type) {
    class_name.refuse("the object exists with class \"" + store_.class_of(known).name + "\"");
  }
  return known;
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
    Values wanted;
    if (attribute->list) {
      for (const Node& element : value.items()) {
        wanted.push_back(scalar(element, *attribute));
      }
    } else if (!value.is_null()) {
      wanted.push_back(scalar(value, *attribute));
    }
    at_place(value, [&, attribute_name = name] {
      if (store_.values(object, attribute_name) != wanted) {
        store_.set_values(object, attribute_name, std::move(wanted));
      }
    });
  }
}

Scalar ObjectSeeder::scalar(const Node& node, const Attribute& attribute) {
  switch (attribute.kind) {
    case Kind::text:
      return node.text();
    case Kind::integer: {
      const Node::Json& number = node.json();
      if (!number.is_number_integer() ||
          number.get<std::int64_t>() < std::numeric_limits<int>::min() ||
          number.get<std::int64_t>() > std::numeric_limits<int>::max()) {
        node.refuse("expected a whole number of up to 32 bits");
      }
      return number.get<int>();
    }
    case Kind::real:
      if (!node.json().is_number()) {
        node.refuse_kind("a number");
      }
      return node.json().get<double>();
    case Kind::logical:
      return node.logical_value();
    case Kind::date:
      return node.is_null() ? date_s{} : node.date();
    case Kind::reference:
      return node.is_null() ? tag{NULLTAG} : find(node);
  }
  node.refuse("the attribute has values of no known kind");
}

tag ObjectSeeder::find(const Node& node) {
  if (const auto key = node.find("object")) {
    node.allow_only({"object"});
    const auto own = by_key_.find(key->text());
    const tag found = own != by_key_.end() ? own->second : object_of_seed(store_, key->text());
    if (found != NULLTAG) {
      return found;
    }
    key->refuse("there is no object with the key \"" + key->text() + "\"");
  }
  if (node.find("item")) {
    return find_in_item(node);
  }
  if (const auto membership = node.find("membership")) {
    node.allow_only({"membership"});
    return find_membership(*membership);
  }
  if (const auto number = node.find("site")) {
    node.allow_only({"site"});
    const tag site = find_site(store_, number->number_up_to(max_site_number));
    if (site == NULLTAG) {
      number->refuse("there is no site of this number");
    }
    return site;
  }
  if (node.find("view_type")) {
    node.allow_only({"view_type"});
    return find_named(node.at("view_type"), "PSViewType", "view_type_name");
  }
  for (const NamedPlace& place : named_places) {
    if (const auto name = node.find(place.member)) {
      node.allow_only({place.member});
      return find_named(*name, place.class_name, place.attribute);
    }
  }
  node.refuse("expected an object that the seed or the site has");
}

tag ObjectSeeder::find_named(const Node& node, const char* class_name, const char* attribute) {
  const tag found = store_.find_one(class_name, {{attribute, node.name()}});
  if (found == NULLTAG) {
    node.refuse("there is none of this name");
  }
  return found;
}

/** An item, one of its revisions, a dataset of that, or a view of one of them. */
tag ObjectSeeder::find_in_item(const Node& node) {
  node.allow_only({"item", "revision", "dataset", "view_type"});
  const tag item = find_named(node.at("item"), "Item", "item_id");
  const auto revision_id = node.find("revision");
  const tag revision = revision_id ? find_revision(store_, item, revision_id->name()) : NULLTAG;
  if (revision_id && revision == NULLTAG) {
    revision_id->refuse("the item has no revision \"" + revision_id->text() + "\"");
  }
  if (const auto view_type = node.find("view_type")) {
    const tag view = store_.find_one(
        "PSBOMView", {{"parent_item", item},
                      {"view_type", find_named(*view_type, "PSViewType", "view_type_name")}});
    const tag found = view == NULLTAG || !revision_id
                          ? view
                          : store_.find_one("PSBOMViewRevision",
                                            {{"bom_view", view}, {"structure_of", revision}});
    if (found == NULLTAG) {
      view_type->refuse("there is no such view");
    }
    return found;
  }
  const auto name = node.find("dataset");
  if (!name) {
    return revision_id ? revision : item;
  }
  for (const tag relation : store_.find("Relation", {{"primary_object", revision}})) {
    const tag object = store_.reference(relation, "secondary_object");
    if (store_.is_a(object, "Dataset") && store_.text(object, "object_name") == name->text()) {
      return object;
    }
  }
  name->refuse("the revision has no dataset \"" + name->text() + "\"");
}

/** {"user": id, "group": name, "role": name} */
tag ObjectSeeder::find_membership(const Node& node) {
  node.allow_only({"user", "group", "role"});
  const tag found = store_.find_one(
      "GroupMember", {{"member_user", find_named(node.at("user"), "User", "user_id")},
                      {"member_group", find_named(node.at("group"), "Group", "group_name")},
                      {"member_role", find_named(node.at("role"), "Role", "role_name")}});
  if (found == NULLTAG) {
    node.refuse("the user has no such membership");
  }
  return found;
}

}  // namespace host
