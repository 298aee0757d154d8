/** @file The recorder: what a process did last, in a file that outlives it. See recorder.cpp. */
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <mutex>

#include "calls.h"
#include "file_names.h"
#include "recording_format.h"
#include "settings.h"
#include "thread.h"
#include "zolp_basetool.h"

namespace basetool {

/** The processor's counter where it has one that serves, or the system's clock in nanoseconds. */
inline uint64_t read_counter() {
#if defined(__x86_64__)
  return __builtin_ia32_rdtsc();
#else
  return elapsed_nanoseconds();
#endif
}

class Recorder {
 public:
  constexpr Recorder() = default;

  /** Says what the environment says. To be called before anything else. */
  void configure(const Settings& settings);

  /**
   * Starts a recording, when the next event comes or at once; ends the one before. Nobody else may
   * be recording meanwhile.
   */
  void start_later(const char* name, uint64_t size);
  bool start(const char* name, uint64_t size);

  /** Ends the recording; nobody else may be recording. */
  void stop();

  /** Whether events are to be added. */
  bool is_on() const { return is_on_.load(std::memory_order_relaxed); }

  /** A number for the settings that hold; sites and rooms with another one are looked at anew. */
  uint32_t epoch() const { return epoch_.load(std::memory_order_relaxed); }

  /** Has all sites looked at anew. */
  void start_epoch() { epoch_.store(epoch() + 1, std::memory_order_relaxed); }

  /** Adds an event of the first thread, which holds its lock. */
  void add(EventRoom& room, ZOLP_CallSite* site, EventKind kind, int status) {
    uint64_t counter = now();
    if (room.next == room.end) [[unlikely]] {
      if (!make_room(room)) {
        return;
      }
      // The time that this took, with that of opening the file, is not the call's.
      counter = kind == EventKind::entered ? now() : counter;
    }
    RecordedEvent* event = room.next++;
    event->counter = counter;
    event->status = status;
    // Last: what it does not hold is no event.
    __atomic_store_n(&event->what, event_of(kind, number_of(site)), __ATOMIC_RELEASE);
  }

  /** The same of another thread. */
  void add_of_other(EventRoom& room, ZOLP_CallSite* site, EventKind kind, int status);

  /** Keeps a text that belongs to the thread's last event. */
  void keep_text(EventRoom& room, TextKind kind, const char* text, size_t size);

  /** Decides on a site and gives it its number, in this epoch. @return the number with its marks.
   */
  uint32_t look_at(ZOLP_CallSite* site);

  /** The site's number in the recording, and the marks of the selection. */
  uint32_t number_of(ZOLP_CallSite* site) {
    if (__atomic_load_n(&site->epoch, __ATOMIC_ACQUIRE) != epoch()) [[unlikely]] {
      return look_at(site);
    }
    return __atomic_load_n(&site->number, __ATOMIC_RELAXED);
  }

  /** Gives a thread's room back. */
  void release(EventRoom& room);

  /** At the end of the program: says so in the file. Later events still get there. */
  void finish();

  void lock() { mutex_.lock(); }
  void unlock() { mutex_.unlock(); }

  /** Leaves the parent's file alone, in a forked child; a file of its own follows. */
  void restart_in_child();

 private:
  uint64_t now() const { return uses_clock_ ? elapsed_nanoseconds() : read_counter(); }
  bool open();
  bool open_file();
  bool give_way_to_owner();
  void complain_of(const char* what) const;
  void write_header();
  void read_clocks(ClockReading& reading) const;
  void note_clocks();
  void calibrate();
  bool make_room(EventRoom& room);
  bool begin_room(EventRoom& room);
  unsigned char* begin_chunk(ChunkKind kind, uint32_t thread, uint64_t& serial);
  void provide_until(uint64_t end);
  void count_overwritten(const unsigned char* chunk);
  void recover();
  unsigned char* text_room(size_t size);
  uint32_t add_site(const ZOLP_CallSite& site);
  void add_thread(uint32_t thread);
  unsigned char* table_room(size_t size);
  void close();

  RecordingHeader& header() { return *reinterpret_cast<RecordingHeader*>(file_bytes_); }

  std::atomic<bool> is_on_ = false;
  std::atomic<uint32_t> epoch_ = 1;
  bool uses_clock_ = false;
  bool is_finished_ = false;
  Mutex mutex_;
  const char* skipped_ = nullptr;
  const char* chosen_ = nullptr;
  unsigned kept_files_ = 0;
  char name_[longest_path] = {};
  uint64_t usual_size_ = 0;
  uint64_t wanted_size_ = 0;
  Path path_{};
  OpenFile file_;
  unsigned char* file_bytes_ = nullptr;
  // What the header says, too; the file may be lost at any moment.
  uint64_t table_offset_ = 0;
  uint64_t table_size_ = 0;
  uint64_t table_used_ = 0;
  uint64_t chunk_count_ = 0;
  uint64_t chunks_offset_ = 0;
  uint64_t chunks_begun_ = 0;
  uint64_t next_place_ = 0;
  uint64_t provided_ = 0;         /**< end of what the system has provided of the file */
  unsigned char* held_ = nullptr; /**< for each place, whether a thread still writes to its chunk */
  uint32_t sites_ = 0;
  uint32_t threads_ = 0;
  unsigned char* text_chunk_ = nullptr;
  uint64_t text_place_ = 0;
  size_t text_used_ = 0;
};

extern Recorder recorder;

}  // namespace basetool
