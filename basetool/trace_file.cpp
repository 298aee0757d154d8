#include "trace_file.h"

#include <stdarg.h>
#include <stdio.h>
#include <string.h>

#include <algorithm>
#include <array>

namespace basetool {

void complain(const char* format, ...) {
  char line[1024] = "zolp_basetool: ";
  size_t size = strlen(line);
  va_list arguments;
  va_start(arguments, format);
  int length = vsnprintf(line + size, sizeof line - size - 1, format, arguments);
  va_end(arguments);
  if (length < 0) {
    return;
  }
  size = std::min(size + static_cast<size_t>(length), sizeof line - 2);
  line[size++] = '\n';
  append({.descriptor = standard_error()}, line, size);
}

Opening TraceFile::open(const char* path, Wanted wanted) {
  constexpr int tries = 10;
  for (int i = 0; i < tries; ++i) {
    const Opening opening = open_for_appending(path, wanted, file_);
    if (opening != Opening::done) {
      const int error = system_error();
      forget();
      error_ = error;
      return opening;
    }
    own_end_ = file_.state.size;
    if (!file_.is_regular) {
      return Opening::done;
    }
    // While it was opened its owner may have renamed it, to start a new one.
    if (is_at(path)) {
      trim();
      return Opening::done;
    }
    close();
  }
  return Opening::taken;
}

void TraceFile::use_standard_error() {
  file_ = {.descriptor = standard_error()};
}

/** Cuts line feeds off that a crashed process has left, and ends a line that it has left open. */
void TraceFile::trim() {
  std::array<char, 16 * 1024> block;
  uint64_t end = size();
  while (end > 0) {
    size_t part = static_cast<size_t>(std::min<uint64_t>(end, block.size()));
    if (!read_at(file_.descriptor, end - part, block.data(), part)) {
      return;
    }
    while (part > 0 && block[part - 1] == '\n') {
      --part, --end;
    }
    if (part > 0) {
      break;
    }
  }
  if (end == size() && end > 0) {
    write("\n", 1);
  } else if (size() > end + 1 || end == 0) {
    shorten(end == 0 ? 0 : end + 1);
  }
}

bool TraceFile::refresh() {
  FileState now;
  if (!read_state(file_.descriptor, now) || !now.is_same_file(file_.state)) {
    return false;
  }
  file_.state.size = now.size;
  return true;
}

bool TraceFile::write(const char* text, size_t size) {
  const uint64_t size_before = file_.state.size;
  const size_t written = append(file_, text, size);
  const int error = system_error();
  file_.state.size += written;
  own_end_ = file_.state.size;
  if (written == size) {
    return true;
  }
  if (file_.is_regular && refresh()) {
    shorten(size_before);
  }
  error_ = error;
  return false;
}

void TraceFile::shorten(uint64_t size) {
  if (size >= file_.state.size || !has_own_end()) {
    return;  // somebody else shortened it already, or made it longer
  }
  if (cut_off(file_.descriptor, size)) {
    file_.state.size = own_end_ = size;
  } else {
    error_ = system_error();
  }
}

char* TraceFile::map(uint64_t& from, uint64_t needed, char** end) {
  if (is_window_lost()) {
    unmap();
  }
  while (size() < from + needed) {
    own_end_ = append_line_feeds(file_.descriptor, size(), from + needed);
    error_ = system_error();
    if (own_end_ < from + needed || !refresh() || has_own_end()) {
      file_.state.size = own_end_;
      break;
    }
    from = size();  // others have appended since we asked for the size: that is not our room
  }
  char* place = nullptr;
  if (size() >= from + needed) {
    place = in_window(from, size());
    if (place == nullptr && lay_window(file_.descriptor, from, size())) {
      place = in_window(from, size());
    }
    if (place == nullptr) {
      error_ = system_error();
    }
  }
  if (place == nullptr) {
    unmap();
    return nullptr;
  }
  *end = place + (size() - from);
  return place;
}

void TraceFile::unmap() {
  take_window_away();
}

bool TraceFile::is_at(const char* path) const {
  return leads_to(path, file_.state);
}

void TraceFile::close() {
  unmap();
  if (file_.is_owned) {
    close_file(file_.descriptor);
  }
  forget();
}

void TraceFile::forget() {
  unmap();
  file_ = {};
  own_end_ = 0;
}

const char* TraceFile::last_error() const {
  return text_of_error(error_);
}

}  // namespace basetool
