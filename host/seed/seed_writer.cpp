#include "seed_writer.h"

#include <algorithm>

#include "display.h"
#include "known_sites.h"
#include "object_id.h"
#include "types.h"

namespace host {

namespace {

constexpr int max_text_length = 1'000'000;

}  // namespace

tag SeedWriter::ensure(const Node& node, const char* class_name, const Store::Criteria& key) {
  const tag found = store_.find_one(class_name, key);
  return found != NULLTAG ? found : make(node, class_name, key);
}

tag SeedWriter::make(const Node& node, const std::string& class_name,
                     const Store::Criteria& values) {
  Draft draft(store_, store_.class_named(class_name), NULLTAG);
  for (const auto& [attribute, value] : values) {
    draft.set(node, attribute.c_str(), value);
  }
  return draft.take(node);
}

void SeedWriter::put(const Node& node, tag object, const char* attribute, const Scalar& value) {
  at_place(node, [&] {
    if (store_.has_value(object, attribute, value)) {
      return;
    }
    const LockGuard lock(store_, object);
    store_.set(object, attribute, value);
    store_.save(object);
  });
}

void SeedWriter::put_list(const Node& node, tag object, const char* attribute,
                          const Values& values) {
  put_lists(node, object, {{attribute, values}});
}

void SeedWriter::put_lists(const Node& node, tag object,
                           const std::vector<std::pair<const char*, Values>>& lists) {
  at_place(node, [&] {
    const bool is_held = std::all_of(lists.begin(), lists.end(), [&](const auto& list) {
      return store_.values(object, list.first) == list.second;
    });
    if (is_held) {
      return;
    }
    const LockGuard lock(store_, object);
    for (const auto& [attribute, values] : lists) {
      store_.set_values(object, attribute, values);
    }
    store_.save(object);
  });
}

void SeedWriter::remove(tag object) {
  store_.lock(object);
  store_.remove(object);
}

void SeedWriter::put_text(const Node& owner, const char* member, tag object,
                          const char* attribute) {
  if (const auto node = owner.find(member)) {
    put(*node, object, attribute, node->text());
  }
}

tag SeedWriter::find(const Node& node, const char* class_name, const char* attribute,
                     const char* what) {
  const std::string name = node.name();
  const tag found = store_.find_one(class_name, {{attribute, name}});
  if (found == NULLTAG) {
    refuse_unknown(node, std::string("there is no ") + what + " \"" + name + "\"");
  }
  return found;
}

void SeedWriter::refuse_unknown(const Node& node, const std::string& why) const {
  if (run_.faults.lacking.contains(node.text())) {
    throw Consequence();
  }
  node.refuse(why);
}

/** Others may name what is not made now. */
void SeedWriter::note_lacking(const Node& node) {
  for (const char* member : {"id", "name"}) {
    const auto name = node.is_object() ? node.find(member) : std::nullopt;
    if (name && name->is_text()) {
      run_.faults.lacking.insert(name->text());
      return;
    }
  }
}

tag SeedWriter::find_group(const Node& node) {
  return find(node, "Group", "group_name", "group");
}

tag SeedWriter::find_role(const Node& node) {
  return find(node, "Role", "role_name", "role");
}

tag SeedWriter::find_user(const Node& node) {
  return find(node, "User", "user_id", "user");
}

tag SeedWriter::find_type(const Node& node) {
  return find(node, "Type", "type_name", "type");
}

tag SeedWriter::find_relation_type(const Node& node) {
  return find(node, "RelationType", "type_name", "relation type");
}

void SeedWriter::take_owner(const Node& node, Draft& draft) {
  if (const auto owner = node.find("owner")) {
    draft.set(*owner, "owning_user", owner->is_null() ? NULLTAG : find_user(*owner));
  } else if (draft.reference("owning_user") == NULLTAG) {
    draft.set(node, "owning_user", automatic_user());
  }
  if (const auto group = node.find("group")) {
    draft.set(*group, "owning_group", group->is_null() ? NULLTAG : find_group(*group));
  } else if (draft.reference("owning_group") == NULLTAG) {
    const tag owner = draft.reference("owning_user");
    if (owner != NULLTAG) {
      draft.set(node, "owning_group", store_.reference(owner, "default_group"));
    }
  }
}

tag SeedWriter::automatic_user() {
  if (!run_.automatic_user) {
    const auto user_id = store_.setting("automatic_login");
    run_.automatic_user = user_id ? store_.find_one("User", {{"user_id", *user_id}}) : NULLTAG;
  }
  return *run_.automatic_user;
}

tag SeedWriter::type_of(const Node& node, const char* class_name) {
  const auto named = node.find("type");
  if (!named) {
    return store_.find_type(class_name);
  }
  const tag type = find_type(*named);
  if (!is_stored_in(store_, type, class_name)) {
    named->refuse(std::string("expected a type of class ") + class_name);
  }
  return type;
}

tag SeedWriter::take_workspace_object(const Node& node, tag known, tag type,
                                      const Store::Criteria& key,
                                      const std::function<void(Draft&)>& complete) {
  const std::string type_name = store_.text(type, "type_name");
  Draft draft(store_,
              known != NULLTAG ? store_.class_of(known)
                               : store_.class_named(store_.text(type, "type_class")),
              known);
  if (known == NULLTAG) {
    for (const auto& [attribute, value] : key) {
      draft.set(node, attribute.c_str(), value);
    }
    draft.set(node, "object_type", type_name);
  } else if (const auto named = node.find("type")) {
    const std::string& held = store_.text(known, "object_type");
    if (held != type_name) {
      named->refuse("the object exists with type \"" + held + "\"");
    }
  }
  for (const auto& [member, attribute] :
       {std::pair("name", "object_name"), {"description", "object_desc"}}) {
    attempt(node, [&, member = member, attribute = attribute] {
      if (const auto text = node.find(member)) {
        draft.set(*text, attribute, text->text());
      }
    });
  }
  const Values statuses = draft.values("release_status_list");
  attempt(node, [&] { take_owner(node, draft); });
  attempt(node, [&] { take_statuses(node, draft); });
  attempt(node, [&] { take_checkout(node, draft); });
  attempt(node, [&] { take_owning_site(node, draft); });
  attempt(node, [&] { take_making(node, draft); });
  attempt(node, [&] { take_values(node, draft); });
  if (complete) {
    complete(draft);
  }
  const tag object = draft.take(node);
  remove_unused_statuses(statuses, object);
  return object;
}

void SeedWriter::take_statuses(const Node& owner, Draft& draft) {
  const auto list = owner.find("statuses");
  if (!list) {
    return;
  }
  const Values held = draft.values("release_status_list");
  Values wanted;
  each(list->items(), [&](const Node& node) {
    const bool has_held = wanted.size() < held.size();
    wanted.emplace_back(take_status(node, has_held ? std::get<tag>(held[wanted.size()]) : NULLTAG));
  });
  draft.set_list(*list, "release_status_list", wanted);
}

tag SeedWriter::take_status(const Node& node, tag held) {
  if (!node.is_text()) {
    node.allow_only({"name", "date"});
  }
  const std::string name = node.is_text() ? node.name() : node.at("name").name();
  const bool is_held = held != NULLTAG && store_.text(held, "name") == name;
  Draft status(store_, store_.class_named("ReleaseStatus"), is_held ? held : NULLTAG);
  if (!is_held) {
    status.set(node, "name", name);
    status.set(node, "object_name", name);
    status.set(node, "object_type", std::string("ReleaseStatus"));
  }
  if (!node.is_text()) {
    if (const auto date = node.find("date")) {
      status.set(*date, "date_released", date->date());
    }
  }
  return status.take(node);
}

void SeedWriter::remove_unused_statuses(const Values& held, tag object) {
  if (held.empty()) {
    return;
  }
  const Values wanted = store_.values(object, "release_status_list");
  for (const Scalar& status : held) {
    const bool is_wanted = std::find(wanted.begin(), wanted.end(), status) != wanted.end();
    // A job gives all of its targets one status, and keeps it among its attachments.
    if (!is_wanted && store_.referrer(std::get<tag>(status)) == NULLTAG) {
      remove(std::get<tag>(status));
    }
  }
}

void SeedWriter::take_checkout(const Node& node, Draft& draft) {
  const auto user = node.find("checked_out_by");
  const auto since = node.find("checked_out_since");
  if (user) {
    draft.set(*user, "checked_out_user", user->is_null() ? NULLTAG : find_user(*user));
    if (user->is_null()) {
      draft.set(*user, "checked_out_date", date_s{});
    }
  }
  if (!since) {
    return;
  }
  if (draft.reference("checked_out_user") == NULLTAG) {
    since->refuse("the object is not checked out");
  }
  draft.set(*since, "checked_out_date", since->date());
}

void SeedWriter::take_owning_site(const Node& node, Draft& draft) {
  const auto owner = node.find("owning_site");
  if (!owner) {
    return;
  }
  const tag site =
      owner->is_null() ? NULLTAG : find_site(store_, owner->number_up_to(max_site_number));
  if (site == NULLTAG && !owner->is_null()) {
    owner->refuse("there is no site of this number");
  }
  draft.set(*owner, "owning_site", site);
}

void SeedWriter::take_making(const Node& node, Draft& draft) {
  for (const auto& [member, attribute] :
       {std::pair("created", "creation_date"), {"changed", "last_mod_date"}}) {
    if (const auto date = node.find(member)) {
      draft.set(*date, attribute, date->date());
    }
  }
  if (const auto user = node.find("changed_by")) {
    draft.set(*user, "last_mod_user", user->is_null() ? NULLTAG : find_user(*user));
  }
}

void SeedWriter::take_making(const Node& node, tag object) {
  Draft draft(store_, store_.class_of(object), object);
  take_making(node, draft);
  draft.take(node);
}

void SeedWriter::take_values(const Node& node, Draft& draft) {
  const auto values = node.find("values");
  if (!values) {
    return;
  }
  for (const auto& [name, value] : values->members()) {
    attempt(node, [&, name = name, value = value] {
      const Attribute* const attribute = draft.type().find_attribute(name);
      if (attribute == nullptr) {
        value.refuse("class " + draft.type().name + " has no attribute of this name");
      }
      draft.set_list(value, name.c_str(), values_of(value, *attribute));
    });
  }
}

Values SeedWriter::values_of(const Node& node, const Attribute& attribute) {
  if (attribute.list && node.is_list()) {
    Values values;
    for (const Node& element : node.items()) {
      values.push_back(scalar(element, attribute));
    }
    return values;
  }
  if (node.is_null()) {
    return {};
  }
  const bool is_written = node.is_text() && attribute.kind != Kind::text &&
                          !(attribute.kind == Kind::date && node.is_date());
  if (is_written || attribute.list) {
    return at_place(node, [&] { return values_of_display(attribute, node.text()); });
  }
  return {scalar(node, attribute)};
}

Scalar SeedWriter::scalar(const Node& node, const Attribute& attribute) {
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
      return node.is_null() ? tag{NULLTAG} : find_object(node);
  }
  node.refuse("the attribute has values of no known kind");
}

const Class& SeedWriter::ensure_class(const Node& name, const Node& parent_place,
                                      const Class& parent) {
  const Class* known = store_.find_class(name.name());
  if (known == nullptr) {
    return store_.define_class(name.name(), parent);
  }
  if (known->parent != &parent) {
    parent_place.refuse("the class exists with another parent");
  }
  return *known;
}

void SeedWriter::take_attribute(const Node& node, const Class& owner) {
  node.allow_only({"name", "kind", "list", "length"});
  AttributeDefinition wanted{node.at("name").name(), Kind::text};
  const Node kind = node.at("kind");
  if (!find_kind(kind.text(), &wanted.kind)) {
    kind.refuse("expected text, integer, real, logical, date or reference");
  }
  if (const auto list = node.find("list")) {
    wanted.list = list->logical_value();
  }
  if (wanted.kind == Kind::text) {
    wanted.max_length = node.at("length").number_up_to(max_text_length);
  }
  const Attribute* known = owner.find_attribute(wanted.name);
  if (known == nullptr) {
    at_place(node, [&] { store_.define_attribute(owner, wanted); });
  } else if (known->kind != wanted.kind || known->list != wanted.list ||
             known->max_length != wanted.max_length) {
    node.refuse("the attribute exists with another kind, length or list");
  }
}

tag SeedWriter::ensure_type(const Node& name, tag parent, const Class& type_class) {
  const tag known = store_.find_type(name.name());
  if (known == NULLTAG) {
    return make(
        name, "Type",
        {{"type_name", name.name()}, {"type_class", type_class.name}, {"parent_type", parent}});
  }
  if (store_.reference(known, "parent_type") != parent ||
      store_.text(known, "type_class") != type_class.name) {
    name.refuse("the type exists with another parent or class");
  }
  return known;
}

tag SeedWriter::find_dataset(tag revision, const std::string& name) {
  for (const tag relation : store_.find("Relation", {{"primary_object", revision}})) {
    const tag object = store_.reference(relation, "secondary_object");
    if (store_.is_a(object, "Dataset") && store_.text(object, "object_name") == name) {
      return object;
    }
  }
  return NULLTAG;
}

tag SeedWriter::ensure_relation(const Node& node, tag primary, tag relation_type, tag secondary) {
  return ensure(node, "Relation",
                {{"primary_object", primary},
                 {"secondary_object", secondary},
                 {"relation_type", relation_type}});
}

}  // namespace host
