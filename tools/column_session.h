/** @file What the library wants before it reads a release list by columns. */
#pragma once

#include <optional>
#include <string>

#include "output_files.h"
#include "site.h"

namespace tool {

/**
 * A session on a site of the program's own, with all that the library wants before it knows the
 * columns of a list: it learns them when it builds the head of a clone log, here an empty one.
 */
class ColumnSession {
 public:
  explicit ColumnSession(const std::string& separator);

 private:
  WorkFolder work_;
  Site site_;
  std::optional<Session> session_;
};

}  // namespace tool
