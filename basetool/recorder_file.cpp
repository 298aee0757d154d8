// Makes the file of a recording, under a name that nobody else records to, and says in it what its
// reader needs to know.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "calls.h"
#include "recorder.h"
#include "system.h"
#include "trace_file.h"

namespace basetool {

namespace {

constexpr uint64_t smallest_size = 128 * 1024;
constexpr uint64_t default_size = 8 * 1024 * 1024;
constexpr uint64_t largest_table = 2 * 1024 * 1024;

}  // namespace

void Recorder::complain_of(const char* what) const {
  complain("cannot %s %s: %s; there is no recording", what, path_.data(),
           text_of_error(system_error()));
}

/** Makes the file. On failure there is no recording any more, and a line has said why. */
bool Recorder::open() {
  ErrorKeeper error_keeper;
  uint64_t size = wanted_size_ == 0 ? default_size : std::max(wanted_size_, smallest_size);
  size = size / recording_chunk_size * recording_chunk_size;
  bool is_done = open_file();
  if (is_done) {
    is_done = allocate(file_.descriptor, size);
    char* bytes = is_done ? map_recording(file_.descriptor, size) : nullptr;
    is_done = bytes != nullptr;
    if (!is_done) {
      complain_of("make room for");
      remove_file(path_.data());
    }
    file_bytes_ = reinterpret_cast<unsigned char*>(bytes);
  }
  if (is_done) {
    table_offset_ = recording_header_size;
    table_size_ = std::min(size / 8, largest_table) / recording_chunk_size * recording_chunk_size;
    chunks_offset_ = table_offset_ + table_size_;
    chunk_count_ = (size - chunks_offset_) / recording_chunk_size;
    table_used_ = chunks_begun_ = next_place_ = provided_ = 0;
    sites_ = threads_ = 0;
    text_chunk_ = nullptr;
    held_ = static_cast<unsigned char*>(std::calloc(chunk_count_, 1));
    is_done = held_ != nullptr;
  }
  if (!is_done) {
    close();
    is_on_.store(false, std::memory_order_relaxed);
    recording_changed();
    return false;
  }
  write_header();
  return true;
}

/** Opens a file that is not there yet; one that is there gets another name. */
bool Recorder::open_file() {
  if (!expand_file_name(name_, path_)) {
    complain("the name of the recording is too long; there is no recording");
    return false;
  }
  constexpr int tries = 10;
  for (int i = 0; i < tries; ++i) {
    const Opening opening = open_for_appending(path_.data(), Wanted::new_file, file_);
    if (opening == Opening::failed) {
      complain_of("make");
      return false;
    }
    if (opening == Opening::taken && !give_way_to_owner()) {
      return false;
    }
    // While it was being locked somebody may have taken it for one that nobody writes to.
    if (opening == Opening::done && leads_to(path_.data(), file_.state)) {
      return true;
    }
    if (opening == Opening::done) {
      close_file(file_.descriptor);
    }
  }
  complain("cannot make %s: others make it, too; there is no recording", path_.data());
  return false;
}

/** Renames the file that has the name; takes another name when a process still writes to it. */
bool Recorder::give_way_to_owner() {
  OpenFile old;
  const Opening opening = open_for_appending(path_.data(), Wanted::old_file, old);
  if (opening == Opening::taken) {
    const size_t size = std::strlen(path_.data());
    append_process_id(path_);
    complain("%.*s belongs to another process; this one records to %s", static_cast<int>(size),
             path_.data(), path_.data());
    return true;
  }
  if (opening == Opening::failed || !old.is_regular) {
    complain_of(opening == Opening::failed ? "replace" : "record to the stream");
    if (opening != Opening::failed && old.is_owned) {
      close_file(old.descriptor);
    }
    return false;
  }
  const bool is_done =
      old.state.size == 0 ? remove_file(path_.data()) : rename_older_files(path_, kept_files_);
  if (!is_done) {
    complain_of("rename");
  }
  close_file(old.descriptor);
  return is_done;
}

void Recorder::write_header() {
  RecordingHeader& to = header();
  to.version = recording_version;
  to.byte_order = recording_byte_order;
  to.file_size = chunks_offset_ + chunk_count_ * recording_chunk_size;
  to.table_offset = table_offset_;
  to.table_size = table_size_;
  to.chunks_offset = chunks_offset_;
  to.chunk_count = chunk_count_;
  to.chunk_size = recording_chunk_size;
  to.event_size = sizeof(RecordedEvent);
  to.process = process_id();
  to.counter_kind =
#if defined(__x86_64__)
      uses_clock_ ? CounterKind::nanoseconds : CounterKind::processor;
#else
      CounterKind::nanoseconds;
#endif
  to.state = is_finished_ ? RecordingState::ended : RecordingState::open;
  read_program_name(to.program, sizeof to.program);
  calibrate();
  read_clocks(to.start);
  to.latest[0] = to.latest[1] = to.start;
  // Last: what does not begin with it is no recording.
  uint64_t magic = 0;
  std::memcpy(&magic, recording_magic, sizeof magic);
  __atomic_store_n(reinterpret_cast<uint64_t*>(to.magic), magic, __ATOMIC_RELEASE);
}

void Recorder::read_clocks(ClockReading& reading) const {
  reading.elapsed = elapsed_nanoseconds();
  reading.counter = uses_clock_ ? reading.elapsed : read_counter();
  reading.wall = wall_nanoseconds();
}

/** Notes where counter and clock are, in a way that a kill in the middle does not harm. */
void Recorder::note_clocks() {
  const uint32_t other = 1 - (header().latest_index & 1);
  read_clocks(header().latest[other]);
  __atomic_store_n(&header().latest_index, other, __ATOMIC_RELEASE);
}

void Recorder::calibrate() {
  constexpr uint64_t long_enough = 20'000;
  ClockReading begin;
  ClockReading end;
  read_clocks(begin);
  do {
    read_clocks(end);
  } while (end.elapsed - begin.elapsed < long_enough);
  header().calibration_counts = end.counter - begin.counter;
  header().calibration_nanoseconds = end.elapsed - begin.elapsed;
}

void Recorder::close() {
  unmap_recording();
  file_bytes_ = nullptr;
  if (file_.is_owned) {
    FileState now;
    if (read_state(file_.descriptor, now) && now.is_same_file(file_.state)) {
      close_file(file_.descriptor);
    }
  }
  file_ = {};
  std::free(held_);
  held_ = nullptr;
}

}  // namespace basetool
