#include "structure_describe.h"

#include "json_values.h"
#include "object_id.h"
#include "structures.h"

namespace host {

namespace {

using Json = nlohmann::ordered_json;

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

}  // namespace

nlohmann::ordered_json describe_structures(Site& site) {
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

}  // namespace host
