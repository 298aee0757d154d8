/** @file A change of several objects that is made as a whole or not at all. */
#pragma once

#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "store.h"

namespace host {

/**
 * Locks objects as it changes them, saves them together and gives the locks back that it took.
 * Unless it is committed, it takes everything back when it ends. No code of customers runs while
 * there is one: it holds the site's file.
 */
class Change {
 public:
  explicit Change(Store& store) : store_(store), transaction_(store.database()) {}
  ~Change();
  Change(const Change&) = delete;
  Change& operator=(const Change&) = delete;

  /** Takes a new object into the change, which was made by the caller. */
  tag adopt(tag made);
  tag create(const char* class_name, const Store::Criteria& values);

  void set(tag object, const char* attribute, Scalar value);
  void set_values(tag object, const char* attribute, Values values);

  void commit();

 private:
  struct OldValues {
    tag object;
    const char* attribute;
    Values values;
  };

  void touch(tag object);
  void take_back() noexcept;

  Store& store_;
  std::vector<tag> made_;
  std::vector<tag> touched_;
  std::unordered_map<tag, bool> was_locked_;
  std::vector<OldValues> old_values_; /**< of objects that the caller had locked */
  bool done_ = false;
  std::optional<Transaction> transaction_;
};

}  // namespace host
