#include "calls.h"

#include <atomic>
#include <cstring>

#include "recorder.h"
#include "thread.h"

namespace basetool {
namespace {

int calls_wanted() {
  return __atomic_load_n(&ZOLP_trace_state.calls, __ATOMIC_ACQUIRE);
}

constinit std::atomic<ZOLP_CallObserver> observer = nullptr;

void tell(int wanted, const ZOLP_CallSite* site, int is_entered) {
  if ((wanted & for_observer) != 0) [[unlikely]] {
    if (const ZOLP_CallObserver known = observer.load(std::memory_order_acquire)) {
      known(site, is_entered);
    }
  }
}

void record(ZOLP_CallSite* site, EventKind kind, int status) {
  if (is_first_thread()) {
    const FirstThreadGuard guard;
    recorder.add(first_thread.events, site, kind, status);
  } else {
    recorder.add_of_other(other_thread().events, site, kind, status);
  }
}

/** What is to be done of a visible entry. */
int enter_visible(ZOLP_CallSite* site, int wanted) {
  if ((wanted & for_recording) != 0) {
    record(site, EventKind::entered, 0);
  }
  if ((wanted & for_text) != 0) {
    return ZOLP_SHOW_LINES;
  }
  ZOLP_IncTraceSpaces();
  return ZOLP_SHOW_NOTHING;
}

int leave_visible(ZOLP_CallSite* site, int status, int wanted) {
  if ((wanted & for_recording) != 0) {
    record(site, EventKind::left, status);
  }
  const bool has_failed = status != 0 && site->kind != ZOLP_SITE_FRAME;
  if ((wanted & for_text) != 0 || has_failed) {
    return ZOLP_SHOW_LINES;
  }
  ZOLP_DecTraceSpaces();
  return ZOLP_SHOW_NOTHING;
}

/** Notes that a frame or call begins. @return whether it is shown. */
bool begin(Visibility& visibility, uint32_t site) {
  if (visibility.hidden > 0 || (site & site_is_skipped) != 0) {
    ++visibility.hidden;
    return false;
  }
  if (visibility.chosen > 0 || (site & site_is_chosen) != 0) {
    ++visibility.chosen;
    return true;
  }
  return !has_chosen_names();
}

/** Notes that it ends. @return whether it was shown. */
bool end(Visibility& visibility) {
  if (visibility.hidden > 0) {
    --visibility.hidden;
    return false;
  }
  if (visibility.chosen > 0) {
    --visibility.chosen;
    return true;
  }
  return !has_chosen_names();
}

int enter_selected(ZOLP_CallSite* site) {
  start();
  const int wanted = calls_wanted();
  if (wanted < for_selection) {
    return wanted == 0 ? enter_visible(site, 0) : enter_site(site);
  }
  if (!begin(this_thread().visibility, recorder.number_of(site))) {
    return ZOLP_SHOW_NOTHING;
  }
  return enter_visible(site, wanted);
}

int leave_selected(ZOLP_CallSite* site, int status) {
  start();
  const int wanted = calls_wanted();
  if (wanted < for_selection || end(this_thread().visibility)) {
    return leave_visible(site, status, wanted);
  }
  const bool has_failed = status != 0 && site->kind != ZOLP_SITE_FRAME;
  if (has_failed && (wanted & for_recording) != 0) {
    record(site, EventKind::failed, status);
  }
  return ZOLP_SHOW_NOTHING;
}

}  // namespace

bool has_observer() {
  return observer.load(std::memory_order_relaxed) != nullptr;
}

// The first thread, with nothing but a recording wanted, is what must be fast.

int enter_site(ZOLP_CallSite* site) {
  const int wanted = calls_wanted();
  if (wanted == for_recording && is_first_thread()) [[likely]] {
    const FirstThreadGuard guard;
    recorder.add(first_thread.events, site, EventKind::entered, 0);
    ++ZOLP_trace_state.depth;
    return ZOLP_SHOW_NOTHING;
  }
  tell(wanted, site, 1);
  return wanted < for_selection ? enter_visible(site, wanted) : enter_selected(site);
}

int leave_site(ZOLP_CallSite* site, int status) {
  const int wanted = calls_wanted();
  if (wanted == for_recording && status == 0 && is_first_thread()) [[likely]] {
    const FirstThreadGuard guard;
    recorder.add(first_thread.events, site, EventKind::left, 0);
    if (ZOLP_trace_state.depth > 0) {
      --ZOLP_trace_state.depth;
    }
    return ZOLP_SHOW_NOTHING;
  }
  tell(wanted, site, 0);
  return wanted < for_selection ? leave_visible(site, status, wanted)
                                : leave_selected(site, status);
}

void abandon_site(ZOLP_CallSite* site) {
  const int wanted = calls_wanted();
  tell(wanted, site, 0);
  const bool is_visible = wanted < for_selection || end(this_thread().visibility);
  if (is_visible && (wanted & for_recording) != 0) {
    record(site, EventKind::abandoned, 0);
  }
}

void keep_text(TextKind kind, const char* text, size_t size) {
  if (!recorder.is_on()) {
    return;
  }
  if (is_first_thread()) {
    const FirstThreadGuard guard;
    recorder.keep_text(first_thread.events, kind, text, size);
  } else {
    recorder.keep_text(other_thread().events, kind, text, size);
  }
}

void keep_error_text(const char* text) {
  if ((calls_wanted() & for_recording) != 0 && text != nullptr) {
    keep_text(TextKind::error_of_call, text, std::strlen(text));
  }
}

bool is_hidden(const Visibility& visibility) {
  return visibility.hidden > 0 || (visibility.chosen == 0 && has_chosen_names());
}

}  // namespace basetool

void ZOLP_SetCallObserver(ZOLP_CallObserver wanted) {
  basetool::observer.store(wanted, std::memory_order_release);
  if (wanted != nullptr) {
    __atomic_fetch_or(&ZOLP_trace_state.calls, int{basetool::for_observer}, __ATOMIC_RELEASE);
  } else {
    __atomic_fetch_and(&ZOLP_trace_state.calls, ~int{basetool::for_observer}, __ATOMIC_RELEASE);
  }
}
