#include "objects.h"

#include <algorithm>
#include <map>
#include <unordered_map>

#include "datasets.h"
#include "dates.h"
#include "failure.h"
#include "files.h"
#include "json_values.h"
#include "object_id.h"
#include "ork/ork.h"
#include "stored_values.h"
#include "types.h"

namespace host {

using Json = ObjectSections::Json;

namespace {

/** What sections say of all workspace objects by members of their own. */
constexpr const char* common[] = {"object_name",      "object_type",      "object_desc",
                                  "owning_user",      "owning_group",     "owning_site",
                                  "checked_out_user", "checked_out_date", "release_status_list"};

/** Where a file's contents are is the business of the site that has it. */
bool is_of_contents(const Attribute& attribute) {
  return attribute.name == "contents" || attribute.name == "byte_size" ||
         attribute.name == "digest";
}

/** Lists of one length are said together. */
bool is_side_by_side(const Class& type, const std::string& attribute) {
  return std::any_of(type.side_by_side.begin(), type.side_by_side.end(), [&](const auto& lists) {
    return std::find(lists.begin(), lists.end(), attribute) != lists.end();
  });
}

Json null_or_text(Store& store, tag object, const char* attribute) {
  return object != NULLTAG ? Json(store.text(object, attribute)) : Json();
}

/** The notes of each occurrence, by its number. */
std::unordered_map<int, std::map<std::string, std::string>> notes_of(Store& store,
                                                                     tag view_revision) {
  const Values of = store.values(view_revision, "note_occurrences");
  const Values types = store.values(view_revision, "note_types");
  const Values texts = store.values(view_revision, "note_texts");
  std::unordered_map<int, std::map<std::string, std::string>> notes;
  for (std::size_t i = 0; i < of.size(); ++i) {
    notes[std::get<int>(of[i])][store.text(std::get<tag>(types[i]), "note_type_name")] =
        std::get<std::string>(texts[i]);
  }
  return notes;
}

}  // namespace

ObjectSections::ObjectSections(Site& site, const Wishes& wishes, Places& places, Account& account)
    : store_(site.store()), wishes_(wishes), places_(places), account_(account) {
  const auto user_id = store_.setting("automatic_login");
  has_automatic_user_ = user_id && store_.find_one("User", {{"user_id", *user_id}}) != NULLTAG;
}

void ObjectSections::write_items(ElementList& list) {
  for_each_element(store_, "Item", [&](tag item) {
    if (!wishes_.is_seed || places_.has_item(item)) {
      list.add(item_json(item));
    }
  });
}

Json ObjectSections::item_json(tag item) {
  Json described =
      workspace_json(item, "Item", {"item_id"}, {{"id", store_.text(item, "item_id")}});
  add_master_form(described, item);
  for (const tag revision : store_.find("ItemRevision", {{"item_tag", item}})) {
    if (!wishes_.is_seed || places_.has_revision(revision)) {
      described["revisions"].push_back(revision_json(revision));
    }
  }
  return described;
}

Json ObjectSections::revision_json(tag revision) {
  Json described = workspace_json(revision, "ItemRevision", {"item_tag", "item_revision_id"},
                                  {{"id", store_.text(revision, "item_revision_id")}});
  add_master_form(described, revision);
  add_datasets(described, revision);
  return described;
}

void ObjectSections::add_master_form(Json& described, tag owner) {
  const tag relation = store_.find_one(
      "Relation",
      {{"primary_object", owner}, {"relation_type", store_.find_type("VELO_master_form")}});
  const tag form = relation != NULLTAG ? store_.reference(relation, "secondary_object") : NULLTAG;
  if (form != NULLTAG && store_.is_a(form, "Form") &&
      places_.relation_of_master_form(form) == relation) {
    account_.said.add(relation);
    described["master_form"] = workspace_json(form, "Form", {});
  }
}

void ObjectSections::add_datasets(Json& described, tag revision) {
  for (const tag relation : store_.find("Relation", {{"primary_object", revision}})) {
    const tag dataset = store_.reference(relation, "secondary_object");
    if (dataset != NULLTAG && store_.is_a(dataset, "Dataset") &&
        places_.relation_of_dataset(dataset) == relation) {
      account_.said.add(relation);
      described["datasets"].push_back(dataset_json(dataset, relation));
    }
  }
}

Json ObjectSections::dataset_json(tag dataset, tag relation) {
  std::set<std::string> said = {"dataset_type", "tool_used"};
  const bool has_plain_parts = places_.are_plain_parts(dataset);
  if (has_plain_parts) {
    said.insert({"reference_names", "reference_types", "reference_objects"});
  }
  Json described = workspace_json(dataset, "Dataset", said);
  if (const std::string& type =
          store_.text(store_.reference(relation, "relation_type"), "type_name");
      type != "VELO_reference") {
    described["relation"] = type;
  }
  const tag tool = store_.reference(dataset, "tool_used");
  if (!wishes_.is_seed || tool != default_tool(store_, type_of(store_, dataset))) {
    described["tool"] = null_or_text(store_, tool, "tool_name");
  }
  if (!has_plain_parts) {
    return described;
  }
  for (const NamedReference& part : named_references(store_, dataset)) {
    account_.said.add(part.object);
    if (store_.is_a(part.object, "Form")) {
      Json form = {{"reference", part.name}};
      form.update(workspace_json(part.object, "Form", {}));
      described["forms"].push_back(std::move(form));
    } else {
      described["files"].push_back(file_json(part.name, part.object));
    }
  }
  return described;
}

/** In a seed with the path of the contents; or what they are, for those who look. */
Json ObjectSections::file_json(const std::string& reference, tag file) {
  Json described = {{"reference", reference}, {"name", store_.text(file, "original_file_name")}};
  const Contents contents = contents_of(store_, file);
  if (wishes_.is_seed) {
    described["path"] = path_of_contents(store_, wishes_, file);
  } else {
    described["size"] = contents.size;
    described["digest"] = contents.digest;
  }
  return described;
}

Json ObjectSections::workspace_json(tag object, const char* usual_type, std::set<std::string> said,
                                    const Json& ids) {
  account_.said.add(object);
  said.insert(std::begin(common), std::end(common));
  Json described = Json::object();
  if (!wishes_.is_seed) {
    described["tag"] = object;
  }
  described.update(ids);
  described["name"] = store_.text(object, "object_name");
  if (const std::string& type = store_.text(object, "object_type");
      !wishes_.is_seed || type != usual_type) {
    described["type"] = type;
  }
  if (!store_.text(object, "object_desc").empty()) {
    described["description"] = store_.text(object, "object_desc");
  }
  add_owner(described, object);
  add_statuses(described, object, said);
  add_checkout(described, object, said);
  if (wishes_.has_dates) {
    add_making(described, object);
  }
  add_values(described, object, said);
  return described;
}

/** A seed that names no owner has one of its own choice. */
void ObjectSections::add_owner(Json& described, tag object) {
  const tag user = store_.reference(object, "owning_user");
  const tag group = store_.reference(object, "owning_group");
  if (user != NULLTAG || has_automatic_user_) {
    described["owner"] = null_or_text(store_, user, "user_id");
  }
  if (group != NULLTAG || user != NULLTAG || has_automatic_user_) {
    described["group"] = null_or_text(store_, group, "group_name");
  }
  if (const tag site = store_.reference(object, "owning_site"); site != NULLTAG) {
    described["owning_site"] = store_.integer(site, "site_id");
  }
}

void ObjectSections::add_statuses(Json& described, tag object, std::set<std::string>& said) {
  if (wishes_.is_seed && !places_.has_plain_statuses(object)) {
    said.erase("release_status_list");
    return;
  }
  for (const Scalar& value : store_.values(object, "release_status_list")) {
    account_.said.add(std::get<tag>(value));
    described["statuses"].push_back(status_json(store_, std::get<tag>(value)));
  }
}

void ObjectSections::add_checkout(Json& described, tag object, std::set<std::string>& said) {
  const tag user = store_.reference(object, "checked_out_user");
  const date_s since = store_.date(object, "checked_out_date");
  if (user == NULLTAG) {
    if (since != date_s{}) {
      said.erase("checked_out_date");
    }
    return;
  }
  described["checked_out_by"] = store_.text(user, "user_id");
  if (since != date_s{}) {
    described["checked_out_since"] = date_text(since);
  }
}

void ObjectSections::add_making(Json& described, tag object) {
  for (const auto& [member, attribute] :
       {std::pair("created", "creation_date"), {"changed", "last_mod_date"}}) {
    if (const date_s date = store_.date(object, attribute); date != date_s{}) {
      described[member] = date_text(date);
    }
  }
  if (const tag user = store_.reference(object, "last_mod_user"); user != NULLTAG) {
    described["changed_by"] = store_.text(user, "user_id");
  }
}

/** The values that no member says; references may lead to what a seed has not made yet. */
void ObjectSections::add_values(Json& described, tag object, const std::set<std::string>& said) {
  std::vector<const Attribute*> values;
  std::vector<const Attribute*> rest;
  const Class& type = store_.class_of(object);
  for (const Attribute* attribute : type.slots) {
    if (said.contains(attribute->name) || is_of_making(*attribute) ||
        store_.values(object, attribute->name).empty()) {
      continue;
    }
    const bool is_later =
        attribute->kind == Kind::reference || is_side_by_side(type, attribute->name);
    (is_later ? rest : values).push_back(attribute);
  }
  if (!values.empty()) {
    described["values"] = values_json(object, values);
  }
  if (!rest.empty() && wishes_.is_seed) {
    account_.unsaid.emplace_back(object, std::move(rest));
  }
}

/** In a seed, first those that it takes first: between what sections have named before. */
void ObjectSections::write_relations(ElementList& list) {
  bool has_keyed = false;
  for_each_element(store_, "Relation", [&](tag relation) {
    if (!wishes_.is_seed) {
      list.add(relation_json(relation));
    } else if (!account_.said.contains(relation) && places_.is_plain_relation(relation)) {
      const Json described = relation_json(relation);
      const bool is_keyed = std::any_of(described.begin(), described.end(), [](const Json& place) {
        return place.is_object() && place.contains("object");
      });
      has_keyed = has_keyed || is_keyed;
      if (!is_keyed) {
        account_.said.add(relation);
        list.add(described);
      }
    }
  });
  if (has_keyed) {
    for_each_element(store_, "Relation", [&](tag relation) {
      if (!account_.said.contains(relation) && places_.is_plain_relation(relation)) {
        account_.said.add(relation);
        list.add(relation_json(relation));
      }
    });
  }
}

Json ObjectSections::relation_json(tag relation) {
  Json described = Json::object();
  if (!wishes_.is_seed) {
    described["tag"] = relation;
  }
  const auto end = [&](const char* attribute) {
    return places_.of(store_.reference(relation, attribute), relation, attribute);
  };
  described["primary"] = end("primary_object");
  described["type"] =
      null_or_text(store_, store_.reference(relation, "relation_type"), "type_name");
  described["secondary"] = end("secondary_object");
  if (store_.reference(relation, "user_data") != NULLTAG) {
    described["user_data"] = end("user_data");
  }
  return described;
}

void ObjectSections::write_structures(ElementList& list) {
  for_each_element(store_, "PSBOMViewRevision", [&](tag structure) {
    if (!wishes_.is_seed || places_.has_structure(structure)) {
      list.add(structure_json(structure));
    }
  });
}

/** A view is said with the first of its structures. */
Json ObjectSections::structure_json(tag view_revision) {
  const tag view = store_.reference(view_revision, "bom_view");
  const tag revision = store_.reference(view_revision, "structure_of");
  const tag view_type = store_.reference(view, "view_type");
  const Json ids = {{"item", store_.text(store_.reference(revision, "item_tag"), "item_id")},
                    {"revision", store_.text(revision, "item_revision_id")},
                    {"view_type", null_or_text(store_, view_type, "view_type_name")}};
  Json described =
      workspace_json(view_revision, "PSBOMViewRevision",
                     {"bom_view", "structure_of", "occurrence_numbers", "occurrence_items",
                      "occurrence_revisions", "occurrence_quantities", "occurrence_sequences",
                      "note_occurrences", "note_types", "note_texts"},
                     ids);
  if (!account_.said.contains(view)) {
    described["view"] = workspace_json(view, "PSBOMView", {"parent_item", "view_type"});
  }
  described["lines"] = lines_json(view_revision);
  return described;
}

/** Reads the view revision's own lists: a structure would stay in memory with its occurrences. */
Json ObjectSections::lines_json(tag view_revision) {
  const auto list = [&](const char* attribute) { return store_.values(view_revision, attribute); };
  const Values numbers = list("occurrence_numbers");
  const Values items = list("occurrence_items");
  const Values revisions = list("occurrence_revisions");
  const Values quantities = list("occurrence_quantities");
  const Values sequences = list("occurrence_sequences");
  const auto notes = notes_of(store_, view_revision);
  Json lines = Json::array();
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    Json line = {{"item", store_.text(std::get<tag>(items[i]), "item_id")}};
    if (const tag revision = std::get<tag>(revisions[i]); revision != NULLTAG) {
      line["revision"] = store_.text(revision, "item_revision_id");
    }
    for (const auto& [member, text] :
         {std::pair("quantity", &quantities[i]), std::pair("sequence", &sequences[i])}) {
      if (!std::get<std::string>(*text).empty()) {
        line[member] = std::get<std::string>(*text);
      }
    }
    if (const auto noted = notes.find(std::get<int>(numbers[i])); noted != notes.end()) {
      line["notes"] = noted->second;
    }
    lines.push_back(std::move(line));
  }
  return lines;
}

void ObjectSections::write_folders(ElementList& list) {
  for_each_element(store_, "Folder", [&](tag folder) {
    if (!wishes_.is_seed || places_.has_folder(folder)) {
      list.add(folder_json(folder));
    }
  });
}

Json ObjectSections::folder_json(tag folder) {
  Json described = workspace_json(folder, "Folder", {"contents"}, {{"key", places_.key(folder)}});
  Json contents = Json::array();
  for (const Scalar& object : store_.values(folder, "contents")) {
    contents.push_back(places_.of(std::get<tag>(object), folder, "contents"));
  }
  described["contents"] = std::move(contents);
  return described;
}

void ObjectSections::write_workspace_objects(ElementList& list) {
  for_each_element(store_, "WorkspaceObject", [&](tag object) {
    Json described = {{"tag", object}, {"id", object_id_text(store_, object)}};
    Json place = places_.of(object);
    if (place.contains("object") && !store_.is_a(object, "Folder")) {
      described["key"] = place["object"];
    } else {
      described["object"] = std::move(place);
    }
    described["class"] = store_.class_of(object).name;
    described["values"] = values_json(object, store_.class_of(object).slots);
    if (store_.is_a(object, "Dataset")) {
      add_files(described, object);
    }
    list.add(described);
  });
}

/** Those of datasets that no revision has are listed nowhere else. */
void ObjectSections::add_files(Json& described, tag dataset) {
  for (const NamedReference& part : named_references(store_, dataset)) {
    if (store_.is_a(part.object, "VeloFile")) {
      described["files"].push_back(file_json(part.name, part.object));
    }
  }
}

void ObjectSections::write_rest(ElementList& list) {
  for_each_element(store_, "Object", [&](tag object) {
    if (!account_.said.contains(object)) {
      list.add(rest_json(object));
    }
  });
  for (const auto& [object, attributes] : account_.unsaid) {
    list.add({{"object", places_.of(object)}, {"values", values_json(object, attributes)}});
  }
}

/** By its key, or by a place that makes it, as that of a pool. */
Json ObjectSections::rest_json(tag object) {
  Json place = places_.of(object);
  if (!place.contains("object")) {
    return {{"object", std::move(place)}};
  }
  const Class& type = store_.class_of(object);
  Json described = {{"key", place["object"]}, {"class", type.name}};
  const bool is_file = type.name == "VeloFile";
  if (is_file) {
    described["path"] = path_of_contents(store_, wishes_, object);
  }
  std::vector<const Attribute*> attributes;
  for (const Attribute* attribute : type.slots) {
    if (!(is_file && is_of_contents(*attribute)) &&
        (wishes_.has_dates || !is_of_making(*attribute))) {
      attributes.push_back(attribute);
    }
  }
  described["values"] = values_json(object, attributes);
  return described;
}

Json ObjectSections::values_json(tag object, const std::vector<const Attribute*>& attributes) {
  Json all = Json::object();
  for (const Attribute* attribute : attributes) {
    const Values held = store_.values(object, attribute->name);
    if (held.empty()) {
      continue;
    }
    Json& value = all[attribute->name];
    if (!attribute->list) {
      value = value_of(object, *attribute, held.front());
      continue;
    }
    value = Json::array();
    for (const Scalar& element : held) {
      value.push_back(value_of(object, *attribute, element));
    }
  }
  return all;
}

Json ObjectSections::value_of(tag object, const Attribute& attribute, const Scalar& value) {
  if (const tag* const target = std::get_if<tag>(&value)) {
    return places_.of(*target, object, attribute.name);
  }
  const date_s* const date = std::get_if<date_s>(&value);
  return date != nullptr && *date == date_s{} ? Json() : value_json(value);
}

std::string path_of_contents(Store& store, const Wishes& wishes, tag file) {
  if (!wishes.has_files) {
    refuse(ORK_invalid_argument, "the site has files: name a folder for their contents");
  }
  return wishes.files_prefix + contents_of(store, file).digest;
}

}  // namespace host
