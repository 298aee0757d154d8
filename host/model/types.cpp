#include "types.h"

#include "failure.h"
#include "ork/type.h"
#include "site.h"
#include "stored_values.h"

namespace host {

tag type_of(Store& store, tag object) {
  if (store.is_a(object, "Relation")) {
    return store.reference(object, "relation_type");
  }
  if (!store.is_a(object, "WorkspaceObject")) {
    return NULLTAG;
  }
  return store.find_type(store.text(object, "object_type"));
}

bool is_stored_in(Store& store, tag type, const char* class_name) {
  const std::string& type_class = store.text(type, "type_class");
  return !type_class.empty() && store.class_named(type_class).is_a(store.class_named(class_name));
}

void TypePath::climb() {
  const tag below = type_;
  type_ = store_.reference(below, "parent_type");
  if (type_ == mark_) {
    refuse_damage(below, "parent_type", "types are above one another in a circle");
  }
  if (++steps_ == steps_to_next_mark_) {
    mark_ = type_;
    steps_ = 0;
    steps_to_next_mark_ *= 2;
  }
}

bool is_type_of(Store& store, tag type, tag ancestor) {
  TypePath path(store, type);
  while (path.type() != NULLTAG && path.type() != ancestor) {
    path.climb();
  }
  return path.type() != NULLTAG;
}

tag type_of_class(const std::string& name, const char* class_name) {
  const tag type = store().find_type(name);
  if (type == NULLTAG || !is_stored_in(store(), type, class_name)) {
    refuse(TYPE_unknown_type, name + " of class " + class_name);
  }
  return type;
}

tag make_workspace_object(tag type, const std::string& name, Store::Criteria values) {
  values.emplace_back("object_type", store().text(type, "type_name"));
  values.emplace_back("object_name", name);
  return store().create(store().class_named(store().text(type, "type_class")), values);
}

}  // namespace host
