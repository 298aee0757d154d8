#include "places.h"

#include <algorithm>
#include <array>
#include <set>
#include <utility>

#include "dates.h"
#include "failure.h"
#include "files.h"
#include "flow_describe.h"
#include "known_sites.h"
#include "ork/dset.h"
#include "seeded_keys.h"
#include "stored_values.h"
#include "types.h"

namespace host {

namespace {

using Json = Places::Json;

/** Definitions that are known by a name: class, attribute, and the member of a place. */
struct NamedDefinition {
  const char* class_name;
  const char* attribute;
  const char* member;
};

constexpr NamedDefinition named_definitions[] = {
    {"User", "user_id", "user"},
    {"Group", "group_name", "group"},
    {"Role", "role_name", "role"},
    {"Type", "type_name", "type"},
    {"RelationType", "type_name", "type"},
    {"Tool", "tool_name", "tool"},
    {"PSViewType", "view_type_name", "view_type"},
    {"PSNoteType", "note_type_name", "note_type"},
    {"RevisionRule", "rule_name", "revision_rule"},
};

bool is_built_in_type(Store& store, tag type) {
  const auto types = built_in_types();
  return std::any_of(types.begin(), types.end(), [&](const TypeDefinition& definition) {
    return definition.name == store.text(type, "type_name");
  });
}

}  // namespace

Places::Places(Store& store) : store_(store), keys_(keys_of_seeds(store)) {}

Json Places::of(tag object) {
  if (object == NULLTAG) {
    return nullptr;
  }
  const Class& type = store_.class_of(object);
  Json place;
  if (store_.is_a(object, "Item")) {
    place = has_item(object) ? Json({{"item", store_.text(object, "item_id")}}) : Json();
  } else if (store_.is_a(object, "ItemRevision")) {
    place = has_revision(object) ? of_revision(object) : Json();
  } else if (store_.is_a(object, "Dataset")) {
    place = of_dataset(object);
  } else if (store_.is_a(object, "Form")) {
    place = of_form(object);
  } else if (type.name == "PSBOMView") {
    place = has_view(object) ? of_view(object, NULLTAG) : Json();
  } else if (type.name == "PSBOMViewRevision") {
    place = has_structure(object) ? of_view(store_.reference(object, "bom_view"),
                                            store_.reference(object, "structure_of"))
                                  : Json();
  } else {
    place = of_definition(object, type);
  }
  return place.is_null() ? Json({{"object", key(object)}}) : place;
}

Json Places::of(tag object, tag owner, const std::string& attribute) {
  if (object != NULLTAG && !store_.exists(object)) {
    refuse_damage(owner, attribute,
                  "it refers to object " + std::to_string(object) + ", which is not there");
  }
  return of(object);
}

std::string Places::key(tag object) {
  const auto found = keys_.find(object);
  return found != keys_.end() ? found->second : key_of_object(store_, object);
}

Json Places::of_definition(tag object, const Class& type) {
  const bool is_lone_type = type.name == "Type" && !is_built_in_type(store_, object) &&
                            store_.reference(object, "parent_type") == NULLTAG;
  for (const NamedDefinition& definition : named_definitions) {
    if (type.name == definition.class_name && !is_lone_type) {
      return {{definition.member, store_.text(object, definition.attribute)}};
    }
  }
  if (type.name == "Site") {
    const int number = store_.integer(object, "site_id");
    const bool is_said =
        number == local_site_number(store_) || !store_.text(object, "site_name").empty();
    return is_said && number > 0 ? Json({{"site", number}}) : Json();
  }
  if (type.name == "ProcessTemplate" && has_process_template(object)) {
    return {{"process_template", store_.text(object, "template_name")}};
  }
  if (type.name == "GroupMember") {
    return of_membership(object);
  }
  return type.name == "ResourcePool" ? of_pool(object) : Json();
}

Json Places::of_membership(tag member) {
  const tag user = store_.reference(member, "member_user");
  const tag group = store_.reference(member, "member_group");
  const tag role = store_.reference(member, "member_role");
  if (user == NULLTAG || group == NULLTAG || role == NULLTAG) {
    return nullptr;
  }
  return {{"membership",
           {{"user", store_.text(user, "user_id")},
            {"group", store_.text(group, "group_name")},
            {"role", store_.text(role, "role_name")}}}};
}

/** The first one of a group and a role. */
Json Places::of_pool(tag pool) {
  const tag group = store_.reference(pool, "pool_group");
  const tag role = store_.reference(pool, "pool_role");
  Json place = Json::object();
  if (group != NULLTAG) {
    place["group"] = store_.text(group, "group_name");
  }
  if (role != NULLTAG) {
    place["role"] = store_.text(role, "role_name");
  }
  const std::vector<tag> pools = store_.find("ResourcePool");
  const auto first = std::find_if(pools.begin(), pools.end(), [&](tag other) {
    return store_.reference(other, "pool_group") == group &&
           store_.reference(other, "pool_role") == role;
  });
  const bool is_sayable = !place.empty() && first != pools.end() && *first == pool &&
                          !store_.logical_value(pool, "allow_subgroup");
  return is_sayable ? Json({{"pool", std::move(place)}}) : Json();
}

/** A section can make what has a name, an id and a type that fits its class. */
bool Places::is_sayable(tag object, const char* id) {
  const tag type = store_.find_type(store_.text(object, "object_type"));
  return !store_.text(object, "object_name").empty() && !store_.text(object, id).empty() &&
         type != NULLTAG && store_.text(type, "type_class") == store_.class_of(object).name;
}

bool Places::has_item(tag item) {
  return item != NULLTAG && store_.is_a(item, "Item") && is_sayable(item, "item_id");
}

bool Places::has_revision(tag revision) {
  return revision != NULLTAG && store_.is_a(revision, "ItemRevision") &&
         is_sayable(revision, "item_revision_id") &&
         has_item(store_.reference(revision, "item_tag"));
}

bool Places::has_folder(tag folder) {
  return store_.is_a(folder, "Folder") && is_sayable(folder, "object_name");
}

Json Places::of_revision(tag revision) {
  return {{"item", store_.text(store_.reference(revision, "item_tag"), "item_id")},
          {"revision", store_.text(revision, "item_revision_id")}};
}

Json Places::of_dataset(tag dataset) {
  const tag relation = relation_of_dataset(dataset);
  if (relation == NULLTAG) {
    return nullptr;
  }
  Json place = of_revision(store_.reference(relation, "primary_object"));
  place["dataset"] = store_.text(dataset, "object_name");
  return place;
}

Json Places::of_form(tag form) {
  if (const tag relation = relation_of_master_form(form); relation != NULLTAG) {
    Json place = of(store_.reference(relation, "primary_object"));
    place["form"] = true;
    return place;
  }
  std::string reference;
  const tag dataset = dataset_of_form(form, &reference);
  Json place = dataset != NULLTAG ? of_dataset(dataset) : Json();
  if (!place.is_null()) {
    place["form"] = reference;
  }
  return place;
}

Json Places::of_view(tag view, tag revision) {
  Json place =
      revision != NULLTAG ? of_revision(revision) : of(store_.reference(view, "parent_item"));
  place["view_type"] = store_.text(store_.reference(view, "view_type"), "view_type_name");
  return place;
}

bool Places::is_plain_relation(tag relation) {
  return store_.reference(relation, "relation_type") != NULLTAG &&
         store_.reference(relation, "primary_object") != NULLTAG &&
         store_.reference(relation, "secondary_object") != NULLTAG &&
         store_.referrer(relation) == NULLTAG;
}

/** Items and their revisions are gone through in their order: the first that has it says it. */
tag Places::relation_of_dataset(tag dataset) {
  if (const auto known = first_relations_.find(dataset); known != first_relations_.end()) {
    return known->second;
  }
  const tag type = store_.reference(dataset, "dataset_type");
  if (!is_sayable(dataset, "object_name") || type == NULLTAG ||
      store_.text(type, "type_name") != store_.text(dataset, "object_type")) {
    return NULLTAG;
  }
  const std::vector<tag> relations = store_.find("Relation", {{"secondary_object", dataset}});
  std::array<tag, 3> first{};
  for (const tag relation : relations) {
    const tag revision = store_.reference(relation, "primary_object");
    if (has_revision(revision) && store_.reference(relation, "user_data") == NULLTAG &&
        is_plain_relation(relation) &&
        has_one_dataset_of_name(revision, store_.text(dataset, "object_name"))) {
      const std::array<tag, 3> order = {store_.reference(revision, "item_tag"), revision, relation};
      first = first[2] == NULLTAG ? order : std::min(first, order);
    }
  }
  return remember_first(dataset, relations.size(), first[2]);
}

tag Places::remember_first(tag object, std::size_t relations, tag first) {
  if (relations > 1) {
    first_relations_.emplace(object, first);
  }
  return first;
}

bool Places::has_one_dataset_of_name(tag revision, const std::string& name) {
  if (revision != latest_revision_) {
    datasets_by_name_.clear();
    for (const tag relation : store_.find("Relation", {{"primary_object", revision}})) {
      const tag object = store_.reference(relation, "secondary_object");
      if (object == NULLTAG || !store_.is_a(object, "Dataset")) {
        continue;
      }
      const auto [same, is_first] =
          datasets_by_name_.emplace(store_.text(object, "object_name"), object);
      if (!is_first && same->second != object) {
        same->second = NULLTAG;
      }
    }
    latest_revision_ = revision;
  }
  const auto found = datasets_by_name_.find(name);
  return found == datasets_by_name_.end() || found->second != NULLTAG;
}

tag Places::relation_of_master_form(tag form) {
  if (const auto known = first_relations_.find(form); known != first_relations_.end()) {
    return known->second;
  }
  if (!is_sayable(form, "object_name")) {
    return NULLTAG;
  }
  const tag relation_type = store_.find_type("VELO_master_form");
  const std::vector<tag> relations =
      store_.find("Relation", {{"secondary_object", form}, {"relation_type", relation_type}});
  std::array<tag, 3> first{};
  for (const tag relation : relations) {
    const tag owner = store_.reference(relation, "primary_object");
    const bool is_revision = has_revision(owner);
    const bool is_said = (is_revision || has_item(owner)) &&
                         store_.reference(relation, "user_data") == NULLTAG &&
                         is_plain_relation(relation);
    // What has several of them has the first one as its master form.
    if (is_said && store_.find_one("Relation", {{"primary_object", owner},
                                                {"relation_type", relation_type}}) == relation) {
      const tag item = is_revision ? store_.reference(owner, "item_tag") : owner;
      const std::array<tag, 3> order = {item, is_revision ? owner : NULLTAG, relation};
      first = first[2] == NULLTAG ? order : std::min(first, order);
    }
  }
  return remember_first(form, relations.size(), first[2]);
}

tag Places::dataset_of_form(tag form, std::string* reference) {
  const tag dataset = store_.referrer(form);
  if (dataset == NULLTAG || !store_.is_a(dataset, "Dataset") || !are_plain_parts(dataset)) {
    return NULLTAG;
  }
  for (const NamedReference& part : named_references(store_, dataset)) {
    if (part.object == form) {
      *reference = part.name;
      return dataset;
    }
  }
  return NULLTAG;
}

/** A file of a dataset's own that a seed imports as it is. */
bool Places::is_plain_file(const NamedReference& reference, tag dataset,
                           const std::vector<FileReference>& taken) {
  const tag file = reference.object;
  if (store_.class_of(file).name != "VeloFile" || store_.referrer(file, dataset) != NULLTAG ||
      store_.text(file, "original_file_name").empty()) {
    return false;
  }
  const auto definition = std::find_if(taken.begin(), taken.end(), [&](const FileReference& entry) {
    return entry.reference == reference.name;
  });
  const bool is_taken = taken.empty() || definition != taken.end();
  return is_taken && store_.integer(file, "file_type") ==
                         file_type(definition != taken.end() ? definition->format : "");
}

/** Seeds bring files first and then forms, each under a name of its own. */
bool Places::are_plain_parts(tag dataset) {
  std::set<std::pair<std::string, std::string>> names;
  bool has_form = false;
  const std::vector<FileReference> taken = file_references(store_, type_of(store_, dataset));
  const std::vector<NamedReference> all = named_references(store_, dataset);
  return std::all_of(all.begin(), all.end(), [&](const NamedReference& reference) {
    const tag part = reference.object;
    if (reference.type != DSET_PART_OF) {
      return false;
    }
    if (!store_.is_a(part, "Form")) {
      return !has_form && is_plain_file(reference, dataset, taken) &&
             names.emplace(reference.name, store_.text(part, "original_file_name")).second;
    }
    has_form = true;
    const bool is_taken =
        taken.empty() || std::any_of(taken.begin(), taken.end(), [&](const FileReference& entry) {
          return entry.reference == reference.name;
        });
    return is_taken && is_sayable(part, "object_name") &&
           store_.referrer(part, dataset) == NULLTAG && names.emplace(reference.name, "").second;
  });
}

bool Places::is_plain_status(tag status, tag owner) {
  const std::string& name = store_.text(status, "name");
  return !name.empty() && store_.class_of(status).name == "ReleaseStatus" &&
         store_.text(status, "object_name") == name &&
         store_.text(status, "object_type") == "ReleaseStatus" &&
         store_.text(status, "object_desc").empty() &&
         store_.reference(status, "owning_user") == NULLTAG &&
         store_.referrer(status, owner) == NULLTAG;
}

bool Places::has_plain_statuses(tag object) {
  const Values statuses = store_.values(object, "release_status_list");
  std::set<tag> different;
  return std::all_of(statuses.begin(), statuses.end(), [&](const Scalar& status) {
    return is_plain_status(std::get<tag>(status), object) &&
           different.insert(std::get<tag>(status)).second;
  });
}

bool Places::has_structure(tag view_revision) {
  const tag view = store_.reference(view_revision, "bom_view");
  const tag revision = store_.reference(view_revision, "structure_of");
  if (view == NULLTAG || !has_revision(revision) || !is_sayable(view_revision, "object_name") ||
      !is_sayable(view, "object_name") || store_.reference(view, "view_type") == NULLTAG ||
      store_.reference(view, "parent_item") != store_.reference(revision, "item_tag")) {
    return false;
  }
  const Values items = store_.values(view_revision, "occurrence_items");
  const Values revisions = store_.values(view_revision, "occurrence_revisions");
  return std::all_of(items.begin(), items.end(),
                     [&](const Scalar& item) { return has_item(std::get<tag>(item)); }) &&
         std::all_of(revisions.begin(), revisions.end(), [&](const Scalar& exact) {
           return std::get<tag>(exact) == NULLTAG || has_revision(std::get<tag>(exact));
         });
}

bool Places::has_view(tag view) {
  const std::vector<tag> all = store_.find("PSBOMViewRevision", {{"bom_view", view}});
  return std::any_of(all.begin(), all.end(),
                     [this](tag view_revision) { return has_structure(view_revision); });
}

bool Places::has_process_template(tag process) {
  if (!process_templates_) {
    process_templates_.emplace();
    for (const tag each : store_.find("ProcessTemplate")) {
      if (process_template_json(store_, *this, each)) {
        process_templates_->insert(each);
      }
    }
  }
  return process_templates_->contains(process);
}

Json status_json(Store& store, tag status) {
  const date_s date = store.date(status, "date_released");
  const std::string& name = store.text(status, "name");
  return date == date_s{} ? Json(name) : Json({{"name", name}, {"date", date_text(date)}});
}

}  // namespace host
