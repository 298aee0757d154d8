/** @file The business types of objects. */
#pragma once

#include "store.h"

namespace host {

/** A walk from a type to those above it. A circle of types, as only a damaged file has, is refused.
 */
class TypePath {
 public:
  TypePath(Store& store, tag type) : store_(store), type_(type), mark_(type) {}

  /** Where the walk is; NULLTAG behind its end. */
  tag type() const { return type_; }

  void climb();

 private:
  Store& store_;
  tag type_;
  tag mark_; /**< a type that was passed; a walk that comes there again goes round in a circle */
  unsigned steps_ = 0;
  unsigned steps_to_next_mark_ = 1;
};

/** Type of a workspace object or a relation; NULLTAG for other objects, which have none. */
tag type_of(Store& store, tag object);

/** Whether the objects of a type are stored in a class or below it. */
bool is_stored_in(Store& store, tag type, const char* class_name);

/** Whether a type is another one or descends from it. */
bool is_type_of(Store& store, tag type, tag ancestor);

/** A type by name, of objects of a class; refused with TYPE_unknown_type when there is none. */
tag type_of_class(const std::string& name, const char* class_name);

/** A new object of a type, with a name and whatever else its class needs. */
tag make_workspace_object(tag type, const std::string& name, Store::Criteria values);

}  // namespace host
