/** @file How far the host is with a seed. */
#pragma once

#include <chrono>
#include <cstddef>
#include <string>

#include "ork/ork.h"

namespace tool {

/** While it lives, an interruption ends a seed, and how far that is is told on a terminal. */
class SeedProgress {
 public:
  /** @param what what is told, for example "seeding site.json". */
  explicit SeedProgress(const std::string& what);
  ~SeedProgress();
  SeedProgress(const SeedProgress&) = delete;
  SeedProgress& operator=(const SeedProgress&) = delete;

 private:
  logical see(const char* section, std::size_t done, std::size_t elements);

  std::string what_;
  bool is_terminal_;
  bool is_shown_ = false;
  std::chrono::steady_clock::time_point next_;
};

}  // namespace tool
