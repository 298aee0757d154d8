#include "describe.h"

#include <nlohmann/json.hpp>

#include "datasets.h"
#include "dates.h"
#include "failure.h"
#include "files.h"
#include "flow_describe.h"
#include "forms.h"
#include "known_sites.h"
#include "object_id.h"
#include "ork/dset.h"
#include "structures.h"
#include "types.h"

namespace host {

namespace {

using Json = nlohmann::ordered_json;

/** Name of an object that has one attribute for it; null for no object. */
Json name_of_reference(Store& store, tag object, const char* attribute) {
  if (object == NULLTAG) {
    return nullptr;
  }
  return store.text(object, attribute);
}

Json value_json(const Scalar& value) {
  if (const auto* date = std::get_if<date_s>(&value)) {
    return date_text(*date);
  }
  return std::visit(
      [](const auto& content) -> Json {
        if constexpr (std::is_same_v<std::decay_t<decltype(content)>, date_s>) {
          return nullptr;
        } else {
          return content;
        }
      },
      value);
}

Json describe_site(Site& site) {
  const auto text = [&](const char* name) -> Json {
    const auto value = site.store().setting(name);
    return value ? Json(*value) : Json(nullptr);
  };
  const int number = local_site_number(site.store());
  return {{"path", site.path()},
          {"id", number != 0 ? Json(number) : Json(nullptr)},
          {"name", text("site_name")},
          {"automatic_login", text("automatic_login")}};
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

Json describe_statuses(Store& store, tag object) {
  Json all = Json::array();
  for (const Scalar& value : store.values(object, "release_status_list")) {
    const tag status = std::get<tag>(value);
    all.push_back({{"name", store.text(status, "name")},
                   {"date", date_text(store.date(status, "date_released"))}});
  }
  return all;
}

/** The object and, where users know it by an id, that. */
Json describe_reference(Store& store, tag object) {
  Json described = {{"tag", object}};
  if (store.is_a(object, "WorkspaceObject")) {
    described["id"] = object_id_text(store, object);
  }
  return described;
}

Json describe_file(Store& store, tag file) {
  const Contents contents = contents_of(store, file);
  return {{"name", store.text(file, "original_file_name")},
          {"size", contents.size},
          {"digest", contents.digest}};
}

/** What a dataset refers to. */
Json describe_named_references(Store& store, tag dataset) {
  Json all = Json::array();
  for (const NamedReference& reference : named_references(store, dataset)) {
    Json described = {{"name", reference.name},
                      {"part", reference.type == DSET_PART_OF},
                      {"object", describe_reference(store, reference.object)}};
    if (store.is_a(reference.object, "VeloFile")) {
      described["file"] = describe_file(store, reference.object);
    }
    all.push_back(std::move(described));
  }
  return all;
}

Json describe_objects(Site& site) {
  Store& store = site.store();
  Json all = Json::array();
  for (const tag object : store.find("WorkspaceObject")) {
    Json attributes = Json::object();
    for (const Attribute* attribute : store.class_of(object).slots) {
      const Values& values = store.values(object, attribute->name);
      if (values.empty()) {
        continue;
      }
      if (attribute->list) {
        Json& list = attributes[attribute->name] = Json::array();
        for (const Scalar& value : values) {
          list.push_back(value_json(value));
        }
      } else {
        attributes[attribute->name] = value_json(values.front());
      }
    }
    all.push_back(
        {{"tag", object},
         {"class", store.class_of(object).name},
         {"type", store.text(object, "object_type")},
         {"id", object_id_text(store, object)},
         {"statuses", describe_statuses(store, object)},
         {"checked_out_by",
          name_of_reference(store, store.reference(object, "checked_out_user"), "user_id")},
         {"owning_site",
          name_of_reference(store, store.reference(object, "owning_site"), "site_name")},
         {"attributes", std::move(attributes)}});
    if (store.is_a(object, "Dataset")) {
      all.back()["references"] = describe_named_references(store, object);
    }
  }
  return all;
}

Json describe_relations(Site& site) {
  Store& store = site.store();
  Json all = Json::array();
  const auto end = [&](tag relation, const char* attribute) {
    return describe_reference(store, store.reference(relation, attribute));
  };
  for (const tag relation : store.find("Relation")) {
    all.push_back({{"tag", relation},
                   {"type", name_of_reference(store, store.reference(relation, "relation_type"),
                                              "type_name")},
                   {"primary", end(relation, "primary_object")},
                   {"secondary", end(relation, "secondary_object")}});
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

Json describe_occurrence(Store& store, Structure& structure, const Occurrence& occurrence) {
  const tag revision = structure.revision(occurrence);
  Json notes = Json::object();
  for (const auto& [type, text] : structure.notes(occurrence)) {
    notes[store.text(type, "note_type_name")] = text;
  }
  return {{"item", store.text(structure.item(occurrence), "item_id")},
          {"revision",
           revision != NULLTAG ? Json(store.text(revision, "item_revision_id")) : Json(nullptr)},
          {"quantity", structure.quantity(occurrence)},
          {"sequence", structure.sequence(occurrence)},
          {"notes", std::move(notes)}};
}

Json describe_names(Store& store, const char* class_name, const char* attribute) {
  Json all = Json::array();
  for (const tag object : store.find(class_name)) {
    all.push_back(store.text(object, attribute));
  }
  return all;
}

Json describe_rules(Store& store) {
  Json all = Json::array();
  for (const tag rule : store.find("RevisionRule")) {
    Json clauses = Json::array();
    for (const Scalar& clause : store.values(rule, "clauses")) {
      clauses.push_back(std::get<std::string>(clause));
    }
    all.push_back({{"name", store.text(rule, "rule_name")}, {"clauses", std::move(clauses)}});
  }
  return all;
}

Json describe_structures(Site& site) {
  Store& store = site.store();
  Json views = Json::array();
  for (const tag view_revision : store.find("PSBOMViewRevision")) {
    Structure& structure = site.structures().of(view_revision);
    Json occurrences = Json::array();
    for (const Occurrence* occurrence : structure.occurrences()) {
      occurrences.push_back(describe_occurrence(store, structure, *occurrence));
    }
    const tag view = store.reference(view_revision, "bom_view");
    views.push_back(
        {{"tag", view_revision},
         {"revision", object_id_text(store, store.reference(view_revision, "structure_of"))},
         {"view_type",
          name_of_reference(store, store.reference(view, "view_type"), "view_type_name")},
         {"occurrences", std::move(occurrences)}});
  }
  return {
      {"view_types", describe_names(store, "PSViewType", "view_type_name")},
      {"default_view_type", name_of_reference(store, default_view_type(store), "view_type_name")},
      {"note_types", describe_names(store, "PSNoteType", "note_type_name")},
      {"revision_rules", describe_rules(store)},
      {"view_revisions", std::move(views)}};
}

struct Section {
  const char* name;
  Json (*describe)(Site& site);
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
    {"objects", describe_objects},
    {"relations", describe_relations},
    {"structures", describe_structures},
    {"preferences", describe_preferences},
    {"texts", describe_texts},
    {"sites", describe_sites},
    {"process_templates", describe_process_templates},
    {"jobs", describe_jobs},
    {"access", describe_access},
    {"locks", describe_locks},
};

std::string text_of(const Json& json) {
  // Texts are whatever bytes a customisation stored; those that are not UTF-8 are shown as such.
  return json.dump(2, ' ', false, Json::error_handler_t::replace);
}

}  // namespace

std::string describe(Site& site, const std::string& section) {
  const Reading one_state(site.database());
  Json all = Json::object();
  for (const Section& candidate : sections) {
    if (section == candidate.name) {
      return text_of(candidate.describe(site));
    }
    if (section.empty()) {
      all[candidate.name] = candidate.describe(site);
    }
  }
  if (!section.empty()) {
    refuse(ORK_invalid_argument, "there is no section \"" + section + "\"");
  }
  return text_of(all);
}

}  // namespace host
