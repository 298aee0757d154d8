/** @file The site that all benchmarks work on: there is one open site in a process. */
#pragma once

#include "tests/support/release_list.h"

namespace bench {

inline test::CloneSite& site() {
  static test::CloneSite one;
  return one;
}

}  // namespace bench
