/** @file Which saved objects refer to an object by a certain attribute. */
#pragma once

#include <string>
#include <unordered_map>
#include <vector>

#include "store.h"

namespace host {

/**
 * Answers out of the file one object at a time; when many are asked for, it reads the attribute of
 * all objects at once. Small structures on large sites and large structures are both quick so. What
 * it has answered it answers again, whatever is saved in the meantime.
 */
class Referrers {
 public:
  Referrers(Store& store, const char* class_name, const char* attribute)
      : store_(store), class_name_(class_name), attribute_(attribute) {}

  /** In the order in which they were made. */
  const std::vector<tag>& of(tag object);

 private:
  void read_all();

  Store& store_;
  const char* class_name_;
  const char* attribute_;
  bool has_all_ = false;
  std::unordered_map<tag, std::vector<tag>> known_;
};

}  // namespace host
