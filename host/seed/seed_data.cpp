#include "seed_data.h"

#include "files.h"
#include "ork/dset.h"
#include "types.h"
#include "utf8_path.h"

namespace host {

namespace {

/** The object of one of a dataset's references that is of a class and is wanted, or NULLTAG. */
template <typename Wanted>
tag find_part(Store& store, tag dataset, const std::string& reference, const char* class_name,
              const Wanted& wanted) {
  for (const NamedReference& held : named_references(store, dataset)) {
    if (held.name == reference && store.is_a(held.object, class_name) && wanted(held.object)) {
      return held.object;
    }
  }
  return NULLTAG;
}

}  // namespace

void DataSeeder::take_types(const Node& root) {
  each_of(root, "tools", [this](const Node& tool) { take_tool(tool); });
  each_of(root, "dataset_types", [this](const Node& type) { take_dataset_type(type); });
  each_of(root, "form_types", [this](const Node& type) { take_form_type(type); });
}

void DataSeeder::take_tool(const Node& node) {
  node.allow_only({"name", "output_formats"});
  const Node name = node.at("name");
  const tag tool = ensure(name, "Tool", {{"tool_name", name.name()}});
  const auto formats = node.find("output_formats");
  if (!formats) {
    return;
  }
  Values values;
  for (const Node& format : formats->items()) {
    values.emplace_back(format.name());
  }
  put_list(*formats, tool, "output_formats", values);
}

void DataSeeder::take_dataset_type(const Node& node) {
  node.allow_only({"name", "parent", "tool", "references"});
  const Node name = node.at("name");
  const auto parent = node.find_value("parent");
  tag type = store_.find_type(name.name());
  if (parent || type == NULLTAG) {
    const tag above = parent ? find_type(*parent) : store_.find_type("Dataset");
    if (!is_stored_in(store_, above, "Dataset")) {
      parent->refuse("expected a type of class Dataset");
    }
    type = ensure_type(name, above, store_.class_named(store_.text(above, "type_class")));
  }
  if (!is_stored_in(store_, type, "Dataset")) {
    name.refuse("expected a type of class Dataset");
  }
  if (const auto tool = node.find("tool")) {
    put(*tool, type, "default_tool",
        tool->is_null() ? NULLTAG : find(*tool, "Tool", "tool_name", "tool"));
  }
  if (const auto references = node.find("references")) {
    at_place(*references, [&] {
      const LockGuard lock(store_, type);
      set_file_references(store_, type, file_references_of(*references));
      store_.save(type);
    });
  }
}

std::vector<FileReference> DataSeeder::file_references_of(const Node& references) {
  std::vector<FileReference> found;
  for (const Node& reference : references.items()) {
    reference.allow_only({"name", "files"});
    const std::string name = reference.at("name").name();
    const std::vector<Node> files = reference.items_of("files");
    for (const Node& file : files) {
      file.allow_only({"template", "format"});
      found.push_back({name, file.at("template").name(), file.at("format").name()});
    }
    if (files.empty()) {
      found.push_back({name, {}, {}});
    }
  }
  return found;
}

void DataSeeder::take_form_type(const Node& node) {
  node.allow_only({"name", "parent", "fields"});
  const Node name = node.at("name");
  const auto parent_name = node.find("parent");
  const tag parent = parent_name ? find_type(*parent_name) : store_.find_type("Form");
  if (!is_stored_in(store_, parent, "Form")) {
    parent_name->refuse("expected a type of class Form");
  }
  const Class& form_class =
      ensure_class(name, name, store_.class_named(store_.text(parent, "type_class")));
  each_of(node, "fields", [&](const Node& field) { take_attribute(field, form_class); });
  ensure_type(name, parent, form_class);
}

void DataSeeder::take_contents(const Node& node, tag dataset) {
  each_of(node, "files", [&](const Node& file) { take_file(file, dataset); });
  each_of(node, "forms", [&](const Node& form) { take_form_reference(form, dataset); });
}

/** A file is known by its reference and its original name. */
void DataSeeder::take_file(const Node& node, tag dataset) {
  node.allow_only({"reference", "path", "name", "size", "digest"});
  const std::string reference = node.at("reference").name();
  const auto given_name = node.find("name");
  const std::string name = last_part(given_name ? given_name->name() : node.at("path").name());
  const tag known = find_part(store_, dataset, reference, "VeloFile", [&](tag file) {
    return store_.text(file, "original_file_name") == name;
  });
  const auto digest = node.find("digest");
  if (known != NULLTAG && digest && digest->text() == contents_of(store_, known).digest) {
    return;
  }
  const Node path = node.at("path");
  if (known != NULLTAG) {
    const Contents wanted =
        at_place(path, [&] { return read_contents((folder_ / utf8_path(path.text())).string()); });
    if (wanted.digest == contents_of(store_, known).digest) {
      return;
    }
  }
  hold(node, dataset, reference, import(path, name, reference, dataset), known);
  if (known != NULLTAG && store_.referrer(known) == NULLTAG) {
    remove_file(known);
  }
}

tag DataSeeder::import(const Node& path, const std::string& name, const std::string& reference,
                       tag dataset) {
  std::string format;
  for (const FileReference& file : file_references(store_, host::type_of(store_, dataset))) {
    if (file.reference == reference && format.empty()) {
      format = file.format;
    }
  }
  return at_place(path, [&] {
    const tag file =
        import_file((folder_ / utf8_path(path.name())).string(), name, file_type(format));
    for (const char* attribute : {"owning_user", "owning_group"}) {
      store_.set(file, attribute, store_.reference(dataset, attribute));
    }
    store_.save(file);
    store_.refresh(file, false);
    return file;
  });
}

/** Its contents go when the site is closed: the seed may still be refused. */
void DataSeeder::remove_file(tag file) {
  site_.vault().announce(contents_of(store_, file).name);
  remove(file);
}

void DataSeeder::take_form_reference(const Node& node, tag dataset) {
  node.allow_only({"reference"}, workspace_members);
  const std::string reference = node.at("reference").name();
  const tag known = find_part(store_, dataset, reference, "Form", [](tag) { return true; });
  const tag form = take_form(node, known, reference);
  if (known == NULLTAG) {
    hold(node, dataset, reference, form);
  }
}

void DataSeeder::take_master_form(const Node& node, tag object) {
  const auto seed = node.find("master_form");
  if (!seed) {
    return;
  }
  seed->allow_only({}, workspace_members);
  const tag relation_type = store_.find_type("VELO_master_form");
  const tag relation =
      store_.find_one("Relation", {{"primary_object", object}, {"relation_type", relation_type}});
  const tag known = relation != NULLTAG ? store_.reference(relation, "secondary_object") : NULLTAG;
  const tag form = take_form(*seed, known, store_.text(object, "object_name"));
  ensure_relation(*seed, object, relation_type, form);
}

tag DataSeeder::take_form(const Node& node, tag known, const std::string& usual_name) {
  const tag type =
      known != NULLTAG && !node.find("type") ? host::type_of(store_, known) : type_of(node, "Form");
  return take_workspace_object(node, known, type, {{"object_name", usual_name}});
}

void DataSeeder::hold(const Node& node, tag dataset, const std::string& reference, tag part,
                      tag replaced) {
  at_place(node, [&] {
    const LockGuard lock(store_, dataset);
    const NamedReference wanted = {reference, DSET_PART_OF, part};
    if (replaced == NULLTAG) {
      add_named_reference(store_, dataset, wanted);
    } else {
      replace_named_reference(store_, dataset, replaced, wanted);
    }
    store_.save(dataset);
  });
}

}  // namespace host
