#include "thread.h"

#include <new>

#include "destination.h"
#include "recorder.h"

namespace basetool {

constinit BiasedLock destination_lock;
constinit Thread first_thread;

namespace {

constinit thread_local OtherThread other;

/** Tidies up when a thread ends; what it writes after that is still written. */
struct ThreadEnd {
  ~ThreadEnd() {
    other.line.complete(other.line_level);
    other.line.free();
    recorder.release(other.events);
  }
  void watch() const {}
};
thread_local const ThreadEnd thread_end;

}  // namespace

void BiasedLock::lock_as_other() {
  mutex_.lock();
  is_other_inside_.store(true, std::memory_order_seq_cst);
  if (is_barrier_shared_) {
    issue_barriers();
  }
  while (is_first_inside_.load(std::memory_order_seq_cst)) {
    yield_processor();
  }
}

void BiasedLock::unlock_as_other() {
  is_other_inside_.store(false, std::memory_order_release);
  mutex_.unlock();
}

void BiasedLock::wait_for_others() {
  is_first_inside_.store(false, std::memory_order_release);
  mutex_.lock();  // nobody else gets in until this one is out again
  has_first_mutex_ = true;
  is_first_inside_.store(true, std::memory_order_relaxed);
}

void BiasedLock::reset() {
  new (&mutex_) std::mutex;
  is_first_inside_.store(false, std::memory_order_relaxed);
  is_other_inside_.store(false, std::memory_order_relaxed);
  has_first_mutex_ = false;
}

OtherThread& other_thread() {
  thread_end.watch();
  return other;
}

void become_first_thread() {
  if (is_first_thread()) {
    return;
  }
  ZOLP_trace_state.depth = other.depth;
  other.line.cursor = other.line.line;
  first_thread.visibility = other.visibility;
  first_thread.is_in_writer = other.is_in_writer;
  __atomic_store_n(&ZOLP_trace_state.thread, thread_pointer(), __ATOMIC_RELAXED);
}

}  // namespace basetool
