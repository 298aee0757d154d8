/** @file Moments of a trace as users name them. */
#pragma once

#include <cstdint>
#include <string>

#include "trace/calls.h"

namespace tool {

/**
 * A moment: a time since the beginning (`1.5`, `250ms`), a time of day (`09:15:00.25`), or a line
 * of a text or event of a recording (`@1200`).
 */
class TraceMoment {
 public:
  /** @throws Error when the text names none. */
  explicit TraceMoment(const std::string& text);

  /**
   * Whether an event comes before it.
   * @throws Error when its trace cannot tell.
   */
  bool is_after(const trace::CallEvent& event, const trace::Lane& lane) const;

 private:
  enum class Kind { since_start, time_of_day, position };

  Kind kind_ = Kind::since_start;
  int64_t value_ = 0; /**< nanoseconds, or a position */
  std::string text_;
};

}  // namespace tool
