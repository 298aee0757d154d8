#include "seed.h"

#include <nlohmann/json.hpp>
#include <set>

#include "access_seeder.h"
#include "failure.h"
#include "flow_seed.h"
#include "known_sites.h"
#include "object_id.h"
#include "object_seeder.h"
#include "ork/text.h"
#include "password.h"
#include "seed_data.h"
#include "seed_writer.h"
#include "site_texts.h"
#include "structure_seeder.h"
#include "types.h"
#include "utf8_path.h"

namespace host {

namespace {

using Json = nlohmann::json;

/** Relation between a revision and its datasets where a seed names none. */
constexpr const char* default_dataset_relation = "VELO_reference";

/** Tries out date formats. */
constexpr date_s some_date = {2026, 2, 31, 23, 59, 0};

class Seeder : private SeedWriter {
 public:
  Seeder(Site& site, const std::filesystem::path& folder)
      : SeedWriter(site, folder), data_(site, folder) {}

  void take(const Node& root) {
    root.allow_only({"site",
                     "groups",
                     "roles",
                     "users",
                     "classes",
                     "types",
                     "relation_types",
                     "tools",
                     "dataset_types",
                     "form_types",
                     "preferences",
                     "texts",
                     "sites",
                     "items",
                     "relations",
                     "access_rules",
                     "process_templates",
                     "view_types",
                     "note_types",
                     "revision_rules",
                     "structures",
                     "objects"});
    if (const auto settings = root.find("site")) {
      take_password_cost(*settings);
    }
    for (const Node& group : root.items_of("groups")) {
      take_named(group, "Group", "group");
    }
    for (const Node& role : root.items_of("roles")) {
      take_named(role, "Role", "role");
    }
    for (const Node& user : root.items_of("users")) {
      take_user(user);
    }
    for (const Node& type : root.items_of("classes")) {
      take_class(type);
    }
    for (const Node& type : root.items_of("types")) {
      take_type(type);
    }
    for (const Node& type : root.items_of("relation_types")) {
      take_relation_type(type);
    }
    data_.take_types(root);
    if (const auto preferences = root.find("preferences")) {
      take_preferences(*preferences);
    }
    if (const auto texts = root.find("texts")) {
      take_texts(*texts);
    }
    // After the users, since it names one, and before the items, since it names their owner.
    if (const auto settings = root.find("site")) {
      take_site(*settings);
    }
    for (const Node& site : root.items_of("sites")) {
      take_other_site(site);
    }
    for (const Node& item : root.items_of("items")) {
      take_item(item);
    }
    for (const Node& relation : root.items_of("relations")) {
      take_relation(relation);
    }
    take_process_templates(site_, root.items_of("process_templates"));
    StructureSeeder(site_, folder_).take(root);
    AccessSeeder(site_, folder_).take(root);
    ObjectSeeder(site_, folder_).take(root);
  }

 private:
  /** A group or role: a name, or an object with a name and a description. */
  void take_named(const Node& node, const char* class_name, const std::string& prefix) {
    if (!node.is_text()) {
      node.allow_only({"name", "description"});
    }
    const Node name = node.is_text() ? node : node.at("name");
    const tag object = ensure(name, class_name, {{prefix + "_name", name.name()}});
    if (!node.is_text()) {
      put_text(node, "description", object, (prefix + "_desc").c_str());
    }
  }

  void take_user(const Node& node) {
    node.allow_only({"id", "name", "password", "password_hash", "administrator", "memberships",
                     "default_group"});
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
    for (const Node& membership : node.items_of("memberships")) {
      take_membership(membership, user);
    }
    if (const auto group = node.find("default_group")) {
      take_default_group(*group, user);
    }
  }

  void take_password(const Node& node, tag user) {
    const std::string password = node.text();
    if (password.empty()) {
      node.refuse("must not be empty");
    }
    store_password(site_.database(), user, password);
  }

  /** The first membership of a user names the default group, unless the seed does. */
  void take_membership(const Node& node, tag user) {
    node.allow_only({"group", "role"});
    const tag group = find_group(node.at("group"));
    const tag role = find_role(node.at("role"));
    ensure(node, "GroupMember",
           {{"member_user", user}, {"member_group", group}, {"member_role", role}});
    if (store_.reference(user, "default_group") == NULLTAG) {
      put(node, user, "default_group", group);
    }
  }

  void take_default_group(const Node& node, tag user) {
    const tag group = find_group(node);
    const Store::Criteria membership = {{"member_user", user}, {"member_group", group}};
    if (store_.find_one("GroupMember", membership) == NULLTAG) {
      node.refuse("the user is not a member of this group");
    }
    put(node, user, "default_group", group);
  }

  void take_class(const Node& node) {
    node.allow_only({"name", "parent", "attributes"});
    const Node parent_name = node.at("parent");
    const Class* parent = store_.find_class(parent_name.name());
    if (parent == nullptr) {
      parent_name.refuse("there is no class \"" + parent_name.text() + "\"");
    }
    const Class& type = ensure_class(node.at("name"), parent_name, *parent);
    for (const Node& attribute : node.items_of("attributes")) {
      take_attribute(attribute, type);
    }
  }

  void take_type(const Node& node) {
    node.allow_only({"name", "parent", "class"});
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

  void take_relation_type(const Node& node) {
    if (!node.is_text()) {
      node.allow_only({"name"});
    }
    const Node name = node.is_text() ? node : node.at("name");
    ensure(name, "RelationType", {{"type_name", name.name()}});
  }

  /** Before the users, whose passwords it is for. */
  void take_password_cost(const Node& node) {
    if (const auto cost = node.find("password_cost")) {
      set_password_cost(site_.database(), cost->number_up_to(highest_password_cost));
    }
  }

  void take_site(const Node& node) {
    node.allow_only({"id", "name", "automatic_login", "password_cost"});
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

  void take_other_site(const Node& node) {
    node.allow_only({"id", "name"});
    const Node id = node.at("id");
    const int number = id.number_up_to(max_site_number);
    if (number == local_site_number(store_)) {
      id.refuse("is the number of the local site");
    }
    const tag site = ensure(id, "Site", {{"site_id", number}});
    put(node, site, "site_name", node.at("name").name());
  }

  void take_preferences(const Node& node) {
    for (const auto& [name, value] : node.members()) {
      if (name.empty()) {
        value.refuse("a preference needs a name");
      }
      PreferenceValues values;
      if (value.is_list()) {
        for (const Node& item : value.items()) {
          values.push_back(preference_value(item));
        }
      } else {
        values.push_back(preference_value(value));
      }
      write_preference(site_.database(), name, values);
    }
  }

  std::string preference_value(const Node& node) {
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
  void take_texts(const Node& node) {
    for (const auto& [language_name, texts] : node.members()) {
      const auto language = find_language(language_name);
      if (!language) {
        texts.refuse("expected a language: en or de");
      }
      for (const auto& [key, value] : texts.members()) {
        write_site_text(site_.database(), *language, key, text_of(key, value));
      }
    }
  }

  static std::optional<std::string> text_of(const std::string& key, const Node& node) {
    if (node.is_null()) {
      return std::nullopt;
    }
    const std::string text = node.name();
    if (key == TEXT_default_date_format) {
      at_place(node, [&] { parsed_date(formatted_date(some_date, text), text); });
    }
    return text;
  }

  void take_item(const Node& node) {
    node.allow_only({"id", "revisions", "master_form"}, workspace_members);
    const Store::Criteria key = {{"item_id", node.at("id").name()}};
    node.at("name").name();
    const tag item =
        take_workspace_object(node, store_.find_one("Item", key), type_of(node, "Item"), key);
    data_.take_master_form(node, item);
    for (const Node& revision : node.items_of("revisions")) {
      take_revision(revision, item);
    }
  }

  void take_revision(const Node& node, tag item) {
    node.allow_only({"id", "datasets", "master_form"}, workspace_members);
    const std::string id = node.at("id").name();
    const Store::Criteria key = {{"item_tag", item}, {"item_revision_id", id}};
    const tag known = find_revision(store_, item, id);
    const tag revision = take_workspace_object(node, known, type_of(node, "ItemRevision"), key);
    if (store_.text(revision, "object_name").empty()) {
      put(node, revision, "object_name", store_.text(item, "object_name"));
    }
    data_.take_master_form(node, revision);
    for (const Node& dataset : node.items_of("datasets")) {
      take_dataset(dataset, revision);
    }
  }

  void take_dataset(const Node& node, tag revision) {
    node.allow_only({"relation", "files", "forms"}, workspace_members);
    const std::string name = node.at("name").name();
    const auto relation = node.find("relation");
    const tag relation_type =
        relation ? find_relation_type(*relation) : store_.find_type(default_dataset_relation);
    const tag type = type_of(node, "Dataset");
    const tag known = find_dataset(revision, name);
    const tag dataset =
        take_workspace_object(node, known, type, {{"object_name", name}, {"dataset_type", type}});
    ensure_relation(node, revision, relation_type, dataset);
    data_.take_contents(node, dataset);
  }

  void take_relation(const Node& node) {
    node.allow_only({"primary", "type", "secondary"});
    const tag relation_type = find_relation_type(node.at("type"));
    const tag primary = find_object(node.at("primary"));
    ensure_relation(node, primary, relation_type, find_object(node.at("secondary")));
  }

  DataSeeder data_;
};

/** Sees to it that no member of an object is given twice, of which the parser would lose one. */
class MemberCheck {
 public:
  bool see(Json::parse_event_t event, const Json& value) {
    using Event = Json::parse_event_t;
    if (event == Event::key) {
      levels_.back().name = value.get_ref<const std::string&>();
      if (!levels_.back().names.insert(levels_.back().name).second) {
        Node(value, place()).refuse("is given twice");
      }
    } else if (event == Event::object_end || event == Event::array_end) {
      levels_.pop_back();
    } else {
      if (!levels_.empty() && levels_.back().is_array) {
        levels_.back().name = std::to_string(levels_.back().elements++);
      }
      if (event != Event::value) {
        levels_.push_back({event == Event::array_start, 0, {}, {}});
      }
    }
    return true;
  }

 private:
  struct Level {
    bool is_array;
    std::size_t elements;
    std::string name; /**< of the member or element that is being read */
    std::set<std::string> names;
  };

  std::string place() const {
    std::string text;
    for (const Level& level : levels_) {
      text += "/" + Node::escaped(level.name);
    }
    return text;
  }

  std::vector<Level> levels_;
};

Json parse(const std::string& text) {
  try {
    MemberCheck check;
    return Json::parse(text, [&check](int, Json::parse_event_t event, Json& value) {
      return check.see(event, value);
    });
  } catch (const Json::exception& error) {
    // Behind the library's own tag in brackets it says line, column and what it found.
    const std::string what = error.what();
    const std::size_t tag_end = what.find("] ");
    refuse(
        ORK_invalid_argument,
        shortened(tag_end == std::string::npos ? what : what.substr(tag_end + 2), longest_refusal));
  }
}

}  // namespace

void seed(Site& site, const std::string& json, const std::filesystem::path& folder) {
  if (site.store().has_unsaved_changes()) {
    refuse(ORK_invalid_argument, "the session has unsaved changes; save or drop them first");
  }
  const Json parsed = parse(json);
  try {
    Transaction transaction(site.database());
    Seeder(site, folder).take(Node(parsed, ""));
    transaction.commit();
  } catch (...) {
    site.reload_store();  // memory holds what the file has just undone
    throw;
  }
  site.reload_texts();
  if (!site.session) {
    return;
  }
  if (site.session->preferences) {
    site.session->preferences = read_preferences(site.database());
  }
  site.session->access_rules.reset();
}

}  // namespace host
