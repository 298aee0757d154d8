/** @file Objects in a list that is printed as they are read. */
#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "ork/ork.h"
#include "output.h"

namespace tool {

/**
 * Prints objects as rows, one after the other: what tells them from others, owner and latest
 * status. One that cannot be read does not keep the others from being listed: it has an `error`,
 * which is null for those, and its number for an id. What is read for the rows is forgotten as it
 * goes on, so one state of the site has to be in view.
 */
class ObjectRows {
 public:
  explicit ObjectRows(bool as_json);
  void add(tag object);
  /** Adds one that could not be read. */
  void add_unreadable(tag object, const std::string& why);

  /** Ends the list; then throws an Error when one of the objects could not be read. */
  void finish();

 private:
  Json told_of(tag object) const;
  void print(const Json& row);

  std::optional<JsonList> json_;
  BlockTable table_;
  std::size_t rows_ = 0;
  std::size_t unreadable_ = 0;
  std::string first_unreadable_;
};

}  // namespace tool
