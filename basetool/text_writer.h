/** @file Puts lines together from the texts of one or more calls: prefix, indentation, text. */
#pragma once

#include <cstddef>
#include <cstring>
#include <new>

#include "line_prefix.h"
#include "line_room.h"
#include "text_format.h"
#include "thread.h"

namespace basetool {

constexpr int widest_depth = 32;
constexpr int blanks_per_level = 2;

/** Puts the lines of a thread together, in the room that it has for them. */
template <typename Room>
class TextWriter {
 public:
  TextWriter(Room& room, Thread& thread, long long depth)
      : room_(room), thread_(thread), depth_(depth) {}

  /** Appends a text with whatever line feeds it holds; `append` appends it to the room. */
  template <typename Append>
  void write(int level, Append append);

  /** Ends a line that is still open. */
  void complete() {
    if (room_.length() > 0) {
      append_line_feed();
      end_line();
    }
  }

 private:
  size_t begin_line(int level);
  void append_line_feed();
  void end_line();
  void complete_cut_line();
  void append_piece(int level, const char* piece, size_t size);
  void rewrite_line_by_line(int level, size_t line_before, size_t size);

  Room& room_;
  Thread& thread_;
  const long long depth_;
};

/** Begins a line when there is none. @return length of the line so far. */
template <typename Room>
size_t TextWriter<Room>::begin_line(int level) {
  if (room_.length() > 0) {
    return room_.length();
  }
  thread_.line_level = level;
  if (has_prefix) {
    append_prefix(room_, level);
  }
  const long long levels = depth_ < widest_depth ? depth_ : widest_depth;
  room_.append_repeated(' ', blanks_per_level * static_cast<size_t>(levels));
  return room_.length();
}

/** Appends a line feed even where there is no memory left. */
template <typename Room>
void TextWriter<Room>::append_line_feed() {
  room_.append("\n", 1);
  room_.cursor[-1] = '\n';
}

template <typename Room>
void TextWriter<Room>::end_line() {
  thread_.is_in_writer = true;
  room_.end_line(thread_.line_level);
  thread_.is_in_writer = false;
}

/**
 * Ends a line that was cut, even if its text did not: a line that is full would take up nothing
 * more, not even its end.
 */
template <typename Room>
void TextWriter<Room>::complete_cut_line() {
  if (room_.is_cut && room_.cursor[-1] != '\n') {
    append_line_feed();
  }
  room_.is_cut = false;
}

/** Appends a piece of a text that has no line feed but possibly at its end. */
template <typename Room>
void TextWriter<Room>::append_piece(int level, const char* piece, size_t size) {
  bool is_empty_line = room_.length() == 0 && *piece == '\n';
  if (is_empty_line) {
    thread_.line_level = level;
  } else {
    begin_line(level);
  }
  room_.append(piece, size);
  complete_cut_line();
  if (room_.cursor[-1] == '\n') {
    end_line();
  }
}

/** Takes a text with line feeds off the current line and writes it line by line. */
template <typename Room>
void TextWriter<Room>::rewrite_line_by_line(int level, size_t line_before, size_t size) {
  char small_copy[1024];
  char* copy = size <= sizeof small_copy ? small_copy : new (std::nothrow) char[size];
  const char* text = room_.cursor - size;
  if (copy == nullptr) {
    // Out of memory: the text's lines stay as they stand, the last one gets an end.
    if (room_.cursor[-1] != '\n') {
      append_line_feed();
    }
    return end_line();
  }
  std::memcpy(copy, text, size);
  room_.shorten(line_before);
  for (const char *piece = copy, *end = copy + size; piece < end;) {
    const void* found = std::memchr(piece, '\n', static_cast<size_t>(end - piece));
    const char* next = found == nullptr ? end : static_cast<const char*>(found) + 1;
    append_piece(level, piece, static_cast<size_t>(next - piece));
    piece = next;
  }
  if (copy != small_copy) {
    delete[] copy;
  }
}

template <typename Room>
template <typename Append>
void TextWriter<Room>::write(int level, Append append) {
  size_t line_before = room_.length();
  size_t text_begin = begin_line(level);
  LineFeeds line_feeds = append(room_);
  if (room_.is_cut) [[unlikely]] {
    complete_cut_line();
    line_feeds = LineFeeds::several;
  }
  size_t size = room_.length() - text_begin;
  if (size == 0) {
    return room_.shorten(line_before);
  }
  if (line_feeds == LineFeeds::none) {
    return;
  }
  bool is_empty_line = size == 1 && line_before == 0;
  bool ends_line = room_.cursor[-1] == '\n' && !is_empty_line;
  if (line_feeds == LineFeeds::several) {
    const void* first = std::memchr(room_.cursor - size, '\n', size);
    if (first == nullptr) {
      return;
    }
    ends_line = ends_line && first == room_.cursor - 1;
  }
  if (ends_line) [[likely]] {
    end_line();
  } else {
    rewrite_line_by_line(level, line_before, size);
  }
}

}  // namespace basetool
