/** @file What a description of a site is wanted for. */
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "registry.h"
#include "store.h"

namespace host {

/**
 * The sections of a seed are written for those who look at a site, with all that is there and
 * members that are for reading only; or as a seed that makes an equal site of a new one.
 */
struct Wishes {
  bool is_seed = false;
  bool has_dates = true;    /**< when objects were made and changed, and by whom */
  bool has_files = false;   /**< whether contents of files are there to be named */
  std::string files_prefix; /**< what stands before the digest in the path of contents */
};

/** Objects that sections have made so far: a bit for each number that a site has given out. */
class SaidObjects {
 public:
  void add(tag object) {
    if (object >= bits_.size()) {
      bits_.resize(object + std::size_t{1} + bits_.size() / 2);
    }
    bits_[object] = true;
  }
  bool contains(tag object) const { return object < bits_.size() && bits_[object]; }

 private:
  std::vector<bool> bits_;
};

/** Objects that a section makes, with attributes that it cannot say: few, as a rule. */
using Unsaid = std::vector<std::pair<tag, std::vector<const Attribute*>>>;

/** What has been said of a site. */
struct Account {
  SaidObjects said;
  Unsaid unsaid;
};

/** Whether an attribute says when an object was made or changed, or by whom. */
inline bool is_of_making(const Attribute& attribute) {
  return attribute.name == "creation_date" || attribute.name == "last_mod_date" ||
         attribute.name == "last_mod_user";
}

}  // namespace host
