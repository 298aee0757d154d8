/** @file How often tests kill a process. */
#pragma once

#include <cstdlib>

namespace test {

/** 20 times, or as often as the environment variable `ZOLP_TEST_KILLS` says. */
inline int kills() {
  const char* wanted = std::getenv("ZOLP_TEST_KILLS");
  return wanted != nullptr ? std::atoi(wanted) : 20;
}

}  // namespace test
