/** @file The room in which a line is put together, wherever it will go. */
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace basetool {

/**
 * The line so far lies from `line` to `cursor`, free room from there to `limit`. All free room that
 * was ever seen by others (a window onto the trace file) holds line feeds, and stays so: whatever
 * is taken back is overwritten with line feeds.
 */
class LineRoom {
 public:
  constexpr LineRoom() = default;

  size_t length() const { return static_cast<size_t>(cursor - line); }
  size_t free_size() const { return static_cast<size_t>(limit - cursor); }

  /**
   * Makes sure that there is free room. May move the line.
   * @return false when there is no memory; what room there was stays.
   */
  bool reserve(size_t size) {
    if (free_size() >= size || grow(size)) [[likely]] {
      return true;
    }
    is_cut = true;
    return false;
  }

  /** Appends a text, cut where memory ends, so that shorter ones after it still find room. */
  void append(const char* text, size_t size) {
    if (!reserve(size)) {
      size = cut(size);
    }
    if (size == 0) {
      return;  // there may be no room at all
    }
    std::memcpy(cursor, text, size);
    cursor += size;
  }

  /** Appends one character several times, cut as `append` does. */
  void append_repeated(char character, size_t count) {
    if (!reserve(count)) {
      count = cut(count);
    }
    if (count == 0) {
      return;
    }
    std::memset(cursor, character, count);
    cursor += count;
  }

  /** Takes back all of the line beyond its first `wanted` bytes. */
  void shorten(size_t wanted) {
    if (length() <= wanted) {
      return;
    }
    std::memset(line + wanted, '\n', length() - wanted);
    cursor = line + wanted;
  }

  /** How much of a text goes in when its whole does not. */
  size_t cut(size_t size) {
    is_cut = true;
    constexpr size_t kept_for_the_rest = 64;
    size_t room = free_size();
    if (size <= kept_for_the_rest) {
      return size < room ? size : room;
    }
    return room > kept_for_the_rest ? room - kept_for_the_rest : 0;
  }

  char* line = nullptr;
  char* cursor = nullptr;
  char* limit = nullptr;
  bool is_cut = false; /**< memory did not suffice for all of the line */

 protected:
  ~LineRoom() = default;
  virtual bool grow(size_t size) = 0;
};

/** A line's room in memory, part of it at hand so that lines of usual length need no more. */
template <size_t SmallSize>
class LineBuffer {
 public:
  constexpr LineBuffer() = default;

  /** Makes room for a line in this buffer, moving it when it must. */
  bool grow(LineRoom& room, size_t size) {
    if (room.line == nullptr) {
      start(room);
    }
    if (room.free_size() >= size) {
      return true;
    }
    const size_t used = room.length();
    const size_t wanted = std::max(used + size, 2 * static_cast<size_t>(room.limit - room.line));
    const bool is_large = room.line == large_;
    char* larger = size > SIZE_MAX / 4 ? nullptr : static_cast<char*>(std::realloc(large_, wanted));
    if (larger == nullptr) {
      return false;
    }
    if (!is_large) {
      std::memcpy(larger, room.line, used);
    }
    large_ = larger;
    room.line = larger;
    room.cursor = larger + used;
    room.limit = larger + wanted;
    return true;
  }

  /** Drops the line; a buffer that a line of unusual length has needed is not kept. */
  void drop(LineRoom& room) {
    constexpr size_t size_kept = 1024 * 1024;
    if (room.line == large_ && static_cast<size_t>(room.limit - room.line) > size_kept) {
      free(room);
    }
    room.cursor = room.line;
  }

  void free(LineRoom& room) {
    std::free(large_);
    large_ = nullptr;
    start(room);
  }

 private:
  void start(LineRoom& room) {
    room.line = room.cursor = small_.data();
    room.limit = room.line + small_.size();
  }

  std::array<char, SmallSize> small_{};
  char* large_ = nullptr;
};

}  // namespace basetool
