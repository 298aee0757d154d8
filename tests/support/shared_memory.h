/** @file A structure in a file, seen by several processes at once, and outliving them. */
#pragma once

#if defined(_WIN32)
#include <windows.h>
#else
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>
#endif

#include <filesystem>
#include <stdexcept>
#include <string>

#include "host/system/utf8_path.h"

namespace test {

/** The structure is one that needs no construction beyond zeroes. */
template <typename Structure>
class SharedMemory {
 public:
  /** @param path a file of the structure's size. */
  explicit SharedMemory(const std::string& path) {
    void* memory = nullptr;
#if defined(_WIN32)
    HANDLE file =
        CreateFileW(host::utf8_path(path).c_str(), GENERIC_READ | GENERIC_WRITE,
                    FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr);
    HANDLE section = CreateFileMappingW(file, nullptr, PAGE_READWRITE, 0, 0, nullptr);
    memory = MapViewOfFile(section, FILE_MAP_WRITE, 0, 0, 0);
    CloseHandle(section);
    CloseHandle(file);
#else
    const int file = open(path.c_str(), O_RDWR | O_CLOEXEC);
    void* const mapped =
        mmap(nullptr, sizeof(Structure), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    memory = mapped != MAP_FAILED ? mapped : nullptr;
    close(file);
#endif
    if (memory == nullptr) {
      throw std::runtime_error("cannot map " + path);
    }
    structure_ = static_cast<Structure*>(memory);
  }
  ~SharedMemory() {
#if defined(_WIN32)
    UnmapViewOfFile(structure_);
#else
    munmap(structure_, sizeof(Structure));
#endif
  }
  SharedMemory(const SharedMemory&) = delete;
  SharedMemory& operator=(const SharedMemory&) = delete;

  Structure& operator*() const {
    return *structure_;
  }
  Structure* operator->() const {
    return structure_;
  }

 private:
  Structure* structure_;
};

}  // namespace test
