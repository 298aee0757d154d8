/** @file What call frames tell the trace library, and what of it is shown and recorded. */
#pragma once

#include <cstddef>
#include <cstdint>

#include "recording_format.h"
#include "zolp_basetool.h"

namespace basetool {

struct Visibility;

/** Who wants to know of calls: bits of `ZOLP_trace_state.calls`. */
enum CallsWanted : int {
  for_text = ZOLP_CALLS_FOR_TEXT,
  for_recording = 2,
  for_selection = 4,
  not_known_yet = 8,
  for_observer = 16,
};

/** Marks in the number of a site. */
constexpr uint32_t site_is_skipped = 1U << 31;
constexpr uint32_t site_is_chosen = 1U << 30;

/** Whether somebody is told of calls. */
bool has_observer();

int enter_site(ZOLP_CallSite* site);
int leave_site(ZOLP_CallSite* site, int status);
void abandon_site(ZOLP_CallSite* site);
void keep_error_text(const char* text);

/** Keeps a text in the recording, as one that belongs to the thread's last event. */
void keep_text(TextKind kind, const char* text, size_t size);

/** Whether a thread is in a function that is not shown, so that of its texts only errors are. */
bool is_hidden(const Visibility& visibility);

// ---- In trace.cpp.

/** Reads the settings when nobody has done that yet. */
void start();

/** Whether only the functions with certain names are shown. */
bool has_chosen_names();

/** To be called when a recording has begun or ended. */
void recording_changed();

}  // namespace basetool
