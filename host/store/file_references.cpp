#include "file_references.h"

namespace host {

namespace {

const std::string& text_at(const Values& values, std::size_t place) {
  return std::get<std::string>(values.at(place));
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

}  // namespace host
