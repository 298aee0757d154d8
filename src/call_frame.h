/**
 * @file
 * The trace of a function and of the platform calls that it makes.
 *
 *     int ZOLP_example(const char* name, int* count) {
 *       FRAME(frame, "ZOLP_example");
 *       int status = ORK_ok;
 *       GUARDED("PREF_initialize()", PREF_initialize());
 *       TRACED(status, "PREF_get_value_count(name, count)", PREF_get_value_count(name, count));
 *       return frame.leave(status);
 *     }
 *
 * This is zolp_call_frame.h, which customers use, with what the library does besides: the texts of
 * lines are put together when compiling. The text of a call is a literal of its own, so that a
 * formatter that rewraps the call leaves the trace as it is.
 */
#pragma once

#include <cstddef>
#include <cstring>
#include <initializer_list>
#include <type_traits>

#include "clock.h"
#include "ork/ork.h"

// The library's clock, which tests replace, is the one by which calls are slow.
using ZOLP_FrameMoment = orktool::Moment;
#define ZOLP_FRAME_UNKNOWN_MOMENT_ orktool::unknown_moment
#define ZOLP_FRAME_THIS_MOMENT_() orktool::this_moment()
#define ZOLP_FRAME_MILLISECONDS_SINCE_(start) orktool::milliseconds_since(start)
#include "zolp_call_frame.h"

namespace orktool {

/** A tag as "%d" has always shown it. */
inline int shown(tag object) {
  return static_cast<int>(object);
}

/** A place in the sources, as trace lines name it. */
struct Place {
  const char* file;
  int line;
};

/**
 * What follows the last separator in a path. Where the language does not evaluate it when
 * compiling, optimisers know the result of the library's search for a literal.
 */
constexpr const char* after_last(const char* path, char separator) {
  if (!std::is_constant_evaluated()) {
    const char* found = std::strrchr(path, separator);
    return found != nullptr ? found + 1 : path;
  }
  const char* name = path;
  for (; *path != '\0'; ++path) {
    name = *path == separator ? path + 1 : name;
  }
  return name;
}

/** The name of a source file without the folders that a compiler put in front of it. */
constexpr const char* file_name(const char* path) {
  return after_last(after_last(path, '/'), '\\');
}

/** The place where this is written. */
inline Place here(const char* file = __builtin_FILE(), int line = __builtin_LINE()) {
  return {file_name(file), line};
}

/**
 * The frame of an exported function: the entry line, one level of indentation and the exit line.
 * Leaving without the exit line is part of the contract of some functions: the destructor writes
 * none, and only tells the recording.
 */
class Frame {
 public:
  explicit Frame(ZOLP_CallSite& site) : site_(&site) { zolp_enter_site_(&site); }
  ~Frame() { abandon(); }
  Frame(const Frame&) = delete;
  Frame& operator=(const Frame&) = delete;

  /** Writes the exit line and passes the status on. */
  template <typename Status>
  [[nodiscard]] Status leave(Status status, Place end = here()) const {
    leave_with(status, site_->text, end);
    return status;
  }

  /** The same under another name than that of the entry line. */
  void leave_as(const char* name, Place end = here()) const { leave_with(ORK_ok, name, end); }

  /** Leaves without an exit line. */
  void abandon() const {
    if (!is_left_) {
      is_left_ = true;
      zolp_abandon_site_(site_);
    }
  }

  /** Leaves the frame to a `LEAVE_FRAME` elsewhere. */
  void stay_open() const { is_left_ = true; }

 private:
  template <typename Status>
  void leave_with(Status status, const char* name, Place end) const {
    is_left_ = true;
    zolp_leave_site_(site_, static_cast<int>(status), name, end.file, end.line);
  }

  ZOLP_CallSite* site_;
  mutable bool is_left_ = false;
};

/**
 * Prints a failure to standard output, where programs that show no trace see it.
 * @return the status.
 */
int print_failure(int status, Place place = here());

/** The texts of a platform call, put together when compiling: a traced call needs no more than to
 * copy them. */
template <std::size_t TextSize, std::size_t PathSize>
class CallTexts {
 public:
  consteval CallTexts(const char (&text)[TextSize], const char (&path)[PathSize], int line)
      : text_(text), place_{file_name(path), line} {
    put(with_place_, {text, " ", place_.file, ":"}, line, "");
    put(in_detail_, {"File:", place_.file, " Line:"}, line, " Funktion:", text);
  }

  constexpr ZOLP_CallSite as_site(int kind) const {
    return {kind, place_.line, text_, place_.file, with_place_, in_detail_, 0, 0};
  }

 private:
  static consteval void put(char* to, std::initializer_list<const char*> before, int line,
                            const char* after, const char* last = "") {
    for (const char* part : before) {
      to = put(to, part);
    }
    int place_value = 1;
    while (line / place_value >= 10) {
      place_value *= 10;
    }
    for (; place_value > 0; place_value /= 10) {
      *to++ = static_cast<char>('0' + line / place_value % 10);
    }
    put(put(to, after), last);
  }

  static consteval char* put(char* to, const char* part) {
    while (*part != '\0') {
      *to++ = *part++;
    }
    return to;
  }

  static constexpr std::size_t most_digits = 10;

  const char* text_;
  Place place_;
  char with_place_[TextSize + PathSize + sizeof(" :") + most_digits]{};
  char in_detail_[TextSize + PathSize + sizeof("File: Line: Funktion:") + most_digits]{};
};

/** The text of a guarded call: what was written, from its first parenthesis on "(...)". */
template <std::size_t N>
struct ShortenedCall {
  static_assert(N + 5 <= 1024, "longer than the trace shows");
  char text[N + 5]{};

  consteval explicit ShortenedCall(const char (&written)[N]) {
    std::size_t length = 0;
    while (written[length] != '(' && written[length] != '\0') {
      text[length] = written[length];
      ++length;
    }
    for (const char character : {'(', '.', '.', '.', ')'}) {
      text[length++] = character;
    }
  }
};

}  // namespace orktool

/** A detail that is not wanted costs a comparison; its arguments are not evaluated then. */
#define ZOLP_TRACE(...) \
  (zolp_wants_level_(ZOLP_LEVEL_TRACE) ? (ZOLP_TRACE)(__VA_ARGS__) : static_cast<void>(0))

#define FRAME_SITE_(site, name)                                                     \
  static constinit ZOLP_CallSite site = {ZOLP_SITE_FRAME, __LINE__, name, __FILE__, \
                                         nullptr,         nullptr,  0,    0}

/** Begins a function of a name and declares its frame. */
#define FRAME(frame, name)       \
  FRAME_SITE_(frame_site, name); \
  const orktool::Frame frame(frame_site)

// For loops that stand for calls inside calls: frames that begin and end anywhere.

#define ENTER_FRAME(name)            \
  do {                               \
    FRAME_SITE_(entered_site, name); \
    zolp_enter_site_(&entered_site); \
  } while (false)

#define LEAVE_FRAME(name)                                                       \
  do {                                                                          \
    FRAME_SITE_(left_site, name);                                               \
    zolp_leave_site_(&left_site, ORK_ok, name, left_site.file, left_site.line); \
  } while (false)

/** Makes a platform call, traces it and keeps its status; goes on whatever the status is. */
#define TRACED(status, text_literal, call)                                            \
  do {                                                                                \
    static constexpr orktool::CallTexts call_texts(text_literal, __FILE__, __LINE__); \
    static constinit ZOLP_CallSite call_site = call_texts.as_site(ZOLP_SITE_TRACED);  \
    const orktool::Moment call_start = zolp_start_call_(&call_site);                  \
    const int call_status = (call);                                                   \
    zolp_end_call_(&call_site, call_start, call_status, zolp_finish_traced_);         \
    (status) = call_status;                                                           \
  } while (false)

/** Makes a platform call and traces it; returns its status from the function if it failed. */
#define GUARDED(text_literal, call)                                                          \
  do {                                                                                       \
    static constexpr orktool::ShortenedCall shortened_call(text_literal);                    \
    static constexpr orktool::CallTexts call_texts(shortened_call.text, __FILE__, __LINE__); \
    static constinit ZOLP_CallSite call_site = call_texts.as_site(ZOLP_SITE_GUARDED);        \
    const orktool::Moment call_start = zolp_start_call_(&call_site);                         \
    const int call_status = (call);                                                          \
    zolp_end_call_(&call_site, call_start, call_status, zolp_finish_guarded_);               \
    if (call_status != ORK_ok) {                                                             \
      return call_status;                                                                    \
    }                                                                                        \
  } while (false)
