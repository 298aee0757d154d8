#include "export_objects.h"

#include <algorithm>
#include <map>
#include <set>

#include "datasets.h"
#include "dates.h"
#include "failure.h"
#include "files.h"
#include "ork/dset.h"
#include "structures.h"
#include "types.h"

namespace host {

namespace {

using Json = nlohmann::ordered_json;

/** What sections say of all workspace objects. */
const std::set<std::string> common = {
    "object_name", "object_type",      "object_desc",      "owning_user",        "owning_group",
    "owning_site", "checked_out_user", "checked_out_date", "release_status_list"};

class ObjectExport {
 public:
  ObjectExport(Site& site, const ExportWishes& wishes, ExportPlaces& places, Unsaid& unsaid)
      : site_(site), store_(site.store()), wishes_(wishes), places_(places), unsaid_(unsaid) {
    const auto user_id = store_.setting("automatic_login");
    has_automatic_user_ = user_id && store_.find_one("User", {{"user_id", *user_id}}) != NULLTAG;
  }

  void add_to(Json& seed) {
    Json items = Json::array();
    for (const tag item : store_.find("Item")) {
      if (is_sayable(item, "item_id")) {
        items.push_back(item_json(item));
      }
    }
    Json relations = relations_json();
    Json structures = structures_json();
    for (auto& [name, list] : {std::pair<const char*, Json&>{"items", items},
                               {"relations", relations},
                               {"structures", structures}}) {
      if (!list.empty()) {
        seed[name] = std::move(list);
      }
    }
  }

 private:
  /** Whether a section can make an object: it has a name, an id and a type that fits its class. */
  bool is_sayable(tag object, const char* id) {
    const tag type = store_.find_type(store_.text(object, "object_type"));
    return !store_.text(object, "object_name").empty() && !store_.text(object, id).empty() &&
           type != NULLTAG && store_.text(type, "type_class") == store_.class_of(object).name;
  }

  /** What all workspace objects have. Of the rest it notes what is not in `said`. */
  Json workspace_json(tag object, const char* usual_type, std::set<std::string> said) {
    said.insert(common.begin(), common.end());
    Json described = Json::object();
    described["name"] = store_.text(object, "object_name");
    if (store_.text(object, "object_type") != usual_type) {
      described["type"] = store_.text(object, "object_type");
    }
    if (!store_.text(object, "object_desc").empty()) {
      described["description"] = store_.text(object, "object_desc");
    }
    add_owner(described, object, said);
    add_statuses(described, object, said);
    add_checkout(described, object, said);
    note_unsaid(object, said);
    return described;
  }

  /** A seed that names no owner has one of its own choice. */
  void add_owner(Json& described, tag object, std::set<std::string>& said) {
    const tag user = store_.reference(object, "owning_user");
    const tag group = store_.reference(object, "owning_group");
    if (user != NULLTAG) {
      described["owner"] = store_.text(user, "user_id");
    } else if (has_automatic_user_) {
      said.erase("owning_user");
    }
    if (group != NULLTAG) {
      described["group"] = store_.text(group, "group_name");
    } else if (user != NULLTAG || has_automatic_user_) {
      said.erase("owning_group");
    }
    if (const tag site = store_.reference(object, "owning_site"); site != NULLTAG) {
      described["owning_site"] = store_.integer(site, "site_id");
    }
  }

  /** Those that another object has, too, or somebody owns, are objects of their own. */
  bool is_plain_status(tag status) {
    const std::string& name = store_.text(status, "name");
    return !name.empty() && store_.class_of(status).name == "ReleaseStatus" &&
           store_.text(status, "object_name") == name &&
           store_.text(status, "object_type") == "ReleaseStatus" &&
           store_.text(status, "object_desc").empty() &&
           store_.reference(status, "owning_user") == NULLTAG && places_.references_to(status) == 1;
  }

  void add_statuses(Json& described, tag object, std::set<std::string>& said) {
    const Values statuses = store_.values(object, "release_status_list");
    if (!std::all_of(statuses.begin(), statuses.end(), [this](const Scalar& status) {
          return is_plain_status(std::get<tag>(status));
        })) {
      said.erase("release_status_list");
      return;
    }
    for (const Scalar& value : statuses) {
      const tag status = std::get<tag>(value);
      places_.note_unnamed(status);
      const date_s date = store_.date(status, "date_released");
      const std::string& name = store_.text(status, "name");
      described["statuses"].push_back(
          date == date_s{} ? Json(name) : Json({{"name", name}, {"date", date_text(date)}}));
    }
  }

  void add_checkout(Json& described, tag object, std::set<std::string>& said) {
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

  /** Attributes without a value need no saying, but for those that a seed gives one by itself. */
  void note_unsaid(tag object, const std::set<std::string>& said) {
    std::vector<const Attribute*> rest;
    for (const Attribute* attribute : store_.class_of(object).slots) {
      const bool has_value = !store_.values(object, attribute->name).empty();
      const bool is_wanted = has_value || attribute->name == "owning_user" ||
                             attribute->name == "owning_group" || attribute->name == "tool_used";
      if (is_wanted && !said.contains(attribute->name) &&
          (wishes_.has_dates || !is_of_making(*attribute))) {
        rest.push_back(attribute);
      }
    }
    if (!rest.empty()) {
      unsaid_.emplace_back(object, std::move(rest));
    }
  }

  Json with_id(const std::string& id, Json described) {
    Json all = {{"id", id}};
    all.update(described);
    return all;
  }

  Json item_json(tag item) {
    const std::string id = store_.text(item, "item_id");
    places_.note(item, {{"item", id}});
    Json described = with_id(id, workspace_json(item, "Item", {"item_id"}));
    for (const tag revision : store_.find("ItemRevision", {{"item_tag", item}})) {
      if (is_sayable(revision, "item_revision_id")) {
        described["revisions"].push_back(revision_json(revision, id));
      }
    }
    return described;
  }

  Json revision_json(tag revision, const std::string& item_id) {
    const std::string id = store_.text(revision, "item_revision_id");
    const Json place = {{"item", item_id}, {"revision", id}};
    places_.note(revision, place);
    Json described =
        with_id(id, workspace_json(revision, "ItemRevision", {"item_tag", "item_revision_id"}));
    const std::vector<tag> relations = store_.find("Relation", {{"primary_object", revision}});
    const std::map<std::string, std::set<tag>> datasets = datasets_of(relations);
    for (const tag relation : relations) {
      const tag dataset = store_.reference(relation, "secondary_object");
      if (is_plain_relation(relation) && !places_.has(dataset) && store_.is_a(dataset, "Dataset") &&
          is_sayable_dataset(dataset) &&
          datasets.at(store_.text(dataset, "object_name")).size() == 1) {
        places_.note_unnamed(relation);
        described["datasets"].push_back(dataset_json(dataset, relation, place));
      }
    }
    return described;
  }

  std::map<std::string, std::set<tag>> datasets_of(const std::vector<tag>& relations) {
    std::map<std::string, std::set<tag>> datasets;
    for (const tag relation : relations) {
      const tag object = store_.reference(relation, "secondary_object");
      if (object != NULLTAG && store_.is_a(object, "Dataset")) {
        datasets[store_.text(object, "object_name")].insert(object);
      }
    }
    return datasets;
  }

  bool is_sayable_dataset(tag dataset) {
    const tag type = store_.reference(dataset, "dataset_type");
    return is_sayable(dataset, "object_name") && type != NULLTAG &&
           store_.text(type, "type_name") == store_.text(dataset, "object_type");
  }

  bool is_plain_relation(tag relation) {
    return store_.reference(relation, "user_data") == NULLTAG &&
           store_.reference(relation, "relation_type") != NULLTAG &&
           store_.reference(relation, "secondary_object") != NULLTAG &&
           places_.references_to(relation) == 0;
  }

  std::string type_of_relation(tag relation) {
    return store_.text(store_.reference(relation, "relation_type"), "type_name");
  }

  Json dataset_json(tag dataset, tag relation, const Json& revision) {
    Json place = revision;
    place["dataset"] = store_.text(dataset, "object_name");
    places_.note(dataset, std::move(place));
    std::set<std::string> said = {"dataset_type"};
    const tag usual_tool = default_tool(store_, type_of(store_, dataset));
    if (store_.reference(dataset, "tool_used") == usual_tool) {
      said.insert("tool_used");
    }
    const bool has_plain_files = are_plain_files(dataset);
    if (has_plain_files) {
      said.insert({"reference_names", "reference_types", "reference_objects"});
    }
    Json described = workspace_json(dataset, "Dataset", said);
    if (const std::string type = type_of_relation(relation); type != "VELO_reference") {
      described["relation"] = type;
    }
    if (has_plain_files) {
      for (const NamedReference& file : named_references(store_, dataset)) {
        places_.note_unnamed(file.object);
        described["files"].push_back({{"reference", file.name},
                                      {"path", path_of_contents(store_, wishes_, file.object)},
                                      {"name", store_.text(file.object, "original_file_name")}});
      }
    }
    return described;
  }

  /** Whether all that a dataset has are files of its own that a seed imports as they are. */
  bool are_plain_files(tag dataset) {
    std::set<std::pair<std::string, std::string>> names;
    const std::vector<FileReference> taken = file_references(store_, type_of(store_, dataset));
    const std::vector<NamedReference> all = named_references(store_, dataset);
    return std::all_of(all.begin(), all.end(), [&](const NamedReference& reference) {
      const tag file = reference.object;
      if (reference.type != DSET_PART_OF || !store_.is_a(file, "VeloFile") ||
          places_.references_to(file) != 1) {
        return false;
      }
      const std::string& name = store_.text(file, "original_file_name");
      const auto definition = std::find_if(
          taken.begin(), taken.end(),
          [&](const FileReference& entry) { return entry.reference == reference.name; });
      const bool is_taken = taken.empty() || definition != taken.end();
      const int type = file_type(definition != taken.end() ? definition->format : "");
      return !name.empty() && is_taken && store_.integer(file, "file_type") == type &&
             names.emplace(reference.name, name).second;
    });
  }

  /** Between items, revisions and datasets; the others are objects of their own. */
  Json relations_json() {
    Json all = Json::array();
    for (const tag relation : store_.find("Relation")) {
      const tag primary = store_.reference(relation, "primary_object");
      const tag secondary = store_.reference(relation, "secondary_object");
      if (places_.has(relation) || !is_plain_relation(relation) || !has_item_place(primary) ||
          !has_item_place(secondary)) {
        continue;
      }
      places_.note_unnamed(relation);
      all.push_back({{"primary", places_.of(primary)},
                     {"type", type_of_relation(relation)},
                     {"secondary", places_.of(secondary)}});
    }
    return all;
  }

  bool has_item_place(tag object) { return places_.of(object).contains("item"); }

  Json structures_json() {
    Json all = Json::array();
    for (const tag view_revision : store_.find("PSBOMViewRevision")) {
      const tag view = store_.reference(view_revision, "bom_view");
      const tag revision = store_.reference(view_revision, "structure_of");
      if (view == NULLTAG || !has_item_place(revision) ||
          !is_sayable(view_revision, "object_name") || !is_sayable_view(view, revision)) {
        continue;
      }
      Json place = places_.of(revision);
      place["view_type"] = store_.text(store_.reference(view, "view_type"), "view_type_name");
      Json lines = lines_json(view_revision);
      if (lines.is_null()) {
        continue;
      }
      note_view(view, place);
      places_.note(view_revision, place);
      place.update(
          workspace_json(view_revision, "PSBOMViewRevision",
                         {"bom_view", "structure_of", "occurrence_numbers", "occurrence_items",
                          "occurrence_revisions", "occurrence_quantities", "occurrence_sequences",
                          "note_occurrences", "note_types", "note_texts"}));
      place["lines"] = std::move(lines);
      all.push_back(std::move(place));
    }
    return all;
  }

  bool is_sayable_view(tag view, tag revision) {
    return store_.reference(view, "view_type") != NULLTAG &&
           store_.reference(view, "parent_item") == store_.reference(revision, "item_tag") &&
           store_.text(view, "object_type") == "PSBOMView";
  }

  /** A view comes with its first view revision, and has then the owner of that. */
  void note_view(tag view, Json place) {
    if (places_.has(view)) {
      return;
    }
    place.erase("revision");
    places_.note(view, std::move(place));
    note_unsaid(view, {"object_type", "parent_item", "view_type"});
  }

  /** Null where a line is not of an item that the seed has. */
  Json lines_json(tag view_revision) {
    Structure& structure = site_.structures().of(view_revision);
    Json lines = Json::array();
    for (const Occurrence* occurrence : structure.occurrences()) {
      const tag revision = structure.revision(*occurrence);
      Json line = places_.of(structure.item(*occurrence));
      if (!line.contains("item") || (revision != NULLTAG && !has_item_place(revision))) {
        return nullptr;
      }
      if (revision != NULLTAG) {
        line["revision"] = store_.text(revision, "item_revision_id");
      }
      for (const auto& [member, text] : {std::pair{"quantity", structure.quantity(*occurrence)},
                                         std::pair{"sequence", structure.sequence(*occurrence)}}) {
        if (!text.empty()) {
          line[member] = text;
        }
      }
      std::map<std::string, std::string> notes;
      for (const auto& [type, text] : structure.notes(*occurrence)) {
        notes[store_.text(type, "note_type_name")] = text;
      }
      if (!notes.empty()) {
        line["notes"] = notes;
      }
      lines.push_back(std::move(line));
    }
    return lines;
  }

  Site& site_;
  Store& store_;
  const ExportWishes& wishes_;
  ExportPlaces& places_;
  Unsaid& unsaid_;
  bool has_automatic_user_ = false;
};

}  // namespace

void export_objects(Site& site, const ExportWishes& wishes, ExportPlaces& places, Json& seed,
                    Unsaid& unsaid) {
  ObjectExport(site, wishes, places, unsaid).add_to(seed);
}

bool is_of_making(const Attribute& attribute) {
  return attribute.name == "creation_date" || attribute.name == "last_mod_date" ||
         attribute.name == "last_mod_user";
}

std::string path_of_contents(Store& store, const ExportWishes& wishes, tag file) {
  if (!wishes.has_files) {
    refuse(ORK_invalid_argument, "the site has files: name a folder for their contents");
  }
  return wishes.files_prefix + contents_of(store, file).digest;
}

}  // namespace host
