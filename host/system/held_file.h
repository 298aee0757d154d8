/** @file Files that tell whether the process that made them still lives. Failures are thrown as
 * std::system_error. */
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace host::os {

/**
 * A new file that this process holds a lock on until it ends. The system gives the lock back,
 * however the process ends, and a process that was forked off does not have it; so it says who
 * lives where process numbers and names of machines do not: in containers, for other users, and on
 * whatever machine shares the folder.
 */
class HeldFile {
 public:
  /** Makes the file, which anybody may read who may read the file that it is about. */
  HeldFile(const std::string& path, const std::string& about);

  /** Gives the lock back; the file stays. */
  ~HeldFile();
  HeldFile(const HeldFile&) = delete;
  HeldFile& operator=(const HeldFile&) = delete;

  /** Writes at a place, over what stands there. */
  void write(std::size_t place, std::string_view text) const;

  /** Takes away all that stands behind a number of bytes. */
  void cut(std::size_t size) const;

 private:
#if defined(_WIN32)
  void* file_;
#else
  int file_;
#endif
};

/**
 * Whether the process that made a file still has it: false for one that is not there, true for one
 * that cannot be asked.
 */
bool is_held(const std::string& path) noexcept;

/** Removes a file unless a process has it. */
void remove_unheld(const std::string& path) noexcept;

/** Makes a folder that is open to those who may use a file. One that is there stays as it is. */
void make_folder_like(const std::string& path, const std::string& about);

}  // namespace host::os
