#include "export_definitions.h"

#include <algorithm>
#include <map>

#include "access.h"
#include "datasets.h"
#include "known_sites.h"
#include "password.h"
#include "preferences.h"
#include "revision_rules.h"
#include "structures.h"
#include "types.h"

namespace host {

namespace {

using Json = nlohmann::ordered_json;

/** Sections and members that have nothing to say are left out. */
void add(Json& owner, const char* member, Json value) {
  if (!value.empty() && value != "") {
    owner[member] = std::move(value);
  }
}

class DefinitionExport {
 public:
  DefinitionExport(Site& site, ExportPlaces& places)
      : site_(site), store_(site.store()), places_(places) {}

  void add_to(Json& seed) {
    seed["site"] = settings();
    add(seed, "sites", other_sites());
    add(seed, "groups", named("Group", "group_name", "group_desc", "group"));
    add(seed, "roles", named("Role", "role_name", "role_desc", "role"));
    add(seed, "users", users());
    add(seed, "classes", classes());
    add(seed, "types", types());
    add(seed, "relation_types", relation_types());
    add(seed, "tools", tools());
    add(seed, "dataset_types", dataset_types());
    add(seed, "preferences", preferences());
    add(seed, "texts", texts());
    add(seed, "view_types", view_types());
    add(seed, "note_types", names("PSNoteType", "note_type_name", "note_type"));
    add(seed, "revision_rules", revision_rules());
  }

 private:
  Json settings() {
    Json settings = Json::object();
    if (const int number = local_site_number(store_); number != 0) {
      settings["id"] = number;
      if (const tag local = find_site(store_, number); local != NULLTAG) {
        places_.note(local, {{"site", number}});
      }
    }
    for (const auto& [member, setting] :
         {std::pair{"name", "site_name"}, std::pair{"automatic_login", "automatic_login"}}) {
      add(settings, member, store_.setting(setting).value_or(""));
    }
    if (store_.setting("password_cost")) {
      settings["password_cost"] = password_cost(site_.database());
    }
    return settings;
  }

  Json other_sites() {
    Json all = Json::array();
    for (const tag object : store_.find("Site")) {
      const int number = store_.integer(object, "site_id");
      if (!places_.has(object) && !store_.text(object, "site_name").empty()) {
        places_.note(object, {{"site", number}});
        all.push_back({{"id", number}, {"name", store_.text(object, "site_name")}});
      }
    }
    return all;
  }

  Json named(const char* class_name, const char* name, const char* description,
             const char* member) {
    Json all = Json::array();
    for (const tag object : store_.find(class_name)) {
      const std::string& text = store_.text(object, name);
      places_.note(object, {{member, text}});
      all.push_back({{"name", text}});
      add(all.back(), "description", store_.text(object, description));
    }
    return all;
  }

  Json names(const char* class_name, const char* name, const char* member) {
    Json all = Json::array();
    for (const tag object : store_.find(class_name)) {
      places_.note(object, {{member, store_.text(object, name)}});
      all.push_back(store_.text(object, name));
    }
    return all;
  }

  Json users() {
    Json all = Json::array();
    for (const tag user : store_.find("User")) {
      const std::string& id = store_.text(user, "user_id");
      places_.note(user, {{"user", id}});
      Json described = {{"id", id}, {"name", store_.text(user, "user_name")}};
      add(described, "password_hash", password_hash(site_.database(), user));
      if (store_.logical_value(user, "is_administrator")) {
        described["administrator"] = true;
      }
      add_memberships(described, user, id);
      all.push_back(std::move(described));
    }
    return all;
  }

  void add_memberships(Json& described, tag user, const std::string& id) {
    const tag default_group = store_.reference(user, "default_group");
    Json memberships = Json::array();
    for (const tag member : store_.find("GroupMember", {{"member_user", user}})) {
      const tag group = store_.reference(member, "member_group");
      const tag role = store_.reference(member, "member_role");
      if (group == NULLTAG || role == NULLTAG) {
        continue;
      }
      Json membership = {{"group", store_.text(group, "group_name")},
                         {"role", store_.text(role, "role_name")}};
      if (group == default_group) {
        described["default_group"] = membership["group"];
      }
      memberships.push_back(membership);
      membership["user"] = id;
      places_.note(member, {{"membership", std::move(membership)}});
    }
    add(described, "memberships", std::move(memberships));
  }

  /** With those of built-in classes that seeds have given attributes. */
  Json classes() {
    Json all = Json::array();
    for (const Class* type : store_.classes()) {
      Json attributes = Json::array();
      for (const auto& attribute : type->own) {
        if (find_built_in_attribute(type->name, attribute->name) == nullptr) {
          attributes.push_back(attribute_json(*attribute));
        }
      }
      if (type->parent == nullptr || (type->is_built_in && attributes.empty())) {
        continue;
      }
      all.push_back({{"name", type->name}, {"parent", type->parent->name}});
      add(all.back(), "attributes", std::move(attributes));
    }
    return all;
  }

  static Json attribute_json(const Attribute& attribute) {
    Json described = {{"name", attribute.name}, {"kind", name_of(attribute.kind)}};
    if (attribute.list) {
      described["list"] = true;
    }
    if (attribute.kind == Kind::text) {
      described["length"] = attribute.max_length;
    }
    return described;
  }

  static bool is_built_in_type(const std::string& name) {
    const auto types = built_in_types();
    return std::any_of(types.begin(), types.end(),
                       [&](const TypeDefinition& type) { return type.name == name; });
  }

  Json types() {
    Json all = Json::array();
    for (const tag type : store_.find("Type")) {
      const std::string& name = store_.text(type, "type_name");
      const tag parent = store_.reference(type, "parent_type");
      const bool is_built_in = is_built_in_type(name);
      if (store_.is_a(type, "RelationType") || (parent == NULLTAG && !is_built_in)) {
        continue;
      }
      places_.note(type, {{"type", name}});
      if (!is_built_in) {
        all.push_back({{"name", name},
                       {"parent", store_.text(parent, "type_name")},
                       {"class", store_.text(type, "type_class")}});
      }
    }
    return all;
  }

  Json relation_types() {
    Json all = Json::array();
    for (const tag type : store_.find("RelationType")) {
      const std::string& name = store_.text(type, "type_name");
      places_.note(type, {{"type", name}});
      if (!is_built_in_type(name)) {
        all.push_back(name);
      }
    }
    return all;
  }

  Json tools() {
    Json all = Json::array();
    for (const tag tool : store_.find("Tool")) {
      const std::string& name = store_.text(tool, "tool_name");
      places_.note(tool, {{"tool", name}});
      std::vector<std::string> formats;
      for (const Scalar& format : store_.values(tool, "output_formats")) {
        formats.push_back(std::get<std::string>(format));
      }
      const auto& known = built_in_tools();
      const bool is_built_in =
          std::any_of(known.begin(), known.end(), [&](const ToolDefinition& definition) {
            return definition.name == name && definition.output_formats == formats;
          });
      if (!is_built_in) {
        all.push_back({{"name", name}, {"output_formats", formats}});
      }
    }
    return all;
  }

  /** Those with a definition of their own. */
  Json dataset_types() {
    Json all = Json::array();
    for (const tag type : store_.find("Type")) {
      if (!is_stored_in(store_, type, "Dataset")) {
        continue;
      }
      const std::string& name = store_.text(type, "type_name");
      const tag tool = store_.reference(type, "default_tool");
      const std::vector<FileReference> references = own_file_references(store_, type);
      const std::string tool_name = tool != NULLTAG ? store_.text(tool, "tool_name") : "";
      const auto& known = built_in_dataset_types();
      const auto definition =
          std::find_if(known.begin(), known.end(),
                       [&](const DatasetTypeDefinition& entry) { return entry.type == name; });
      const bool is_as_known = definition == known.end() ? tool == NULLTAG && references.empty()
                                                         : definition->default_tool == tool_name &&
                                                               definition->references == references;
      if (!is_as_known) {
        all.push_back({{"name", name}});
        add(all.back(), "tool", tool_name);
        all.back()["references"] = references_json(references);
      }
    }
    return all;
  }

  static Json references_json(const std::vector<FileReference>& references) {
    Json all = Json::array();
    for (const FileReference& reference : references) {
      if (all.empty() || all.back()["name"] != reference.reference || !reference.is_for_files() ||
          !all.back().contains("files")) {
        all.push_back({{"name", reference.reference}});
      }
      if (reference.is_for_files()) {
        all.back()["files"].push_back(
            {{"template", reference.file_template}, {"format", reference.format}});
      }
    }
    return all;
  }

  Json preferences() {
    const PreferenceTable table = read_preferences(site_.database());
    const std::map<std::string, PreferenceValues> sorted(table.all().begin(), table.all().end());
    Json all = Json::object();
    for (const auto& [name, values] : sorted) {
      all[name] = values.size() == 1 ? Json(values.front()) : Json(values);
    }
    return all;
  }

  Json texts() {
    Json all = Json::object();
    for (const Language language : languages) {
      for (const auto& [key, text] : site_.texts().in(language)) {
        all[name_of(language)][key] = text;
      }
    }
    return all;
  }

  Json view_types() {
    const tag usual = default_view_type(store_);
    Json all = Json::array();
    for (const tag type : store_.find("PSViewType")) {
      const std::string& name = store_.text(type, "view_type_name");
      places_.note(type, {{"view_type", name}});
      if (type == usual) {
        all.push_back({{"name", name}, {"default", true}});
      } else if (name != "view") {
        all.push_back(name);
      }
    }
    return all;
  }

  Json revision_rules() {
    Json all = Json::array();
    for (const tag rule : store_.find("RevisionRule")) {
      const std::string& name = store_.text(rule, "rule_name");
      places_.note(rule, {{"revision_rule", name}});
      Json clauses = Json::array();
      for (const Scalar& value : store_.values(rule, "clauses")) {
        const std::string& clause = std::get<std::string>(value);
        if (clause == latest_clause) {
          clauses.push_back(clause);
        } else {
          clauses.push_back({{"status", clause.substr(status_clause("").size())}});
        }
      }
      all.push_back({{"name", name}, {"clauses", std::move(clauses)}});
    }
    return all;
  }

  Site& site_;
  Store& store_;
  ExportPlaces& places_;
};

Json rule_json(Store& store, const ExportPlaces& places, const AccessRule& rule) {
  Json described = {{rule.grants ? "grant" : "deny", rule.privileges}};
  described["to"] = rule.accessor != NULLTAG ? places.of(rule.accessor) : Json(rule.accessor_kind);
  described["on"] = rule.target_object != NULLTAG ? places.of(rule.target_object)
                    : rule.target_type != NULLTAG
                        ? Json({{"type", store.text(rule.target_type, "type_name")}})
                        : Json({{"class", rule.target_class}});
  return described;
}

/** Rules of seeds are about an item, a revision or a dataset of one, where they are about one. */
bool is_seed_rule(const ExportPlaces& places, const AccessRule& rule) {
  if (rule.target_object == NULLTAG) {
    return true;
  }
  const Json place = places.of(rule.target_object);
  return place.contains("item") && !place.contains("view_type");
}

}  // namespace

void export_definitions(Site& site, ExportPlaces& places, Json& seed) {
  DefinitionExport(site, places).add_to(seed);
}

void export_access_rules(Site& site, ExportPlaces& places, Json& seed) {
  Store& store = site.store();
  Json all = Json::array();
  for (const AccessRule& rule : read_access_rules(store)) {
    if (rule.number != static_cast<int>(all.size()) + 1 || !is_seed_rule(places, rule)) {
      return;  // they are among the objects
    }
    all.push_back(rule_json(store, places, rule));
  }
  for (const tag rule : store.find("AccessRule")) {
    places.note_unnamed(rule);
  }
  add(seed, "access_rules", std::move(all));
}

}  // namespace host
