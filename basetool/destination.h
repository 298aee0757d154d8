/**
 * @file
 * Where the trace's lines go, and the room in which they are put together.
 *
 * A regular file is written through a window: lines are put together right in the file. Streams,
 * files that are followed and a writer function get each line when it is complete; it is put
 * together in a buffer. Whatever fails, the trace goes on on standard error.
 */
#pragma once

#include <cstddef>
#include <cstdint>

#include "file_names.h"
#include "line_room.h"
#include "settings.h"
#include "trace_file.h"
#include "zolp_basetool.h"

namespace basetool {

/**
 * Opens its file when the first line needs room: there is none while it is closed. Has no
 * destructor, since programs trace until the end.
 */
class Destination final : public LineRoom {
 public:
  constexpr Destination() = default;

  /** Says what the environment says. To be called before anything else. */
  void configure(const Settings& settings) { settings_ = settings; }

  /** Sends the lines to a function; null sends them where the settings say. */
  void set_writer(ZOLP_TraceWriter writer, void* context);

  /** Passes the line on, which must end with a line feed, and starts a new one. */
  void end_line(int level) {
    if (mode_ == Mode::window && !TraceFile::is_window_lost()) [[likely]] {
      line = cursor;
    } else {
      deliver(level);
    }
  }

  /** Writes a whole line of another thread, before the line that is being put together here. */
  void insert_line(int level, char* text, size_t size);

  /** Calls the writer function no more: what it writes to may be gone soon. */
  void end_writer();

  /** Ends the line and trims the file, at the end of the program. Later lines still get there. */
  void finish();

  /** Leaves the parent's file and its unfinished line alone, in a forked child. */
  void restart_in_child();

 private:
  enum class Mode { closed, window, stream, writer };

  bool grow(size_t size) override;
  bool grow_buffer(size_t size) { return buffer_.grow(*this, size); }
  bool grow_window(size_t size);
  bool is_window_sound() const;
  uint64_t line_offset() const;
  size_t window_room() const;
  bool is_too_much(uint64_t offset, size_t size) const;
  void move_line_to_buffer();
  bool move_line_to_window(uint64_t offset, size_t size);
  void take_line_out_of_file(uint64_t offset);

  void open();
  void reopen();
  void start_file();
  void use_standard_error();
  void rotate();
  bool open_new_file();
  void leave_window();

  void deliver(int level);
  void prepare_file_for_line();
  void write_line(const char* text, size_t size);
  void call_writer(int level, char* text, size_t size);

  Settings settings_;
  Mode mode_ = Mode::closed;
  bool is_finished_ = false;
  bool is_standard_error_ = false;
  TraceFile file_;
  Path path_{};
  char* window_ = nullptr;     /**< a place in the window; null while the line is in a buffer ... */
  uint64_t window_offset_ = 0; /**< ... and the byte of the file that stands there */
  char* window_end_ = nullptr;
  ZOLP_TraceWriter writer_ = nullptr;
  void* writer_context_ = nullptr;
  LineBuffer<4096> buffer_;
};

}  // namespace basetool
