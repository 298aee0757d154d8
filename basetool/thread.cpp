#include "thread.h"

#include <new>

#include "destination.h"
#include "recorder.h"

namespace basetool {

constinit BiasedLock destination_lock;
constinit Thread first_thread;

namespace {

/** Of threads for which there is no memory. */
constinit OtherThread last_resort;

/** Whether the first thread has ended and none has taken its place. */
constinit std::atomic<bool> is_first_place_free = false;

void set_first_thread(const void* pointer) {
  __atomic_store_n(&ZOLP_trace_state.thread, pointer, __ATOMIC_RELAXED);
}

/** When a thread ends, its line ends. The next thread may have its pointer. */
void end_thread(void* memory) {
  if (__atomic_load_n(&ZOLP_trace_state.thread, __ATOMIC_RELAXED) == thread_pointer()) {
    end_first_thread();
    set_first_thread(nullptr);
    is_first_place_free.store(true, std::memory_order_release);
  }
  auto& thread = *static_cast<OtherThread*>(memory);
  thread.line.complete(thread.line_level);
  thread.line.free();
  recorder.release(thread.events);
}

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

bool BiasedLock::is_abandoned() {
#if defined(_WIN32)
  if (!is_first_thread() && is_first_inside_.load(std::memory_order_seq_cst)) {
    return true;  // other threads have been ended by now
  }
#endif
  return mutex_.is_abandoned();
}

void BiasedLock::reset() {
  mutex_.reset();
  is_first_inside_.store(false, std::memory_order_relaxed);
  is_other_inside_.store(false, std::memory_order_relaxed);
  has_first_mutex_ = false;
}

OtherThread& other_thread() {
  void* memory = thread_memory(sizeof(OtherThread), end_thread);
  if (memory == nullptr) {
    return last_resort;
  }
  auto* thread = static_cast<OtherThread*>(memory);
  if (!thread->is_made) {
    thread = new (memory) OtherThread;
    thread->is_made = true;
  }
  return *thread;
}

void begin_first_thread() {
  set_first_thread(thread_pointer());
  // The initial one needs no end: it goes on to the end of the program.
  if (!is_initial_thread()) {
    other_thread();
  }
}

bool succeed_first_thread() {
  if (!is_first_place_free.load(std::memory_order_relaxed) || has_thread_memory() ||
      &other_thread() == &last_resort || !is_first_place_free.exchange(false)) {
    return false;
  }
  set_first_thread(thread_pointer());
  return true;
}

void become_first_thread() {
  is_first_place_free.store(false, std::memory_order_relaxed);
  if (is_first_thread()) {
    return;
  }
  OtherThread& other = other_thread();
  ZOLP_trace_state.depth = other.depth;
  other.line.cursor = other.line.line;
  first_thread.visibility = other.visibility;
  first_thread.is_in_writer = other.is_in_writer;
  set_first_thread(thread_pointer());
}

}  // namespace basetool
