#include "destination.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace basetool {

// ---- The room.

bool Destination::grow(size_t size) {
  ErrorKeeper error_keeper;
  if (size > SIZE_MAX / 4) {
    return false;
  }
  if (mode_ == Mode::closed) {
    open();
  }
  if (mode_ == Mode::window) {
    return grow_window(size);
  }
  return grow_buffer(size);
}

/** Makes room by laying the window over the next part of the file, or over the next file. */
bool Destination::grow_window(size_t size) {
  if (!file_.refresh()) {
    reopen();
    return mode_ == Mode::window ? grow_window(size) : reserve(size);
  }
  if (line_offset() == 0 && is_window_sound() && file_.has_own_end() && size <= window_room()) {
    limit = cursor + size;  // the first line of a file may be longer than the file should be
    return true;
  }
  const bool is_at_end = is_window_sound() && file_.has_own_end();
  uint64_t offset = is_at_end ? line_offset() : file_.size();
  move_line_to_buffer();
  if (is_too_much(offset, size)) {
    file_.shorten(offset);
    rotate();
    if (mode_ != Mode::window) {
      return reserve(size);
    }
    offset = file_.size();
  }
  return move_line_to_window(offset, size) || reserve(size);
}

/** Asks whether the file still has all bytes of the window. */
bool Destination::is_window_sound() const {
  return window_ == nullptr ||
         (!TraceFile::is_window_lost() &&
          file_.size() >= window_offset_ + static_cast<uint64_t>(window_end_ - window_));
}

/** Where the line that is being put together starts in the file. */
uint64_t Destination::line_offset() const {
  if (window_ == nullptr) {
    return file_.size();
  }
  return window_offset_ + static_cast<uint64_t>(line - window_);
}

size_t Destination::window_room() const {
  return window_ == nullptr ? 0 : static_cast<size_t>(window_end_ - cursor);
}

/** Asks whether a line that starts at an offset and grows by a size would exceed the limit. */
bool Destination::is_too_much(uint64_t offset, size_t size) const {
  return settings_.size_limit != 0 && offset > 0 && offset + length() + size > settings_.size_limit;
}

/** Puts the line into the buffer; where memory ends, its end is lost. */
void Destination::move_line_to_buffer() {
  if (window_ == nullptr) {
    grow_buffer(1);
    return;
  }
  char* text = line;
  size_t size = length();
  // What a lost window held before it was lost is gone, and zeros stand there.
  for (; size > 0 && *text == '\0' && TraceFile::is_window_lost(); --size) {
    ++text;
  }
  line = nullptr;
  grow_buffer(1);
  const size_t kept = grow_buffer(size) ? size : cut(size);
  std::memcpy(cursor, text, kept);
  cursor += kept;
  std::memset(text, '\n', size);  // it may go on elsewhere in the file
  window_ = nullptr;
}

/**
 * Puts the line from the buffer into a window onto the file.
 * @return false when there can be no window; the file is a plain stream from then on.
 */
bool Destination::move_line_to_window(uint64_t offset, size_t size) {
  size_t used = length();
  char* end = nullptr;
  char* begin = file_.map(offset, used + size, &end);
  if (begin == nullptr) {
    file_.shorten(offset);
    mode_ = Mode::stream;
    return false;
  }
  std::memcpy(begin, line, used);
  window_ = begin;
  window_offset_ = offset;
  window_end_ = end;
  line = begin;
  cursor = begin + used;
  limit = end;
  if (settings_.size_limit != 0) {
    uint64_t allowed = settings_.size_limit > offset ? settings_.size_limit - offset : 0;
    allowed = std::max<uint64_t>(allowed, used + size);
    if (allowed < static_cast<uint64_t>(end - line)) {
      limit = line + allowed;
    }
  }
  return true;
}

// ---- The file.

void Destination::open() {
  if (settings_.file == nullptr) {
    return use_standard_error();
  }
  if (!expand_file_name(settings_.file, path_)) {
    complain("the name of the trace file is too long; the trace goes to standard error");
    return use_standard_error();
  }
  Opening opening = file_.open(path_.data());
  if (opening == Opening::taken) {
    // Two processes would overwrite each other's lines.
    size_t size = std::strlen(path_.data());
    append_process_id(path_);
    complain("%.*s belongs to another process; this one writes to %s", static_cast<int>(size),
             path_.data(), path_.data());
    opening = file_.open(path_.data());
  }
  if (opening == Opening::done) {
    return start_file();
  }
  complain("cannot open %s: %s; the trace goes to standard error", path_.data(),
           opening == Opening::taken ? "it belongs to another process" : file_.last_error());
  use_standard_error();
}

/** Opens the file anew after the program has closed its descriptor. */
void Destination::reopen() {
  uint64_t offset = line_offset();
  bool is_line_in_file = window_ != nullptr;
  move_line_to_buffer();
  TraceFile earlier = file_;
  file_.forget();
  open();
  if (is_line_in_file && file_.is_same(earlier)) {
    take_line_out_of_file(offset);
  }
}

/** Cuts the line, which is in the buffer by now, off a file that was opened anew. */
void Destination::take_line_out_of_file(uint64_t offset) {
  const bool is_last_in_file = file_.size() <= offset + length() + 1;  // with the last line's end
  if (is_last_in_file) {
    file_.shorten(offset);
  }
}

void Destination::start_file() {
  is_standard_error_ = false;
  bool has_window = file_.is_regular() && !settings_.is_followed && !is_finished_;
  mode_ = has_window ? Mode::window : Mode::stream;
}

void Destination::use_standard_error() {
  file_.use_standard_error();
  is_standard_error_ = true;
  mode_ = Mode::stream;
}

/** Starts a new file. */
void Destination::rotate() {
  // Somebody else may have moved the file away and put another one in its place.
  if (file_.is_at(path_.data()) && !rename_older_files(path_, settings_.kept_files)) {
    complain("cannot rename %s to make room for a new one; it grows without limit", path_.data());
    settings_.size_limit = 0;
    return;
  }
  // The lock goes with the descriptor: nobody takes the old file for theirs before it is renamed.
  file_.close();
  if (open_new_file()) {
    start_file();
  } else {
    use_standard_error();
  }
}

/** Starts a file under the name; nothing is opened that others have put there meanwhile. */
bool Destination::open_new_file() {
  const size_t size = std::strlen(path_.data());
  Opening opening = file_.open(path_.data(), Wanted::new_file);
  if (opening == Opening::taken) {
    append_process_id(path_);
    complain("%.*s was put there by somebody else; this process writes to %s",
             static_cast<int>(size), path_.data(), path_.data());
    opening = file_.open(path_.data(), Wanted::new_file);
  }
  if (opening != Opening::done) {
    complain("cannot make %s: %s; the trace goes to standard error", path_.data(),
             file_.last_error());
  }
  return opening == Opening::done;
}

void Destination::leave_window() {
  if (window_ == nullptr) {
    return;
  }
  bool is_ours = file_.refresh();
  uint64_t offset = line_offset();
  move_line_to_buffer();
  file_.unmap();
  if (is_ours) {
    return file_.shorten(offset);
  }
  // The program has closed the descriptor.
  const TraceFile earlier = file_;
  file_.forget();
  if (earlier.is_at(path_.data()) && file_.open(path_.data()) == Opening::done &&
      file_.is_same(earlier)) {
    take_line_out_of_file(offset);
  }
}

// ---- Lines.

void Destination::set_writer(ZOLP_TraceWriter writer, void* context) {
  leave_window();
  file_.close();
  line = cursor = limit = nullptr;
  writer_ = writer;
  writer_context_ = context;
  mode_ = writer == nullptr ? Mode::closed : Mode::writer;
}

void Destination::deliver(int level) {
  ErrorKeeper error_keeper;
  if (mode_ == Mode::writer) {
    call_writer(level, line, length());
    return buffer_.drop(*this);
  }
  if (mode_ == Mode::stream && file_.is_regular()) {
    prepare_file_for_line();
  }
  // A window is lost, or was opened just now.
  if (mode_ == Mode::window) {
    grow_window(1);
  }
  if (mode_ == Mode::window) {
    line = cursor;
  } else {
    write_line(line, length());
    buffer_.drop(*this);
  }
}

/** Makes sure that the file is still the right one, and not full. */
void Destination::prepare_file_for_line() {
  if (!file_.refresh()) {
    reopen();
  } else if (is_too_much(file_.size(), 0)) {
    rotate();
  }
}

void Destination::write_line(const char* text, size_t size) {
  if (!file_.write(text, size) && !is_standard_error_) {
    complain("cannot write %s: %s; the trace goes to standard error", path_.data(),
             file_.last_error());
    file_.close();
    use_standard_error();
    file_.write(text, size);
  }
}

/** One line, unless there was no memory to put several ones together one by one. */
void Destination::call_writer(int level, char* text, size_t size) {
  char* const text_end = text + size;
  for (char *begin = text, *end = nullptr; begin < text_end; begin = end + 1) {
    end = static_cast<char*>(std::memchr(begin, '\n', static_cast<size_t>(text_end - begin)));
    *end = '\0';
    writer_(level, begin, static_cast<size_t>(end - begin), writer_context_);
  }
}

void Destination::insert_line(int level, char* text, size_t size) {
  ErrorKeeper error_keeper;
  if (mode_ == Mode::closed || mode_ == Mode::window) {
    reserve(size);  // opens the file
  }
  if (mode_ == Mode::writer) {
    return call_writer(level, text, size);
  }
  if (mode_ == Mode::window && reserve(size) && mode_ == Mode::window) {
    std::memmove(line + size, line, length());
    std::memcpy(line, text, size);
    line += size;
    cursor += size;
    return;
  }
  if (file_.is_regular()) {
    prepare_file_for_line();
  }
  write_line(text, size);
}

void Destination::end_writer() {
  if (mode_ == Mode::writer) {
    writer_ = nullptr;
    mode_ = Mode::closed;
    line = cursor = limit = nullptr;
  }
}

void Destination::finish() {
  ErrorKeeper error_keeper;
  is_finished_ = true;
  end_writer();
  if (length() > 0) {
    append("\n", 1);
    end_line(ZOLP_LEVEL_OFF);
  }
  if (mode_ == Mode::window) {
    leave_window();
    mode_ = Mode::stream;
  }
}

void Destination::restart_in_child() {
  if (file_.is_regular()) {
    window_ = nullptr;
    line = cursor = limit = nullptr;
    file_.close();
    mode_ = Mode::closed;
  }
  cursor = line;
}

}  // namespace basetool
