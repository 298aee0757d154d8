#include "seed.h"

#include <algorithm>
#include <cstdint>
#include <iterator>

#include "access_seeder.h"
#include "datasets.h"
#include "failure.h"
#include "flow_seed.h"
#include "folder_seeder.h"
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
#include "writer_note.h"

namespace host {

namespace {

using Json = nlohmann::json;

/** Relation between a revision and its datasets where a seed names none. */
constexpr const char* default_dataset_relation = "VELO_reference";

/** Tries out date formats. */
constexpr date_s some_date = {2026, 2, 31, 23, 59, 0};

/** After so many what was read of them is dropped from memory. */
constexpr std::size_t elements_at_once = 1000;

/** Members of a relation that name objects. */
constexpr const char* relation_places[] = {"primary", "secondary", "user_data"};

/** The lists that may be as long as a site is large. */
constexpr std::string_view streamed_sections[] = {"items", "relations", "structures", "folders"};

class Seeder : private SeedWriter {
 public:
  Seeder(SeedRun& run, const SeedText& text, const SeeProgress& progress)
      : SeedWriter(run),
        text_(text),
        progress_(progress),
        data_(run),
        structures_(run),
        folders_(run) {}

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
                     "folders",
                     "objects"});
    take_definitions(root);
    stream(root, "items", [this](const Node& item, std::size_t) { take_item(item); });
    bool are_all_taken = true;
    stream(root, "relations", [&](const Node& relation, std::size_t) {
      if (is_of_keyed(relation)) {
        are_all_taken = false;
      } else {
        take_relation(relation);
      }
    });
    each_of(root, "process_templates",
            [this](const Node& process) { take_process_template(run_, process); });
    structures_.take_definitions(root);
    stream(root, "structures", [this](const Node& structure, std::size_t number) {
      structures_.take_structure(structure, number);
    });
    structures_.check_cycles(text_);
    take_keyed(root, are_all_taken);
    AccessSeeder(run_).take(root);
  }

 private:
  /** What is known by a key, and what refers to it: all of it is there before. */
  void take_keyed(const Node& root, bool are_all_relations_taken) {
    stream(root, "folders",
           [this](const Node& folder, std::size_t) { folders_.take_folder(folder); });
    attempt(root, [&] { ObjectSeeder(run_).take(root); });
    stream(root, "folders",
           [this](const Node& folder, std::size_t) { folders_.take_contents(folder); });
    if (are_all_relations_taken) {
      return;
    }
    stream(root, "relations", [this](const Node& relation, std::size_t) {
      if (is_of_keyed(relation)) {
        take_relation(relation);
      }
    });
  }

  static bool is_of_keyed(const Node& relation) {
    return std::any_of(std::begin(relation_places), std::end(relation_places),
                       [&](const char* member) {
                         const auto place = relation.find(member);
                         return place && place->is_object() && place->find("object");
                       });
  }

  /** What objects are made of. */
  void take_definitions(const Node& root) {
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
    data_.take_types(root);
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

  /** Takes the elements of a long list one by one; the memory that each needs is given back. */
  template <typename Take>
  void stream(const Node& root, const char* section, const Take& take) {
    if (const auto list = root.find(section)) {
      attempt(*list, [&] { list->items(); });  // which says when it is no list
    }
    const std::uint64_t stamp = store_.last_stamp();
    const std::size_t size = text_.size(section);
    std::size_t number = 0;
    text_.for_each(section, [&](const Json& element, std::size_t begin) {
      const SeedPart part{text_, element, begin, {section, std::to_string(number)}, run_.faults};
      const Node node(element, part);
      attempt(node, [&] { take(node, number); });
      if (++number % elements_at_once == 0) {
        store_.forget_since(stamp);
      }
      if (progress_ && !progress_(section, number, size)) {
        refuse(ORK_interrupted, "at element " + std::to_string(number) + " of \"" + section + "\"");
      }
    });
  }

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
    each_of(node, "memberships",
            [&](const Node& membership) { take_membership(membership, user); });
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
    const Class& type = class_of(node);
    each_of(node, "attributes", [&](const Node& attribute) { take_attribute(attribute, type); });
  }

  /** One that is there may leave its parent out, as the first class has none. */
  const Class& class_of(const Node& node) {
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

  void take_type(const Node& node) {
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
      attempt(value, [&, name = name, value = value] { take_preference(name, value); });
    }
  }

  void take_preference(const std::string& name, const Node& value) {
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
    each_of(node, "revisions", [&](const Node& revision) { take_revision(revision, item, node); });
  }

  void take_revision(const Node& node, tag item, const Node& item_node) {
    node.allow_only({"id", "datasets", "master_form"}, workspace_members);
    const std::string id = node.at("id").name();
    const Store::Criteria key = {{"item_tag", item}, {"item_revision_id", id}};
    const tag known = find_revision(store_, item, id);
    const tag revision =
        take_workspace_object(node, known, type_of(node, "ItemRevision"), key, [&](Draft& draft) {
          if (draft.text("object_name").empty()) {
            draft.set(node, "object_name", item_node.at("name").text());
          }
        });
    data_.take_master_form(node, revision);
    each_of(node, "datasets", [&](const Node& dataset) { take_dataset(dataset, revision); });
  }

  void take_dataset(const Node& node, tag revision) {
    node.allow_only({"relation", "tool", "files", "forms"}, workspace_members);
    const std::string name = node.at("name").name();
    const auto relation = node.find("relation");
    const tag relation_type =
        relation ? find_relation_type(*relation) : store_.find_type(default_dataset_relation);
    const tag type = type_of(node, "Dataset");
    const tag known = find_dataset(revision, name);
    const tag dataset = take_workspace_object(
        node, known, type, {{"object_name", name}, {"dataset_type", type}}, [&](Draft& draft) {
          if (const auto tool = node.find("tool")) {
            draft.set(*tool, "tool_used",
                      tool->is_null() ? NULLTAG : find(*tool, "Tool", "tool_name", "tool"));
          } else if (draft.reference("tool_used") == NULLTAG) {
            const tag held_type = known != NULLTAG ? host::type_of(store_, known) : type;
            draft.set(node, "tool_used", default_tool(store_, held_type));
          }
        });
    ensure_relation(node, revision, relation_type, dataset);
    data_.take_contents(node, dataset);
    take_making(node, dataset);
  }

  void take_relation(const Node& node) {
    node.allow_only({"primary", "type", "secondary", "user_data"});
    const tag relation_type = find_relation_type(node.at("type"));
    const tag primary = find_object(node.at("primary"));
    const tag relation =
        ensure_relation(node, primary, relation_type, find_object(node.at("secondary")));
    if (const auto data = node.find("user_data")) {
      put(*data, relation, "user_data", data->is_null() ? NULLTAG : find_object(*data));
    }
  }

  const SeedText& text_;
  const SeeProgress& progress_;
  DataSeeder data_;
  StructureSeeder structures_;
  FolderSeeder folders_;
};

/**
 * How the file is written while a seed is taken: with more of it in memory, and without a second
 * look at references, all of which the store has looked up.
 */
class SeedSettings {
 public:
  explicit SeedSettings(Database& database) : database_(database) {
    database_.execute("PRAGMA cache_size = -65536; PRAGMA foreign_keys = OFF");
  }
  ~SeedSettings() {
    try {
      database_.execute("PRAGMA cache_size = -2000; PRAGMA foreign_keys = ON");
    } catch (const std::exception&) {
      // Neither decides what is written.
    }
  }
  SeedSettings(const SeedSettings&) = delete;
  SeedSettings& operator=(const SeedSettings&) = delete;

 private:
  Database& database_;
};

void take_seed(Site& site, std::string_view json, const std::filesystem::path& folder,
               SeedFaults& faults, const SeeProgress& progress) {
  if (site.store().has_unsaved_changes()) {
    refuse(ORK_invalid_argument, "the session has unsaved changes; save or drop them first");
  }
  const SeedText text(json, streamed_sections,
                      [&faults](const SeedFault& fault) { faults.add(fault); });
  try {
    const SeedSettings settings(site.database());
    std::optional<WriterNote> note;
    Transaction transaction(site.database());
    note.emplace(site.path(), site.session ? site.session->user_id : "");
    InsertBatch batch(site.store());
    SeedRun run{site, folder, faults, {}, {}};
    const SeedPart part{text, text.root(), text.begin(), {}, faults};
    Seeder(run, text, progress).take(Node(text.root(), part));
    batch.end();
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

}  // namespace

void seed(Site& site, std::string_view json, const std::filesystem::path& folder,
          const SeeProgress& progress) {
  SeedFaults faults;
  take_seed(site, json, folder, faults, progress);
}

void check_seed(Site& site, std::string_view json, const std::filesystem::path& folder,
                const TakeFault& take_fault, const SeeProgress& progress) {
  const bool is_alone = !site.database().holds_changes();
  if (is_alone) {
    site.hold_changes();
  }
  site.database().rehearse();
  SeedFaults faults{take_fault, 0, {}};
  try {
    take_seed(site, json, folder, faults, progress);
  } catch (const SeedFailure& failure) {
    faults.add(failure.fault());
  } catch (const Consequence&) {
    // What it follows from has been told.
  } catch (...) {
    if (is_alone) {
      site.end_changes(false);
    }
    throw;
  }
  if (is_alone) {
    site.end_changes(false);
  }
  if (faults.count > 0) {
    refuse(ORK_invalid_argument, "the seed has " + std::to_string(faults.count) +
                                     (faults.count == 1 ? " fault" : " faults"));
  }
}

}  // namespace host
