#include "definition_seeder.h"

#include "dates.h"
#include "failure.h"
#include "known_sites.h"
#include "ork/text.h"
#include "password.h"
#include "seed_data.h"
#include "site_texts.h"
#include "types.h"
#include "utf8_path.h"

namespace host {

namespace {

/** Tries out date formats. */
constexpr date_s some_date = {2026, 2, 31, 23, 59, 0};

}  // namespace

void DefinitionSeeder::take(const Node& root) {
  const auto settings = root.find("site");
  if (settings) {
    attempt(*settings, [&] { take_password_cost(*settings); });
  }
  each_of(root, "groups", [this](const Node& node) { take_named(node, "Group", "group"); });
  each_of(root, "roles", [this](const Node& node) { take_named(node, "Role", "role"); });
  each_of(root, "users", [this](const Node& node) { take_user(node); });
  each_of(root, "classes", [this](const Node& node) { take_class(node); });
  each_of(root, "types", [this](const Node& node) { take_type(node); });
  each_of(root, "relation_types", [this](const Node& node) { take_relation_type(node); });
  DataSeeder(run_).take_types(root);
  if (const auto preferences = root.find("preferences")) {
    attempt(*preferences, [&] { take_preferences(*preferences); });
  }
  if (const auto texts = root.find("texts")) {
    attempt(*texts, [&] { take_texts(*texts); });
  }
  // After the users, since it names one, and before the items, since it names their owner.
  if (settings) {
    attempt(*settings, [&] { take_site(*settings); });
    run_.automatic_user.reset();
  }
  each_of(root, "sites", [this](const Node& node) { take_other_site(node); });
}

/** A group or role: a name, or an object with a name and a description. */
void DefinitionSeeder::take_named(const Node& node, const char* class_name,
                                  const std::string& prefix) {
  if (!node.is_text()) {
    node.allow_only({"name", "description"});
  }
  const Node name = node.is_text() ? node : node.at("name");
  const tag object = ensure(name, class_name, {{prefix + "_name", name.name()}});
  if (!node.is_text()) {
    put_text(node, "description", object, (prefix + "_desc").c_str());
  }
}

void DefinitionSeeder::take_user(const Node& node) {
  node.allow_only(
      {"id", "name", "password", "password_hash", "administrator", "memberships", "default_group"});
  const Node id = node.at("id");
  const bool is_new = store_.find_one("User", {{"user_id", id.name()}}) == NULLTAG;
  const tag user = ensure(id, "User", {{"user_id", id.name()}});
  if (is_new && !node.find("name")) {
    put(id, user, "user_name", id.name());
  }
  put_text(node, "name", user, "user_name");
  if (const auto password = node.find("password")) {
    take_password(*password, user);
  }
  if (const auto hash = node.find("password_hash")) {
    at_place(*hash, [&] { store_password_hash(site_.database(), user, hash->name()); });
  }
  if (const auto flag = node.find("administrator")) {
    put(*flag, user, "is_administrator", flag->logical_value());
  }
  each_of(node, "memberships", [&](const Node& membership) { take_membership(membership, user); });
  if (const auto group = node.find("default_group")) {
    take_default_group(*group, user);
  }
}

void DefinitionSeeder::take_password(const Node& node, tag user) {
  const std::string password = node.text();
  if (password.empty()) {
    node.refuse("must not be empty");
  }
  store_password(site_.database(), user, password);
}

/** The first membership of a user names the default group, unless the seed does. */
void DefinitionSeeder::take_membership(const Node& node, tag user) {
  node.allow_only({"group", "role"});
  const tag group = find_group(node.at("group"));
  const tag role = find_role(node.at("role"));
  ensure(node, "GroupMember",
         {{"member_user", user}, {"member_group", group}, {"member_role", role}});
  if (store_.reference(user, "default_group") == NULLTAG) {
    put(node, user, "default_group", group);
  }
}

void DefinitionSeeder::take_default_group(const Node& node, tag user) {
  const tag group = find_group(node);
  const Store::Criteria membership = {{"member_user", user}, {"member_group", group}};
  if (store_.find_one("GroupMember", membership) == NULLTAG) {
    node.refuse("the user is not a member of this group");
  }
  put(node, user, "default_group", group);
}

void DefinitionSeeder::take_class(const Node& node) {
  node.allow_only({"name", "parent", "attributes"});
  const Class& type = class_of(node);
  each_of(node, "attributes", [&](const Node& attribute) { take_attribute(attribute, type); });
}

/** One that is there may leave its parent out, as the first class has none. */
const Class& DefinitionSeeder::class_of(const Node& node) {
  const Class* const known = store_.find_class(node.at("name").name());
  if (known != nullptr && !node.find_value("parent")) {
    return *known;
  }
  const Node parent_name = node.at("parent");
  const Class* parent = store_.find_class(parent_name.name());
  if (parent == nullptr) {
    parent_name.refuse("there is no class \"" + parent_name.text() + "\"");
  }
  return ensure_class(node.at("name"), parent_name, *parent);
}

void DefinitionSeeder::take_type(const Node& node) {
  node.allow_only({"name", "parent", "class"});
  if (const tag known = store_.find_type(node.at("name").name());
      known != NULLTAG && !node.find_value("parent")) {
    const auto wanted = node.find("class");
    if (wanted && wanted->text() != store_.text(known, "type_class")) {
      wanted->refuse("the type exists with another parent or class");
    }
    return;
  }
  const tag parent = find_type(node.at("parent"));
  const Class& parent_class = store_.class_named(store_.text(parent, "type_class"));
  const Class* type_class = &parent_class;
  if (const auto wanted = node.find("class")) {
    type_class = store_.find_class(wanted->name());
    if (type_class == nullptr || !type_class->is_a(parent_class)) {
      wanted->refuse("expected a class at or below " + parent_class.name);
    }
  }
  ensure_type(node.at("name"), parent, *type_class);
}

void DefinitionSeeder::take_relation_type(const Node& node) {
  if (!node.is_text()) {
    node.allow_only({"name"});
  }
  const Node name = node.is_text() ? node : node.at("name");
  ensure(name, "RelationType", {{"type_name", name.name()}});
}

/** Before the users, whose passwords it is for. */
void DefinitionSeeder::take_password_cost(const Node& node) {
  if (const auto cost = node.find("password_cost")) {
    set_password_cost(site_.database(), cost->number_up_to(highest_password_cost));
  }
}

void DefinitionSeeder::take_site(const Node& node) {
  node.allow_only({"path", "id", "name", "automatic_login", "password_cost"});
  if (const auto id = node.find("id")) {
    store_.set_setting("site_id", std::to_string(id->number_up_to(max_site_number)));
  }
  if (const auto name = node.find("name")) {
    store_.set_setting("site_name", name->text());
  }
  if (const int number = local_site_number(store_); number != 0) {
    const tag site = ensure(node, "Site", {{"site_id", number}});
    put(node, site, "site_name", store_.setting("site_name").value_or(""));
  }
  if (const auto user = node.find("automatic_login")) {
    find_user(*user);
    store_.set_setting("automatic_login", user->text());
  }
}

void DefinitionSeeder::take_other_site(const Node& node) {
  node.allow_only({"id", "name"});
  const Node id = node.at("id");
  const int number = id.number_up_to(max_site_number);
  if (number == local_site_number(store_)) {
    id.refuse("is the number of the local site");
  }
  const tag site = ensure(id, "Site", {{"site_id", number}});
  put(node, site, "site_name", node.at("name").name());
}

void DefinitionSeeder::take_preferences(const Node& node) {
  for (const auto& [name, value] : node.members()) {
    attempt(value, [&, name = name, value = value] { take_preference(name, value); });
  }
}

void DefinitionSeeder::take_preference(const std::string& name, const Node& value) {
  if (name.empty()) {
    value.refuse("a preference needs a name");
  }
  PreferenceValues values;
  if (value.is_list()) {
    each(value.items(), [&](const Node& item) { values.push_back(preference_value(item)); });
  } else {
    values.push_back(preference_value(value));
  }
  write_preference(site_.database(), name, values);
}

std::string DefinitionSeeder::preference_value(const Node& node) {
  if (node.is_text()) {
    return node.text();
  }
  if (node.is_logical()) {
    return node.logical_value() ? "true" : "false";
  }
  if (!node.is_object()) {
    node.refuse_kind("a string, true or false, {\"file\": path} or an array of these");
  }
  node.allow_only({"file"});
  const std::filesystem::path path = folder_ / utf8_path(node.at("file").name());
  return std::filesystem::absolute(path).lexically_normal().string();
}

/** Texts by key, by language; null brings back the one that ships with the host. */
void DefinitionSeeder::take_texts(const Node& node) {
  for (const auto& [language_name, texts] : node.members()) {
    const auto language = find_language(language_name);
    if (!language) {
      texts.complain("expected a language: en or de");
      continue;
    }
    for (const auto& [key, value] : texts.members()) {
      attempt(value, [&, key = key, value = value] {
        write_site_text(site_.database(), *language, key, text_of(key, value));
      });
    }
  }
}

std::optional<std::string> DefinitionSeeder::text_of(const std::string& key, const Node& node) {
  if (node.is_null()) {
    return std::nullopt;
  }
  const std::string text = node.name();
  if (key == TEXT_default_date_format) {
    at_place(node, [&] { parsed_date(formatted_date(some_date, text), text); });
  }
  return text;
}

}  // namespace host
