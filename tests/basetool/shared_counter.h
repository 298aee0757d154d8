/** @file A number in a file, seen by several processes at once. */
#pragma once

#if defined(_WIN32)
#include <windows.h>
#else
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>
#endif

#include <atomic>
#include <filesystem>
#include <stdexcept>
#include <string>

namespace test {

class SharedCounter {
 public:
  /** @param path a file of the size of a number. */
  explicit SharedCounter(const std::string& path) {
    void* memory = nullptr;
#if defined(_WIN32)
    HANDLE file =
        CreateFileW(std::filesystem::path(path).c_str(), GENERIC_READ | GENERIC_WRITE,
                    FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr);
    HANDLE section = CreateFileMappingW(file, nullptr, PAGE_READWRITE, 0, 0, nullptr);
    memory = MapViewOfFile(section, FILE_MAP_WRITE, 0, 0, 0);
    CloseHandle(section);
    CloseHandle(file);
#else
    const int file = open(path.c_str(), O_RDWR | O_CLOEXEC);
    void* const mapped = mmap(nullptr, sizeof(int), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    memory = mapped != MAP_FAILED ? mapped : nullptr;
    close(file);
#endif
    if (memory == nullptr) {
      throw std::runtime_error("cannot map " + path);
    }
    counter_ = static_cast<std::atomic<int>*>(memory);
  }
  ~SharedCounter() {
#if defined(_WIN32)
    UnmapViewOfFile(counter_);
#else
    munmap(counter_, sizeof(int));
#endif
  }
  SharedCounter(const SharedCounter&) = delete;
  SharedCounter& operator=(const SharedCounter&) = delete;

  int value() const {
    return counter_->load();
  }
  void set(int value) {
    counter_->store(value);
  }

 private:
  std::atomic<int>* counter_;
};

}  // namespace test
