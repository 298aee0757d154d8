#include "structure_describe.h"

#include <unordered_map>

#include "json_values.h"
#include "object_id.h"
#include "structures.h"

namespace host {

namespace {

using Json = nlohmann::ordered_json;

/** The notes of each occurrence, by its number. */
std::unordered_map<int, Json> notes_of(Store& store, tag view_revision) {
  const Values of = store.values(view_revision, "note_occurrences");
  const Values types = store.values(view_revision, "note_types");
  const Values texts = store.values(view_revision, "note_texts");
  std::unordered_map<int, Json> notes;
  for (std::size_t i = 0; i < of.size(); ++i) {
    const auto made = notes.try_emplace(std::get<int>(of[i]), Json::object()).first;
    made->second[store.text(std::get<tag>(types[i]), "note_type_name")] =
        std::get<std::string>(texts[i]);
  }
  return notes;
}

Json describe_occurrences(Store& store, tag view_revision) {
  const auto list = [&](const char* attribute) { return store.values(view_revision, attribute); };
  const Values numbers = list("occurrence_numbers");
  const Values items = list("occurrence_items");
  const Values revisions = list("occurrence_revisions");
  const Values quantities = list("occurrence_quantities");
  const Values sequences = list("occurrence_sequences");
  std::unordered_map<int, Json> notes = notes_of(store, view_revision);
  Json all = Json::array();
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    const auto noted = notes.find(std::get<int>(numbers[i]));
    all.push_back(
        {{"item", store.text(std::get<tag>(items[i]), "item_id")},
         {"revision", name_of_reference(store, std::get<tag>(revisions[i]), "item_revision_id")},
         {"quantity", std::get<std::string>(quantities[i])},
         {"sequence", std::get<std::string>(sequences[i])},
         {"notes", noted == notes.end() ? Json::object() : noted->second}});
  }
  return all;
}

Json describe_names(Store& store, const char* class_name, const char* attribute) {
  Json all = Json::array();
  for (const tag object : store.find(class_name)) {
    all.push_back(store.text(object, attribute));
  }
  return all;
}

/** Reads the view revision's own lists: a structure would stay in memory with its occurrences. */
Json describe_view_revision(Store& store, tag view_revision) {
  const tag view = store.reference(view_revision, "bom_view");
  return {
      {"tag", view_revision},
      {"revision", object_id_text(store, store.reference(view_revision, "structure_of"))},
      {"view_type", name_of_reference(store, store.reference(view, "view_type"), "view_type_name")},
      {"occurrences", describe_occurrences(store, view_revision)}};
}

}  // namespace

nlohmann::ordered_json describe_revision_rules(Store& store) {
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

void write_structures(Site& site, JsonStream& stream) {
  Store& store = site.store();
  stream.begin_object();
  stream.member("view_types", describe_names(store, "PSViewType", "view_type_name"));
  stream.member("default_view_type",
                name_of_reference(store, default_view_type(store), "view_type_name"));
  stream.member("note_types", describe_names(store, "PSNoteType", "note_type_name"));
  stream.member("revision_rules", describe_revision_rules(store));
  stream.key("view_revisions");
  write_each(store, "PSBOMViewRevision", stream,
             [&](tag view_revision) { return describe_view_revision(store, view_revision); });
  stream.end();
}

}  // namespace host
