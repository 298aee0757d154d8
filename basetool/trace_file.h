/**
 * @file
 * What the trace needs of the operating system: an open file or stream, and a window onto the file.
 *
 * Text that stands in the window is in the file, whatever becomes of the process; no call is
 * needed. The window's room that holds no text yet is filled with line feeds, so that the file is a
 * text file at any moment; they are cut off when the file is closed or, after a crash, when it is
 * opened the next time.
 */
#pragma once

#include <csignal>
#include <cstddef>
#include <cstdint>

#include "zolp_basetool.h"

namespace basetool {

/** The system's name for an open file or stream; -1 is none. */
#if defined(_WIN32)
using Descriptor = std::intptr_t;
#else
using Descriptor = int;
#endif

/** Writes one line on standard error: a trace that does not go where it should must say so. */
void complain(const char* format, ...) ZOLP_PRINTF_LIKE(1, 2);

/** Value of an environment variable, or null; null as well in a process of raised privileges. */
const char* environment(const char* variable);

unsigned long process_id();

/** Has a function called in each child process that a fork makes. */
void call_in_forked_child(void (*function)());

/** Deletes a file. @return false when it is still there, or was not. */
bool remove_file(const char* path);

/** Renames a file, in place of one that has the new name. @return false on failure. */
bool rename_file(const char* path, const char* new_path);

/** Keeps the calling program's last error codes over what is done here. */
class ErrorKeeper {
 public:
  ErrorKeeper();
  ~ErrorKeeper();
  ErrorKeeper(const ErrorKeeper&) = delete;
  ErrorKeeper& operator=(const ErrorKeeper&) = delete;

 private:
  int kept_errno_;
#if defined(_WIN32)
  unsigned long kept_last_error_;
#endif
};

/** Set by the signal handler that replaces a window whose file is gone; see `is_window_lost`. */
extern volatile std::sig_atomic_t window_lost;

/** Has no destructor: a process may trace until its very end, and then the system closes the file.
 */
class TraceFile {
 public:
  enum class Opening { done, taken, failed };

  constexpr TraceFile() = default;

  /**
   * Opens a file or stream for appending. A regular file is created when it does not exist, belongs
   * to this process alone until it is closed, and starts a line where the new text will go.
   * @return `taken` when another process writes to the file; `failed` with the reason in
   *   `last_error()`.
   */
  Opening open(const char* path);

  void use_standard_error();

  bool is_regular() const { return is_regular_; }

  /** Size of a regular file in bytes, as of the last call of a function that changes or asks it. */
  uint64_t size() const { return size_; }

  /**
   * Looks the size of a regular file up.
   * @return false when the program closed the descriptor (as daemons do, by number); the file is to
   *   be forgotten and opened anew then.
   */
  bool refresh();

  /** Appends to the file. A failure leaves the file as it was, where that is possible. */
  bool write(const char* text, size_t size);

  /** Cuts a regular file off. */
  void shorten(uint64_t size);

  /**
   * Has the window lie over the file's bytes from `from` to at least `needed`, which the file is
   * made to have. The window may move.
   * @param[out] end end of the window.
   * @return where byte `from` stands, or null on failure; then there is no window.
   */
  char* map(uint64_t from, uint64_t needed, char** end);

  void unmap();

  /** Asks whether somebody else shortened the file, so that text in the window did not reach it. */
  static bool is_window_lost() { return window_lost != 0; }

  /** Closes the file, leaving it as it is; in a forked child, also leaving it to the parent. */
  void close();

  /** Asks whether the same file was opened by both. */
  bool is_same(const TraceFile& other) const {
    return is_regular_ && device_ == other.device_ && inode_ == other.inode_;
  }

  /** Asks whether a path still leads to the file. */
  bool is_at(const char* path) const;

  /** Lets go of the file without touching it or its descriptor. */
  void forget();

  /** Readable reason of the last failure. */
  const char* last_error() const;

 private:
  void trim();
  bool lay_window(uint64_t from);

  Descriptor descriptor_ = -1;
  bool is_owned_ = false;
  bool is_regular_ = false;
  int error_ = 0;
  uint64_t device_ = 0;
  uint64_t inode_ = 0;
  uint64_t size_ = 0;
};

}  // namespace basetool
