/** @file How far the platform is with a file. */
#pragma once

#include <cstdint>
#include <string>

#include "ork/ork.h"

namespace tool {

/**
 * While it lives, an interruption ends the platform's copying of files, and how far that is with a
 * large one is told on a terminal.
 */
class CopyProgress {
 public:
  /** @param what what is told, for example "importing a.txt". */
  explicit CopyProgress(const std::string& what);
  ~CopyProgress();
  CopyProgress(const CopyProgress&) = delete;
  CopyProgress& operator=(const CopyProgress&) = delete;

 private:
  logical see(std::int64_t done, std::int64_t total);
  void clear();

  std::string what_;
  bool is_terminal_;
  std::int64_t shown_ = -1; /**< the percentage that stands there, or -1 */
};

}  // namespace tool
