#include "datasets.h"

#include <algorithm>
#include <charconv>

#include "failure.h"
#include "object_id.h"
#include "ork/dset.h"
#include "preferences.h"
#include "site.h"
#include "types.h"

namespace host {

namespace {

constexpr const char* revision_limit_preference = "DSET_default_revision_limit";
constexpr int usual_revision_limit = 3;

const std::string& text_at(const Values& values, std::size_t place) {
  return std::get<std::string>(values.at(place));
}

void check_reference(Store& store, tag dataset, const NamedReference& reference) {
  if (reference.type != DSET_PART_OF && reference.type != DSET_ASSOCIATION) {
    refuse(DSET_unknown_reference_type, std::to_string(reference.type));
  }
  store.load(reference.object);  // says what is wrong with the tag
  const std::vector<std::string> known =
      reference_names(file_references(store, type_of(store, dataset)));
  if (!known.empty() && std::count(known.begin(), known.end(), reference.name) == 0) {
    refuse(DSET_unknown_reference_name, reference.name + ", " + dataset_text(store, dataset));
  }
}

}  // namespace

std::string dataset_text(Store& store, tag dataset) {
  return "dataset " + object_id_text(store, dataset) + " of type " +
         store.text(dataset, "object_type");
}

bool is_dataset_type(Store& store, tag type) {
  return store.is_a(type, "Type") && is_stored_in(store, type, "Dataset");
}

void require_dataset_type(tag type) {
  if (!is_dataset_type(store(), type)) {
    refuse(DSET_not_a_dataset_type, "object " + std::to_string(type));
  }
}

std::vector<FileReference> file_references(Store& store, tag type) {
  for (TypePath path(store, type); path.type() != NULLTAG; path.climb()) {
    std::vector<FileReference> references = own_file_references(store, path.type());
    if (!references.empty()) {
      return references;
    }
  }
  return {};
}

std::vector<std::string> reference_names(const std::vector<FileReference>& references) {
  std::vector<std::string> names;
  for (const FileReference& reference : references) {
    if (std::count(names.begin(), names.end(), reference.reference) == 0) {
      names.push_back(reference.reference);
    }
  }
  return names;
}

tag default_tool(Store& store, tag type) {
  tag tool = NULLTAG;
  for (TypePath path(store, type); tool == NULLTAG && path.type() != NULLTAG; path.climb()) {
    tool = store.reference(path.type(), "default_tool");
  }
  return tool;
}

std::vector<NamedReference> named_references(Store& store, tag dataset) {
  const Values& names = store.values(dataset, "reference_names");
  const Values& types = store.values(dataset, "reference_types");
  const Values& objects = store.values(dataset, "reference_objects");
  std::vector<NamedReference> references;
  for (std::size_t i = 0; i < names.size(); ++i) {
    references.push_back(
        {text_at(names, i), std::get<int>(types.at(i)), std::get<tag>(objects.at(i))});
  }
  return references;
}

void set_named_references(Store& store, tag dataset,
                          const std::vector<NamedReference>& references) {
  Values names;
  Values types;
  Values objects;
  for (const NamedReference& reference : references) {
    names.emplace_back(reference.name);
    types.emplace_back(reference.type);
    objects.emplace_back(reference.object);
  }
  // The names first: they are what may be refused.
  store.set_values(dataset, "reference_names", std::move(names));
  store.set_values(dataset, "reference_types", std::move(types));
  store.set_values(dataset, "reference_objects", std::move(objects));
}

void add_named_reference(Store& store, tag dataset, const NamedReference& reference) {
  check_reference(store, dataset, reference);
  std::vector<NamedReference> references = named_references(store, dataset);
  references.push_back(reference);
  set_named_references(store, dataset, references);
}

void replace_named_reference(Store& store, tag dataset, tag old_object,
                             const NamedReference& reference) {
  std::vector<NamedReference> references = named_references(store, dataset);
  const auto replaced = std::find_if(references.begin(), references.end(), [&](const auto& held) {
    return held.object == old_object && held.name == reference.name;
  });
  if (replaced == references.end()) {
    refuse(DSET_no_such_reference, "object " + std::to_string(old_object) + " as " +
                                       reference.name + ", " + dataset_text(store, dataset));
  }
  check_reference(store, dataset, reference);
  *replaced = reference;
  set_named_references(store, dataset, references);
}

tag copy_dataset(Store& store, tag dataset, const char* name) {
  static constexpr const char* copied[] = {"object_desc",      "tool_used",       "format_used",
                                           "revision_limit",   "reference_names", "reference_types",
                                           "reference_objects"};
  const tag type = type_of(store, dataset);
  const tag copy = make_workspace_object(type, name, {{"dataset_type", type}});
  for (const char* attribute : copied) {
    store.set_values(copy, attribute, store.values(dataset, attribute));
  }
  return copy;
}

int default_revision_limit() {
  const PreferenceValues& values = session_preferences().values(revision_limit_preference);
  if (values.empty()) {
    return usual_revision_limit;
  }
  const std::string& text = values.front();
  const char* const end = text.data() + text.size();
  int limit = 0;
  const auto parsed = std::from_chars(text.data(), end, limit);
  if (parsed.ec != std::errc() || parsed.ptr != end || limit < 1) {
    refuse(ORK_invalid_argument, std::string("preference ") + revision_limit_preference + " is \"" +
                                     text + "\", expected a number from 1 on");
  }
  return limit;
}

std::vector<tag> parts_to_delete(Store& store, tag object) {
  std::vector<tag> parts;
  if (!store.is_a(object, "Dataset")) {
    return parts;
  }
  for (const NamedReference& reference : named_references(store, object)) {
    const bool is_known = std::count(parts.begin(), parts.end(), reference.object) != 0;
    if (reference.type == DSET_PART_OF && !is_known && store.exists(reference.object) &&
        store.state(reference.object) != InstanceState::is_new &&
        store.referrer(reference.object, object) == NULLTAG) {
      parts.push_back(reference.object);
    }
  }
  return parts;
}

}  // namespace host
