/** @file The values of an object, put together before it is made or changed. */
#pragma once

#include <optional>
#include <string>

#include "seed_node.h"
#include "store.h"

namespace host {

/** So an object of a seed is written once, whatever the seed says of it. */
class Draft {
 public:
  /** @param[in] known the object that is changed; NULLTAG for a new one of the class. */
  Draft(Store& store, const Class& type, tag known);

  bool is_new() const { return known_ == NULLTAG; }
  const Class& type() const { return type_; }

  void set(const Node& node, const char* attribute, const Scalar& value);
  void set_list(const Node& node, const char* attribute, Values values);

  /** The value as it will be. */
  const Values& values(const char* attribute) const;
  tag reference(const char* attribute) const;
  std::string text(const char* attribute) const;

  /** Makes or changes the object; where nothing changes, nothing is written. */
  tag take(const Node& node);

 private:
  void change();

  Store& store_;
  const Class& type_;
  tag known_;
  Store::Lists lists_;
};

}  // namespace host
