/**
 * @file
 * What each thread that traces has of its own, and how threads keep out of each other's way.
 *
 * The first thread that traces is the usual one, and mostly the only one. It puts its lines
 * together right in the destination, under a lock that costs it two stores and a load; another
 * thread that wants in has the system make these visible, which takes it some microseconds.
 */
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "line_room.h"
#include "system.h"
#include "zolp_basetool.h"

namespace basetool {

/** A number that no other living thread has, in an instruction. */
inline const void* thread_pointer() {
  void* pointer = nullptr;
#if defined(__x86_64__) && defined(_WIN32)
  __asm__("movq %%gs:0x30, %0" : "=r"(pointer));
#elif defined(__x86_64__)
  __asm__("movq %%fs:0, %0" : "=r"(pointer));
#else
  pointer = __builtin_thread_pointer();
#endif
  return pointer;
}

/** The lock around the destination, biased towards the first thread. */
class BiasedLock {
 public:
  constexpr BiasedLock() = default;

  /** @return whether the first thread was inside already (in a signal handler). */
  bool lock_as_first() {
    const bool was_inside = is_first_inside_.load(std::memory_order_relaxed);
    if (is_barrier_shared_) [[likely]] {
      is_first_inside_.store(true, std::memory_order_relaxed);
      std::atomic_signal_fence(std::memory_order_seq_cst);
    } else {
      is_first_inside_.exchange(true, std::memory_order_seq_cst);
    }
    if (!was_inside && is_other_inside_.load(std::memory_order_acquire)) [[unlikely]] {
      wait_for_others();
    }
    return was_inside;
  }

  void unlock_as_first(bool was_inside) {
    if (has_first_mutex_ && !was_inside) [[unlikely]] {
      has_first_mutex_ = false;
      mutex_.unlock();
    }
    is_first_inside_.store(was_inside, std::memory_order_release);
  }

  void lock_as_other();
  void unlock_as_other();

  /** Asks, when the program ends, whether a thread that is no more is inside for ever. */
  bool is_abandoned();

  /** In the child of a fork: nobody is inside. */
  void reset();

  /** Asks the system for its part. To be called by the first thread before it locks. */
  void prepare() { is_barrier_shared_ = share_barriers(); }

 private:
  void wait_for_others();

  std::atomic<bool> is_first_inside_ = false;
  std::atomic<bool> is_other_inside_ = false;
  bool is_barrier_shared_ = false;
  bool has_first_mutex_ = false;
  Mutex mutex_;
};

/** What a thread shows of its calls, by the names that were selected. */
struct Visibility {
  long long hidden = 0; /**< frames and calls since, and with, the outermost skipped one */
  long long chosen = 0; /**< the same of the outermost one that was asked for */
};

struct RecordedEvent;

/** Where a thread's next event goes; see recorder.h. */
struct EventRoom {
  RecordedEvent* next = nullptr;
  RecordedEvent* end = nullptr;
  uint64_t chunk = 0; /**< serial number of the chunk ... */
  uint64_t place = 0; /**< ... and its place in the file */
  uint32_t epoch = 0; /**< of the recording that it belongs to */
  uint32_t thread = 0;
};

struct Thread {
  bool is_in_writer = false;
  int line_level = 0;
  Visibility visibility;
  EventRoom events;
};

/** The line that another than the first thread puts together. */
class OtherLine final : public LineRoom {
 public:
  constexpr OtherLine() = default;

  /** Passes the line on, which must end with a line feed, and starts a new one. */
  void end_line(int level);

  /** Ends the line if there is one. */
  void complete(int level);

  void free();

 private:
  bool grow(size_t size) override { return buffer_.grow(*this, size); }

  LineBuffer<1024> buffer_;
};

/** All of it of a thread that is not the first one. */
struct OtherThread : Thread {
  bool is_made = false;
  long long depth = 0;
  OtherLine line;
};

extern BiasedLock destination_lock;
extern Thread first_thread;

/** Makes the calling thread the first one, if that one has ended and this one has nothing yet. */
bool succeed_first_thread();

/** Whether this is the first thread. When that has ended the next new one takes its place. */
inline bool is_first_thread() {
  const void* first = __atomic_load_n(&ZOLP_trace_state.thread, __ATOMIC_RELAXED);
  return first == thread_pointer() || (first == nullptr && succeed_first_thread());
}

/** Makes the calling thread the first one of the process. */
void begin_first_thread();

/** Ends its line and gives back what it has, when the first thread ends. */
void end_first_thread();

/** What the calling thread has, if it is not the first one. Tidied up when the thread ends. */
OtherThread& other_thread();

inline Thread& this_thread() {
  return is_first_thread() ? first_thread : other_thread();
}

/** Keeps all other threads away from the destination. */
class DestinationGuard {
 public:
  DestinationGuard() : is_first_(is_first_thread()) {
    if (is_first_) {
      was_inside_ = destination_lock.lock_as_first();
    } else {
      other_thread();  // what has this does not become the first thread inside
      destination_lock.lock_as_other();
    }
  }
  ~DestinationGuard() {
    if (is_first_) {
      destination_lock.unlock_as_first(was_inside_);
    } else {
      destination_lock.unlock_as_other();
    }
  }
  DestinationGuard(const DestinationGuard&) = delete;
  DestinationGuard& operator=(const DestinationGuard&) = delete;

 private:
  bool is_first_;
  bool was_inside_ = false;
};

/** The same for who knows that this is the first thread. */
class FirstThreadGuard {
 public:
  FirstThreadGuard() : was_inside_(destination_lock.lock_as_first()) {}
  ~FirstThreadGuard() { destination_lock.unlock_as_first(was_inside_); }
  FirstThreadGuard(const FirstThreadGuard&) = delete;
  FirstThreadGuard& operator=(const FirstThreadGuard&) = delete;

 private:
  bool was_inside_;
};

/** In the child of a fork: nobody else is there, and the calling thread is the first one. */
void become_first_thread();

}  // namespace basetool
