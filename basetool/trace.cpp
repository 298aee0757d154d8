// The operations: what is wanted of a text, and where it goes.
//
// The entry functions check the level first and nothing else; until the first text the level is not
// known and stands above all others, so that it is found out then. All state is trivially
// constructed and never destroyed: programs trace before main and until the very end.
//
// The first thread puts its lines together right in the destination, other threads in memory of
// their own.

#include <algorithm>
#include <atomic>
#include <climits>
#include <cstdarg>
#include <cstdint>
#include <cstring>
#include <mutex>

#include "calls.h"
#include "destination.h"
#include "line_prefix.h"
#include "line_room.h"
#include "recorder.h"
#include "settings.h"
#include "system.h"
#include "text_format.h"
#include "text_writer.h"
#include "thread.h"
#include "zolp_basetool.h"

extern "C" {
#if defined(__ELF__)
/** This library's own operation, also where a program has put another one in its place. */
[[gnu::alias("ZOLP_LOG"), gnu::visibility("hidden")]] void zolp_own_log(int area, int detail,
                                                                        const char* format, ...);
#else
constexpr auto zolp_own_log = ZOLP_LOG;
#endif
}

constinit ZOLP_TraceState ZOLP_trace_state = {INT_MAX,
                                              basetool::not_known_yet,
                                              nullptr,
                                              0,
                                              zolp_own_log,
                                              basetool::enter_site,
                                              basetool::leave_site,
                                              basetool::abandon_site,
                                              basetool::keep_error_text};

namespace basetool {

constinit Destination destination;

namespace {

constexpr int unknown_level = INT_MAX;

/** The highest level that is wanted, for the text or for the recording. */
int wanted_level(int order = __ATOMIC_RELAXED) {
  return order == __ATOMIC_ACQUIRE ? __atomic_load_n(&ZOLP_trace_state.level, __ATOMIC_ACQUIRE)
                                   : __atomic_load_n(&ZOLP_trace_state.level, __ATOMIC_RELAXED);
}

constinit std::atomic<int> text_level = ZOLP_LEVEL_OFF;
constinit Settings settings;
constinit Mutex settings_mutex;
constinit bool has_selection = false;
constinit std::atomic<bool> needs_care = false; /**< texts are not simply shown */

/** Relative names of files mean what they mean now. */
const bool is_folder_remembered = (remember_folder(), true);

/** Gives the destination and the recorder their chance to tidy up when the program ends. */
struct Finisher {
  ~Finisher();
} const finisher;

/** Tells callers what is wanted. */
void publish() {
  const int shown = text_level.load(std::memory_order_relaxed);
  const bool keeps_details = settings.records_details && recorder.is_on();
  const int calls = (shown >= ZOLP_LEVEL_LOG ? for_text : 0) |
                    (recorder.is_on() ? for_recording : 0) | (has_selection ? for_selection : 0) |
                    (has_observer() ? for_observer : 0);
  needs_care.store(keeps_details || has_selection, std::memory_order_relaxed);
  __atomic_store_n(&ZOLP_trace_state.calls, calls, __ATOMIC_RELEASE);
  __atomic_store_n(&ZOLP_trace_state.level,
                   keeps_details ? std::max<int>(shown, ZOLP_LEVEL_TRACE) : shown,
                   __ATOMIC_RELEASE);
}

/** The child of a fork goes on with nobody but the thread that made it. */
void prepare_for_fork() {
  settings_mutex.lock();
  if (!this_thread().is_in_writer) {
    if (is_first_thread()) {
      destination_lock.lock_as_first();
    } else {
      destination_lock.lock_as_other();
    }
  }
  recorder.lock();
}

void go_on_as_parent() {
  recorder.unlock();
  if (!this_thread().is_in_writer) {
    if (is_first_thread()) {
      destination_lock.unlock_as_first(false);
    } else {
      destination_lock.unlock_as_other();
    }
  }
  settings_mutex.unlock();
}

void go_on_as_child() {
  settings_mutex.reset();
  destination_lock.reset();
  become_first_thread();
  recorder.restart_in_child();
  destination.restart_in_child();
}

/** The slow part of asking for the level: only the first question looks for the answer. */
bool is_wanted(int level) {
  const int known = wanted_level(__ATOMIC_ACQUIRE);
  if (known != unknown_level) [[likely]] {
    return level <= known;
  }
  start();
  return level <= wanted_level();
}

/** Writes a text to where the calling thread puts its lines together. */
template <typename Append>
void write_text(int level, Append append) {
  if (is_first_thread()) [[likely]] {
    if (first_thread.is_in_writer) {
      return;
    }
    const FirstThreadGuard guard;
    TextWriter(destination, first_thread, ZOLP_trace_state.depth).write(level, append);
  } else {
    OtherThread& thread = other_thread();
    if (!thread.is_in_writer) {
      TextWriter(thread.line, thread, thread.depth).write(level, append);
    }
  }
}

/** A text that is put together apart from the lines. */
class LooseText final : public LineRoom {
 public:
  LooseText() = default;
  ~LooseText() { buffer_.free(*this); }
  LooseText(const LooseText&) = delete;
  LooseText& operator=(const LooseText&) = delete;

 private:
  bool grow(size_t size) override { return buffer_.grow(*this, size); }

  LineBuffer<1024> buffer_;
};

/** Keeps a text in the recording, and writes it when it is shown. */
[[gnu::cold]] void write_and_keep(int level, const char* format, Arguments& arguments,
                                  bool is_shown) {
  LooseText text;
  append_formatted(text, format, arguments);
  const TextKind kind = level == ZOLP_LEVEL_ERROR     ? TextKind::error
                        : level == ZOLP_LEVEL_WARNING ? TextKind::warning
                                                      : TextKind::trace;
  if (level != ZOLP_LEVEL_LOG && level <= ZOLP_LEVEL_TRACE) {
    keep_text(kind, text.line, text.length());
  }
  if (is_shown) {
    write_text(level, [&](LineRoom& room) {
      room.append(text.line, text.length());
      return LineFeeds::several;
    });
  }
}

/** Writes a text that may be hidden, or recorded. */
[[gnu::cold, gnu::noinline]] void write_with_care(int level, const char* format,
                                                  Arguments& arguments) {
  if (level > ZOLP_LEVEL_ERROR && has_selection && is_hidden(this_thread().visibility)) {
    return;
  }
  const bool is_shown = level <= text_level.load(std::memory_order_relaxed);
  if (settings.records_details && recorder.is_on()) {
    write_and_keep(level, format, arguments, is_shown);
  } else if (is_shown) {
    write_text(level, [&](LineRoom& room) { return append_formatted(room, format, arguments); });
  }
}

/** Kept out of the entry functions, which would save registers for it even when they do nothing. */
[[gnu::noinline]] void write_formatted(int level, const char* format, Arguments& arguments) {
  if (!is_wanted(level) || format == nullptr) {
    return;
  }
  if (needs_care.load(std::memory_order_relaxed)) [[unlikely]] {
    return write_with_care(level, format, arguments);
  }
  write_text(level, [&](LineRoom& room) { return append_formatted(room, format, arguments); });
}

Finisher::~Finisher() {
  if (wanted_level() == unknown_level) {
    return;
  }
  recorder.finish();
  if (destination_lock.is_abandoned()) {
    return;
  }
  const DestinationGuard guard;
  destination.finish();
}

/** The depth of the calling thread, which may become the first one with that. */
long long& depth_of_thread() {
  if (is_first_thread()) [[likely]] {
    return ZOLP_trace_state.depth;
  }
  start();
  return is_first_thread() ? ZOLP_trace_state.depth : other_thread().depth;
}

void end_writer() {
  const DestinationGuard guard;
  destination.end_writer();
}

}  // namespace

void start() {
  if (wanted_level(__ATOMIC_ACQUIRE) != unknown_level) [[likely]] {
    return;
  }
  const std::lock_guard lock(settings_mutex);
  if (wanted_level() != unknown_level) {
    return;
  }
  ErrorKeeper error_keeper;
  remember_folder();
  begin_first_thread();
  destination_lock.prepare();
  settings = read_settings();
  choose_prefix(settings);
  has_selection = settings.skipped != nullptr || settings.chosen != nullptr;
  text_level.store(settings.level, std::memory_order_relaxed);
  destination.configure(settings);
  recorder.configure(settings);
  call_around_forks(prepare_for_fork, go_on_as_parent, go_on_as_child);
  publish();
}

void end_first_thread() {
  const FirstThreadGuard guard;
  TextWriter(destination, first_thread, ZOLP_trace_state.depth).complete();
  recorder.release(first_thread.events);
  first_thread = {};
  ZOLP_trace_state.depth = 0;
}

bool has_chosen_names() {
  return settings.chosen != nullptr;
}

void recording_changed() {
  publish();
}

void OtherLine::end_line(int level) {
  destination_lock.lock_as_other();
  destination.insert_line(level, line, length());
  destination_lock.unlock_as_other();
  buffer_.drop(*this);
}

void OtherLine::complete(int level) {
  if (length() > 0) {
    append("\n", 1);
    cursor[-1] = '\n';
    end_line(level);
  }
}

void OtherLine::free() {
  buffer_.free(*this);
}

}  // namespace basetool

// A variadic function cannot hand its arguments on but by a va_list; each entry function has the
// same few lines.
#define WRITE_FORMATTED(level)                           \
  do {                                                   \
    if ((level) > basetool::wanted_level())              \
      return;                                            \
    basetool::Arguments arguments;                       \
    va_start(arguments.next, format);                    \
    va_start(arguments.all, format);                     \
    basetool::write_formatted(level, format, arguments); \
    va_end(arguments.all);                               \
    va_end(arguments.next);                              \
  } while (false)

void ZOLP_LOG(int, int, const char* format, ...) {
  WRITE_FORMATTED(ZOLP_LEVEL_LOG);
}

void ZOLP_TRACE(const char* format, ...) {
  WRITE_FORMATTED(ZOLP_LEVEL_TRACE);
}

void ZOLP_ERROR(const char* format, ...) {
  WRITE_FORMATTED(ZOLP_LEVEL_ERROR);
}

void ZOLP_WARNING(const char* format, ...) {
  WRITE_FORMATTED(ZOLP_LEVEL_WARNING);
}

void ZOLP_DEBUG(const char* format, ...) {
  WRITE_FORMATTED(ZOLP_LEVEL_DEBUG);
}

void ZOLP_PRINT_VERINFO(const char* format, ...) {
  WRITE_FORMATTED(ZOLP_LEVEL_LOG);
}

void ZOLP_CRERROR(const char* text) {
  if (text == nullptr || !basetool::is_wanted(ZOLP_LEVEL_ERROR)) {
    return;
  }
  if (basetool::settings.records_details) {
    basetool::keep_text(basetool::TextKind::error, text, std::strlen(text));
  }
  if (basetool::text_level.load(std::memory_order_relaxed) < ZOLP_LEVEL_ERROR) {
    return;
  }
  basetool::write_text(ZOLP_LEVEL_ERROR, [text](basetool::LineRoom& room) {
    room.append(text, std::strlen(text));
    room.append("\n", 1);
    return basetool::LineFeeds::several;
  });
}

void ZOLP_IncTraceSpaces(void) {
  ++basetool::depth_of_thread();
}

void ZOLP_DecTraceSpaces(void) {
  long long& depth = basetool::depth_of_thread();
  if (depth > 0) {
    --depth;
  }
}

int ZOLP_IsTraced(int level) {
  return level > ZOLP_LEVEL_OFF && basetool::is_wanted(level) ? 1 : 0;
}

void ZOLP_SetTraceLevel(int level) {
  basetool::start();
  const std::lock_guard lock(basetool::settings_mutex);
  basetool::text_level.store(std::clamp<int>(level, ZOLP_LEVEL_OFF, ZOLP_LEVEL_DEBUG),
                             std::memory_order_relaxed);
  basetool::publish();
}

int ZOLP_GetTraceDepth(void) {
  const long long depth = basetool::depth_of_thread();
  return static_cast<int>(std::min<long long>(depth, INT_MAX));
}

void ZOLP_SetTraceWriter(ZOLP_TraceWriter writer, void* context) {
  basetool::start();
  if (basetool::this_thread().is_in_writer) {
    basetool::destination.set_writer(writer, context);
    return;
  }
  {
    const basetool::DestinationGuard guard;
    basetool::TextWriter(basetool::destination, basetool::first_thread, ZOLP_trace_state.depth)
        .complete();
    basetool::destination.set_writer(writer, context);
  }
  if (writer != nullptr) {
    basetool::call_at_end_of_main(basetool::end_writer);
  }
}

int ZOLP_SetTraceRecording(const char* file, unsigned long long size) {
  basetool::start();
  const std::lock_guard lock(basetool::settings_mutex);
  const basetool::DestinationGuard guard;
  bool is_done = true;
  if (file == nullptr) {
    basetool::recorder.stop();
  } else {
    is_done = basetool::recorder.start(file, size);
  }
  basetool::publish();
  return is_done ? 1 : 0;
}
