/** @file Reads recordings of calls, as basetool/recording_format.h describes them. */
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "basetool/recording_format.h"

namespace trace {

/** A place in the sources: a function, or a platform call in one. */
struct Site {
  uint32_t kind =
      0; /**< one of #ZOLP_SITE_FRAME and its like; 0 when the recording lacks the site */
  std::string text;
  std::string file;
  uint32_t line = 0;
};

struct Event {
  uint64_t id = 0;     /**< which event of the recording */
  int64_t time = 0;    /**< nanoseconds since the recording began */
  uint32_t thread = 0; /**< number of the thread, from 1 on */
  uint32_t site = 0;   /**< to be looked up in `Recording.sites` */
  basetool::EventKind kind{};
  int32_t status = 0;
};

struct Text {
  uint64_t event = 0; /**< the event that it belongs to; it may have been overwritten */
  uint32_t thread = 0;
  basetool::TextKind kind{};
  std::string text;
};

struct Recording {
  std::string program;
  uint64_t process = 0;
  bool has_ended = false;          /**< false while the process lives, and after a crash or kill */
  int64_t start = 0;               /**< nanoseconds since 1970, universal time */
  uint64_t events_overwritten = 0; /**< events before the first one that are gone */
  uint64_t texts_overwritten = 0;
  uint64_t events_dropped = 0;
  uint64_t sites_dropped = 0;
  bool is_damaged = false; /**< something in it is not as it should be, and was left out */
  std::map<uint32_t, Site> sites;
  std::map<uint32_t, uint64_t> threads; /**< the system's numbers of threads */
  std::vector<Event> events;            /**< by time; those of a thread in their order */
  std::vector<Text> texts;              /**< in the order in which they were written */

  /** The site of an event; one without a text when the recording lacks it. */
  const Site& site_of(const Event& event) const;
};

/** Whether a file's beginning is that of a recording. */
bool is_recording(std::string_view bytes);

/**
 * Reads a recording from the bytes of its file.
 * @throws std::runtime_error when it is none, or one of another version; the text says which.
 */
Recording read_recording(std::string_view bytes);

}  // namespace trace
