/** @file Keeps processes that use the same path of a temporary file out of each other's way. */
#pragma once

#include <cstddef>

namespace orktool {

/**
 * A lock on a path, held by one process at a time, for all who ask for it through this class. It is
 * a file beside the path, "<path>-lock", that the operating system takes back from a process that
 * ends in whatever way, and that is gone when nobody holds it.
 *
 * Where no such file can be made, as in a folder that cannot be written, the path is not guarded:
 * what is to be written there fails for the same reason.
 */
class PathLock {
 public:
  /** Waits until the path is free, but five minutes at most. A null path takes no lock. */
  explicit PathLock(const char* path);
  ~PathLock();
  PathLock(const PathLock&) = delete;
  PathLock& operator=(const PathLock&) = delete;

  /** Whether another process has kept it all the time. */
  bool is_taken_by_other() const { return is_taken_by_other_; }

  static constexpr std::size_t longest_path = 512;

 private:
  char file_path_[longest_path + sizeof "-lock"] = "";
#if defined(_WIN32)
  void* file_ = nullptr;
#else
  int file_ = -1;
#endif
  bool is_taken_by_other_ = false;
};

}  // namespace orktool
