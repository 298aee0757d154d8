/** @file What a program that is killed says of its progress, in memory that outlives it. */
#pragma once

#include <atomic>

#include "tests/support/shared_memory.h"

namespace test {

/** Numbers of the last changes that were saved: what they stand for was there before they rose. */
struct Progress {
  std::atomic<int> renamed;
  std::atomic<int> created;
  std::atomic<int> seeded;
  std::atomic<int> preferred;
  std::atomic<int> filed;
  std::atomic<int> failures; /**< operations that were refused; none should be */
};

}  // namespace test
