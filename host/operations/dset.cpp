// DSET_: dataset types, tools and datasets.

#include "ork/dset.h"

#include <algorithm>
#include <charconv>

#include "access.h"
#include "datasets.h"
#include "handout.h"
#include "object_id.h"
#include "operation.h"
#include "ork/access.h"
#include "types.h"

namespace host {

namespace {

constexpr const char* revision_limit_preference = "DSET_default_revision_limit";
constexpr int usual_revision_limit = 3;

bool is_dataset_type(Store& store, tag type) {
  return store.is_a(type, "Type") && is_stored_in(store, type, "Dataset");
}

void require_dataset_type(tag type) {
  if (!is_dataset_type(store(), type)) {
    refuse(DSET_not_a_dataset_type, "object " + std::to_string(type));
  }
}

void require_tool(tag tool) {
  if (!store().is_a(tool, "Tool")) {
    refuse(DSET_not_a_tool, "object " + std::to_string(tool));
  }
}

void require_dataset(tag dataset) {
  if (!store().is_a(dataset, "Dataset")) {
    refuse(DSET_not_a_dataset, "object " + std::to_string(dataset));
  }
}

const std::string& text_at(const Values& values, std::size_t place) {
  return std::get<std::string>(values.at(place));
}

/** Type names of a dataset and what it is, for refusals. */
std::string dataset_text(Store& store, tag dataset) {
  return "dataset " + object_id_text(store, dataset) + " of type " +
         store.text(dataset, "object_type");
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

}  // namespace

std::vector<FileReference> own_file_references(Store& store, tag type) {
  const Values& names = store.values(type, "reference_names");
  const Values& templates = store.values(type, "reference_templates");
  const Values& formats = store.values(type, "reference_formats");
  std::vector<FileReference> references;
  for (std::size_t i = 0; i < names.size(); ++i) {
    references.push_back({text_at(names, i), text_at(templates, i), text_at(formats, i)});
  }
  return references;
}

std::vector<FileReference> file_references(Store& store, tag type) {
  for (; type != NULLTAG; type = store.reference(type, "parent_type")) {
    std::vector<FileReference> references = own_file_references(store, type);
    if (!references.empty()) {
      return references;
    }
  }
  return {};
}

void set_file_references(Store& store, tag type, const std::vector<FileReference>& references) {
  Values names;
  Values templates;
  Values formats;
  for (const FileReference& reference : references) {
    names.emplace_back(reference.reference);
    templates.emplace_back(reference.file_template);
    formats.emplace_back(reference.format);
  }
  store.set_values(type, "reference_names", std::move(names));
  store.set_values(type, "reference_templates", std::move(templates));
  store.set_values(type, "reference_formats", std::move(formats));
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
  for (; tool == NULLTAG && type != NULLTAG; type = store.reference(type, "parent_type")) {
    tool = store.reference(type, "default_tool");
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

using host::Needs;
using host::operation;

int DSET_init_module(void) {
  return operation("DSET_init_module", Needs::session, [] {});
}

int DSET_find_datasettype(const char* name, tag* type) {
  host::clear(type);
  return operation("DSET_find_datasettype", Needs::session, [&] {
    host::require_all(name, type);
    const tag found = host::store().find_type(name);
    if (found != NULLTAG && host::is_dataset_type(host::store(), found)) {
      *type = found;
    }
  });
}

int DSET_get_datasettype_def_tool(tag type, tag* tool) {
  host::clear(tool);
  return operation("DSET_get_datasettype_def_tool", Needs::session, [&] {
    host::require_all(tool);
    host::require_dataset_type(type);
    const tag found = host::default_tool(host::store(), type);
    if (found == NULLTAG) {
      host::refuse(DSET_no_default_tool, host::store().text(type, "type_name"));
    }
    *tool = found;
  });
}

int DSET_get_datasettype_refs(tag type, int* count, char*** names) {
  host::clear(count);
  host::clear(names);
  return operation("DSET_get_datasettype_refs", Needs::session, [&] {
    host::require_all(count, names);
    host::require_dataset_type(type);
    const auto found = host::reference_names(host::file_references(host::store(), type));
    *names = host::hand_out(found);
    *count = static_cast<int>(found.size());
  });
}

int DSET_get_datasettype_file_refs(tag type, const char* reference_name, int* count,
                                   char*** templates, char*** formats) {
  host::clear(count);
  host::clear(templates);
  host::clear(formats);
  return operation("DSET_get_datasettype_file_refs", Needs::session, [&] {
    host::require_all(reference_name, count, templates, formats);
    host::require_dataset_type(type);
    const auto all = host::file_references(host::store(), type);
    bool is_known = all.empty();
    std::vector<std::string> found_templates;
    std::vector<std::string> found_formats;
    for (const host::FileReference& file : all) {
      const bool is_wanted = file.reference == reference_name;
      is_known = is_known || is_wanted;
      if (is_wanted && file.is_for_files()) {
        found_templates.push_back(file.file_template);
        found_formats.push_back(file.format);
      }
    }
    if (!is_known) {
      host::refuse(DSET_unknown_reference_name,
                   reference_name + (", type " + host::store().text(type, "type_name")));
    }
    host::HandedOut<char*> made(host::hand_out(found_templates));
    *formats = host::hand_out(found_formats);
    *templates = made.release();
    *count = static_cast<int>(found_formats.size());
  });
}

int DSET_get_tool_output_formats(tag tool, int* count, char*** formats) {
  host::clear(count);
  host::clear(formats);
  return operation("DSET_get_tool_output_formats", Needs::session, [&] {
    host::require_all(count, formats);
    host::require_tool(tool);
    std::vector<std::string> found;
    for (const host::Scalar& value : host::store().values(tool, "output_formats")) {
      found.push_back(std::get<std::string>(value));
    }
    *formats = host::hand_out(found);
    *count = static_cast<int>(found.size());
  });
}

int DSET_get_tool_name(tag tool, char* name) {
  host::clear(name);
  return operation("DSET_get_tool_name", Needs::session, [&] {
    host::require_all(name);
    host::require_tool(tool);
    host::copy_out(host::store().text(tool, "tool_name"), name, DSET_name_size + 1);
  });
}

int DSET_create_dataset_with_id(tag type, const char* name, const char* description, const char*,
                                const char*, tag* dataset) {
  host::clear(dataset);
  return operation("DSET_create_dataset_with_id", Needs::session, [&] {
    host::require_all(name, dataset);
    host::require_dataset_type(type);
    *dataset = host::make_workspace_object(
        type, name,
        {{"dataset_type", type},
         {"object_desc", std::string(description != nullptr ? description : "")}});
  });
}

int DSET_copy_dataset_with_id(tag dataset, const char* name, const char*, const char*, tag* copy) {
  host::clear(copy);
  return operation("DSET_copy_dataset_with_id", Needs::session, [&] {
    host::require_all(name, copy);
    host::require_dataset(dataset);
    host::require_privilege(dataset, ACCESS_privilege_read);
    *copy = host::copy_dataset(host::store(), dataset, name);
  });
}

int DSET_find_dataset(const char* name, tag* dataset) {
  host::clear(dataset);
  return operation("DSET_find_dataset", Needs::session, [&] {
    host::require_all(name, dataset);
    *dataset = host::store().find_one("Dataset", {{"object_name", std::string(name)}});
  });
}

int DSET_set_dataset_tool(tag dataset, tag tool) {
  return operation("DSET_set_dataset_tool", Needs::session, [&] {
    host::require_dataset(dataset);
    host::require_tool(tool);
    host::store().set(dataset, "tool_used", tool);
  });
}

int DSET_get_dataset_tool(tag dataset, tag* tool) {
  host::clear(tool);
  return operation("DSET_get_dataset_tool", Needs::session, [&] {
    host::require_all(tool);
    host::require_dataset(dataset);
    *tool = host::store().reference(dataset, "tool_used");
  });
}

int DSET_set_dataset_format(tag dataset, const char* format) {
  return operation("DSET_set_dataset_format", Needs::session, [&] {
    host::require_all(format);
    host::require_dataset(dataset);
    host::store().set(dataset, "format_used", std::string(format));
  });
}

int DSET_get_dataset_format(tag dataset, char* format) {
  host::clear(format);
  return operation("DSET_get_dataset_format", Needs::session, [&] {
    host::require_all(format);
    host::require_dataset(dataset);
    host::copy_out(host::store().text(dataset, "format_used"), format, DSET_name_size + 1);
  });
}

int DSET_get_dataset_def_rev_limit(int* limit) {
  host::clear(limit);
  return operation("DSET_get_dataset_def_rev_limit", Needs::session, [&] {
    host::require_all(limit);
    *limit = host::default_revision_limit();
  });
}

int DSET_add_dataset_named_ref(tag dataset, const char* reference_name, int reference_type,
                               tag object) {
  return operation("DSET_add_dataset_named_ref", Needs::session, [&] {
    host::require_all(reference_name);
    host::require_dataset(dataset);
    host::add_named_reference(host::store(), dataset, {reference_name, reference_type, object});
  });
}

int DSET_replace_dataset_named_ref(tag dataset, tag old_object, const char* reference_name,
                                   int reference_type, tag new_object) {
  return operation("DSET_replace_dataset_named_ref", Needs::session, [&] {
    host::require_all(reference_name);
    host::require_dataset(dataset);
    host::replace_named_reference(host::store(), dataset, old_object,
                                  {reference_name, reference_type, new_object});
  });
}

int DSET_get_dataset_named_ref(tag dataset, const char* reference_name, int* reference_type,
                               tag* object) {
  host::clear(reference_type);
  host::clear(object);
  return operation("DSET_get_dataset_named_ref", Needs::session, [&] {
    host::require_all(reference_name, reference_type, object);
    host::require_dataset(dataset);
    for (const auto& reference : host::named_references(host::store(), dataset)) {
      if (reference.name == reference_name) {
        *reference_type = reference.type;
        *object = reference.object;
        return;
      }
    }
    host::refuse(DSET_no_named_reference,
                 reference_name + (", " + host::dataset_text(host::store(), dataset)));
  });
}

int DSET_get_dataset_ref_count(tag dataset, int* count) {
  host::clear(count);
  return operation("DSET_get_dataset_ref_count", Needs::session, [&] {
    host::require_all(count);
    host::require_dataset(dataset);
    *count = static_cast<int>(host::named_references(host::store(), dataset).size());
  });
}

int DSET_find_dataset_named_ref(tag dataset, int index, char* reference_name, int* reference_type,
                                tag* object) {
  host::clear(reference_name);
  host::clear(reference_type);
  host::clear(object);
  return operation("DSET_find_dataset_named_ref", Needs::session, [&] {
    host::require_all(reference_name, reference_type, object);
    host::require_dataset(dataset);
    const auto references = host::named_references(host::store(), dataset);
    if (index < 0 || static_cast<std::size_t>(index) >= references.size()) {
      host::refuse(DSET_no_such_reference, "number " + std::to_string(index) + " of " +
                                               std::to_string(references.size()) + ", " +
                                               host::dataset_text(host::store(), dataset));
    }
    const host::NamedReference& found = references[static_cast<std::size_t>(index)];
    host::copy_out(found.name, reference_name, DSET_name_size + 1);
    *reference_type = found.type;
    *object = found.object;
  });
}
