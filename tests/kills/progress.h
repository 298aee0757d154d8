/** @file What a program that is killed says of its progress, in memory that outlives it. */
#pragma once

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <stdexcept>

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

/** The progress that a file of the right size holds. */
inline Progress& map_progress(const char* path) {
  const int file = open(path, O_RDWR | O_CLOEXEC);
  void* memory = mmap(nullptr, sizeof(Progress), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
  close(file);
  if (memory == MAP_FAILED) {
    throw std::runtime_error("no shared memory");
  }
  return *static_cast<Progress*>(memory);
}

}  // namespace test
