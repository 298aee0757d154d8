// DSET_: dataset types, tools and datasets.

#include "ork/dset.h"

#include "access.h"
#include "datasets.h"
#include "handout.h"
#include "operation.h"
#include "ork/access.h"
#include "types.h"

namespace host {

namespace {

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

}  // namespace

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
