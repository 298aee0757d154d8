#include "forms.h"

namespace host {

std::vector<const Attribute*> form_fields(Store& store, const Class& form_class) {
  std::vector<const Attribute*> fields;
  const Class& root = store.class_named("Form");
  for (const Class* type = &form_class; type != nullptr && type != &root; type = type->parent) {
    std::vector<const Attribute*> own;
    for (const auto& attribute : type->own) {
      own.push_back(attribute.get());
    }
    fields.insert(fields.begin(), own.begin(), own.end());
  }
  return fields;
}

}  // namespace host
