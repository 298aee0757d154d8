/**
 * @file
 * The trace's open file or stream, and a window onto the file.
 *
 * Text that stands in the window is in the file, whatever becomes of the process; no call is
 * needed. The window's room that holds no text yet is filled with line feeds, so that the file is a
 * text file at any moment; they are cut off when the file is closed or, after a crash, when it is
 * opened the next time.
 */
#pragma once

#include <cstddef>
#include <cstdint>

#include "system.h"
#include "zolp_basetool.h"

namespace basetool {

/** Writes one line on standard error: a trace that does not go where it should must say so. */
void complain(const char* format, ...) ZOLP_PRINTF_LIKE(1, 2);

/** Has no destructor: a process may trace until its very end, and then the system closes the file.
 */
class TraceFile {
 public:
  constexpr TraceFile() = default;

  /**
   * Opens a file or stream as `open_for_appending` does. In a regular file, the new text will start
   * a line.
   * @return `failed` with the reason in `last_error()`.
   */
  Opening open(const char* path, Wanted wanted = Wanted::anything);

  void use_standard_error();

  bool is_regular() const { return file_.is_regular; }

  /** Size of a regular file in bytes, as of the last call of a function that changes or asks it. */
  uint64_t size() const { return file_.state.size; }

  /**
   * Looks the size of a regular file up.
   * @return false when the program closed the descriptor (as daemons do, by number); the file is to
   *   be forgotten and opened anew then.
   */
  bool refresh();

  /** Appends to the file. A failure leaves the file as it was, where that is possible. */
  bool write(const char* text, size_t size);

  /** Asks whether the file ends where this process has made it end; if not, others append too. */
  bool has_own_end() const { return size() == own_end_; }

  /** Cuts a regular file off, unless others have appended to what this process made of it. */
  void shorten(uint64_t size);

  /**
   * Has the window lie over a part of the file, which the file is made to have. The window may
   * move.
   * @param[in,out] from first byte of the part; becomes the file's end when others have appended.
   * @param[in] needed its size at least.
   * @param[out] end end of the window.
   * @return where byte `from` stands, or null on failure; then there is no window.
   */
  char* map(uint64_t& from, uint64_t needed, char** end);

  void unmap();

  /** Asks whether somebody else shortened the file, so that text in the window did not reach it. */
  static bool is_window_lost() { return window_lost != 0; }

  /** Closes the file, leaving it as it is; in a forked child, also leaving it to the parent. */
  void close();

  /** Asks whether the same file was opened by both. */
  bool is_same(const TraceFile& other) const {
    return file_.is_regular && file_.state.is_same_file(other.file_.state);
  }

  /** Asks whether a path still leads to the file. */
  bool is_at(const char* path) const;

  /** Lets go of the file without touching it or its descriptor. */
  void forget();

  /** Readable reason of the last failure. */
  const char* last_error() const;

 private:
  void trim();

  OpenFile file_;
  uint64_t own_end_ = 0; /**< size that this process found, and made of it since */
  int error_ = 0;
};

}  // namespace basetool
