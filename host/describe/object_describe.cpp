#include "object_describe.h"

#include "datasets.h"
#include "files.h"
#include "json_values.h"
#include "known_sites.h"
#include "object_id.h"
#include "ork/dset.h"

namespace host {

namespace {

using Json = nlohmann::ordered_json;

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

/** The values of all attributes that have one, by name. */
Json describe_attributes(Store& store, tag object) {
  Json attributes = Json::object();
  for (const Attribute* attribute : store.class_of(object).slots) {
    const auto described = [&](const Scalar& value) {
      const tag* const target = std::get_if<tag>(&value);
      return target != nullptr ? reference_json(store, object, attribute->name, *target)
                               : value_json(value);
    };
    const Values& values = store.values(object, attribute->name);
    if (values.empty()) {
      continue;
    }
    Json& described_values = attributes[attribute->name];
    if (!attribute->list) {
      described_values = described(values.front());
      continue;
    }
    described_values = Json::array();
    for (const Scalar& value : values) {
      described_values.push_back(described(value));
    }
  }
  return attributes;
}

Json describe_object(Store& store, tag object) {
  Json described = {
      {"tag", object},
      {"class", store.class_of(object).name},
      {"type", store.text(object, "object_type")},
      {"id", object_id_text(store, object)},
      {"statuses", describe_statuses(store, object)},
      {"checked_out_by",
       name_of_reference(store, store.reference(object, "checked_out_user"), "user_id")},
      {"owning_site",
       name_of_reference(store, store.reference(object, "owning_site"), "site_name")},
      {"attributes", describe_attributes(store, object)}};
  if (store.is_a(object, "Dataset")) {
    described["references"] = describe_named_references(store, object);
  }
  return described;
}

}  // namespace

void write_objects(Site& site, JsonStream& stream) {
  Store& store = site.store();
  write_each(store, "WorkspaceObject", stream,
             [&](tag object) { return describe_object(store, object); });
}

void write_relations(Site& site, JsonStream& stream) {
  Store& store = site.store();
  const auto end = [&](tag relation, const char* attribute) {
    return describe_reference(store, store.reference(relation, attribute));
  };
  write_each(store, "Relation", stream, [&](tag relation) -> Json {
    return {
        {"tag", relation},
        {"type", name_of_reference(store, store.reference(relation, "relation_type"), "type_name")},
        {"primary", end(relation, "primary_object")},
        {"secondary", end(relation, "secondary_object")}};
  });
}

}  // namespace host
