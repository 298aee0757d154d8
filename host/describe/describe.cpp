#include "describe.h"

#include <algorithm>
#include <iterator>
#include <nlohmann/json.hpp>

#include "datasets.h"
#include "failure.h"
#include "flow_describe.h"
#include "forms.h"
#include "json_values.h"
#include "known_sites.h"
#include "object_describe.h"
#include "password.h"
#include "structure_describe.h"
#include "types.h"

namespace host {

namespace {

using Json = nlohmann::ordered_json;

Json describe_site(Site& site) {
  const auto text = [&](const char* name) -> Json {
    const auto value = site.store().setting(name);
    return value ? Json(*value) : Json(nullptr);
  };
  const int number = local_site_number(site.store());
  return {{"path", site.path()},
          {"id", number != 0 ? Json(number) : Json(nullptr)},
          {"name", text("site_name")},
          {"automatic_login", text("automatic_login")},
          {"password_cost", password_cost(site.database())}};
}

Json describe_named(Store& store, const char* class_name, const char* name,
                    const char* description) {
  Json all = Json::array();
  for (const tag object : store.find(class_name)) {
    all.push_back({{"tag", object},
                   {"name", store.text(object, name)},
                   {"description", store.text(object, description)}});
  }
  return all;
}

Json describe_groups(Site& site) {
  return describe_named(site.store(), "Group", "group_name", "group_desc");
}

Json describe_roles(Site& site) {
  return describe_named(site.store(), "Role", "role_name", "role_desc");
}

Json describe_memberships(Store& store, tag user) {
  Json memberships = Json::array();
  for (const tag member : store.find("GroupMember", {{"member_user", user}})) {
    memberships.push_back(
        {{"group", name_of_reference(store, store.reference(member, "member_group"), "group_name")},
         {"role", name_of_reference(store, store.reference(member, "member_role"), "role_name")}});
  }
  return memberships;
}

Json describe_users(Site& site) {
  Store& store = site.store();
  Json all = Json::array();
  for (const tag user : store.find("User")) {
    all.push_back({{"tag", user},
                   {"id", store.text(user, "user_id")},
                   {"name", store.text(user, "user_name")},
                   {"administrator", store.logical_value(user, "is_administrator")},
                   {"default_group",
                    name_of_reference(store, store.reference(user, "default_group"), "group_name")},
                   {"memberships", describe_memberships(store, user)}});
  }
  return all;
}

Json describe_attribute(const Attribute& attribute) {
  Json description = {
      {"name", attribute.name}, {"kind", name_of(attribute.kind)}, {"list", attribute.list}};
  if (attribute.kind == Kind::text) {
    description["length"] = attribute.max_length;
  }
  return description;
}

Json describe_classes(Site& site) {
  Json all = Json::array();
  for (const Class* type : site.store().classes()) {
    Json attributes = Json::array();
    for (const auto& attribute : type->own) {
      attributes.push_back(describe_attribute(*attribute));
    }
    all.push_back({{"name", type->name},
                   {"parent", type->parent != nullptr ? Json(type->parent->name) : Json(nullptr)},
                   {"attributes", std::move(attributes)}});
  }
  return all;
}

Json describe_types(Site& site) {
  Store& store = site.store();
  Json all = Json::array();
  for (const tag type : store.find("Type")) {
    if (store.is_a(type, "RelationType")) {
      continue;
    }
    all.push_back(
        {{"tag", type},
         {"name", store.text(type, "type_name")},
         {"parent", name_of_reference(store, store.reference(type, "parent_type"), "type_name")},
         {"class", store.text(type, "type_class")}});
  }
  return all;
}

Json describe_relation_types(Site& site) {
  Store& store = site.store();
  Json all = Json::array();
  for (const tag type : store.find("RelationType")) {
    all.push_back({{"tag", type}, {"name", store.text(type, "type_name")}});
  }
  return all;
}

Json describe_sites(Site& site) {
  Store& store = site.store();
  Json all = Json::array();
  for (const tag object : store.find("Site")) {
    all.push_back({{"tag", object},
                   {"id", store.integer(object, "site_id")},
                   {"name", store.text(object, "site_name")}});
  }
  return all;
}

Json describe_accessor(Store& store, const AccessRule& rule) {
  if (rule.accessor == NULLTAG) {
    return rule.accessor_kind;
  }
  const char* name = rule.accessor_kind == "user"    ? "user_id"
                     : rule.accessor_kind == "group" ? "group_name"
                                                     : "role_name";
  return rule.accessor_kind + " " + store.text(rule.accessor, name);
}

Json describe_target(Store& store, const AccessRule& rule) {
  if (rule.target_object != NULLTAG) {
    return describe_reference(store, rule.target_object);
  }
  if (rule.target_type != NULLTAG) {
    return "type " + store.text(rule.target_type, "type_name");
  }
  return "class " + rule.target_class;
}

Json describe_access(Site& site) {
  Json all = Json::array();
  for (const AccessRule& rule : read_access_rules(site.store())) {
    all.push_back({{"number", rule.number},
                   {"effect", rule.grants ? "grant" : "deny"},
                   {"privileges", rule.privileges},
                   {"to", describe_accessor(site.store(), rule)},
                   {"on", describe_target(site.store(), rule)}});
  }
  return all;
}

Json describe_locks(Site& site) {
  Store& store = site.store();
  Json all = Json::array();
  for (const tag object : store.locked_instances()) {
    const std::optional<LockHolder> holder = store.lock_holder(object);
    if (!holder) {
      continue;  // it has ended just now
    }
    all.push_back({{"object", describe_reference(store, object)},
                   {"user", holder->user_id},
                   {"node", holder->node},
                   {"since", date_text(holder->since)}});
  }
  return all;
}

Json describe_preferences(Site& site) {
  const PreferenceTable table = read_preferences(site.database());
  const std::map<std::string, PreferenceValues> sorted(table.all().begin(), table.all().end());
  Json all = Json::object();
  for (const auto& [name, values] : sorted) {
    all[name] = values;
  }
  return all;
}

/** Those of the site's own, not those that ship with the host. */
Json describe_texts(Site& site) {
  Json all = Json::array();
  for (const Language language : languages) {
    for (const auto& [key, text] : site.texts().in(language)) {
      all.push_back({{"language", name_of(language)}, {"key", key}, {"text", text}});
    }
  }
  return all;
}

Json describe_tools(Site& site) {
  Json all = Json::array();
  for (const tag tool : site.store().find("Tool")) {
    Json formats = Json::array();
    for (const Scalar& format : site.store().values(tool, "output_formats")) {
      formats.push_back(value_json(format));
    }
    all.push_back({{"tag", tool},
                   {"name", site.store().text(tool, "tool_name")},
                   {"output_formats", std::move(formats)}});
  }
  return all;
}

/** As a type or one above it says; a reference that is not for files has none. */
Json describe_file_references(Store& store, tag type) {
  const std::vector<FileReference> all_files = file_references(store, type);
  Json references = Json::array();
  for (const std::string& name : reference_names(all_files)) {
    Json files = Json::array();
    for (const FileReference& file : all_files) {
      if (file.reference == name && file.is_for_files()) {
        files.push_back({{"template", file.file_template}, {"format", file.format}});
      }
    }
    references.push_back({{"name", name}, {"files", std::move(files)}});
  }
  return references;
}

Json describe_dataset_types(Site& site) {
  Store& store = site.store();
  Json all = Json::array();
  for (const tag type : store.find("Type")) {
    if (is_stored_in(store, type, "Dataset")) {
      all.push_back({{"tag", type},
                     {"name", store.text(type, "type_name")},
                     {"tool", name_of_reference(store, default_tool(store, type), "tool_name")},
                     {"references", describe_file_references(store, type)}});
    }
  }
  return all;
}

Json describe_form_types(Site& site) {
  Store& store = site.store();
  Json all = Json::array();
  for (const tag type : store.find("Type")) {
    if (!is_stored_in(store, type, "Form")) {
      continue;
    }
    Json fields = Json::array();
    for (const Attribute* field :
         form_fields(store, store.class_named(store.text(type, "type_class")))) {
      fields.push_back(describe_attribute(*field));
    }
    all.push_back(
        {{"tag", type}, {"name", store.text(type, "type_name")}, {"fields", std::move(fields)}});
  }
  return all;
}

Json describe_rules(Site& site) {
  return describe_revision_rules(site.store());
}

/** A section is made as a whole, or written piece by piece where it grows with the site. */
struct Section {
  const char* name;
  Json (*describe)(Site& site);
  void (*write)(Site& site, JsonStream& stream) = nullptr;
};

constexpr Section sections[] = {
    {"site", describe_site},
    {"users", describe_users},
    {"groups", describe_groups},
    {"roles", describe_roles},
    {"classes", describe_classes},
    {"types", describe_types},
    {"relation_types", describe_relation_types},
    {"tools", describe_tools},
    {"dataset_types", describe_dataset_types},
    {"form_types", describe_form_types},
    {"objects", nullptr, write_objects},
    {"relations", nullptr, write_relations},
    {"structures", nullptr, write_structures},
    {"revision_rules", describe_rules},
    {"preferences", describe_preferences},
    {"texts", describe_texts},
    {"sites", describe_sites},
    {"process_templates", describe_process_templates},
    {"jobs", nullptr, write_jobs},
    {"access", describe_access},
    {"locks", describe_locks},
};

void write_section(Site& site, const Section& section, JsonStream& stream) {
  if (section.write != nullptr) {
    section.write(site, stream);
  } else {
    stream.value(section.describe(site));
  }
}

}  // namespace

void describe(Site& site, const std::string& section, const JsonStream::Write& write) {
  const Reading one_state(site.database());
  JsonStream stream(write);
  if (section.empty()) {
    stream.begin_object();
    for (const Section& each : sections) {
      stream.key(each.name);
      write_section(site, each, stream);
    }
    stream.end();
    return;
  }
  const auto wanted = std::find_if(std::begin(sections), std::end(sections),
                                   [&](const Section& each) { return section == each.name; });
  if (wanted == std::end(sections)) {
    refuse(ORK_invalid_argument, "there is no section \"" + section + "\"");
  }
  write_section(site, *wanted, stream);
}

}  // namespace host
