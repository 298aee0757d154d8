/**
 * @file
 * The trace of a function and of the platform calls that it makes.
 *
 *     int ZOLP_example(const char* name, int* count) {
 *       Frame frame("ZOLP_example");
 *       int status = ORK_ok;
 *       GUARDED("PREF_initialize()", PREF_initialize());
 *       TRACED(status, "PREF_get_value_count(name, count)", PREF_get_value_count(name, count));
 *       return frame.leave(status);
 *     }
 *
 * The text of a call is a literal of its own, so that a formatter that rewraps the call leaves the
 * trace as it is.
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <type_traits>

#include "clock.h"
#include "ork/ork.h"
#include "zolp_basetool.h"

namespace orktool {

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

/** Whether entry and exit lines may be shown; if not, nothing but errors is. */
inline bool shows_calls() {
  return ZOLP_trace_state.level >= ZOLP_LEVEL_LOG;
}

void write_entry(const char* text, Place place);
void write_exit(const char* text, Place place);

// While calls are not shown, they cost as good as nothing: no function of the trace library is
// called, and the depth that errors are shown at is counted in place.

/** Writes the entry line of a frame, and indents. */
inline void enter_frame(const char* name, Place start) {
  if (shows_calls()) [[unlikely]] {
    write_entry(name, start);
  } else {
    ++ZOLP_trace_state.depth;
  }
}

/** The end of what was indented while calls are not shown. */
inline void unindent_silently() {
  if (ZOLP_trace_state.depth > 0) [[likely]] {
    --ZOLP_trace_state.depth;
  }
}

/** Writes the exit line of a frame, one level of indentation less. */
inline void leave_frame(const char* name, Place end = here()) {
  if (shows_calls()) [[unlikely]] {
    write_exit(name, end);
  } else {
    unindent_silently();
  }
}

/**
 * The frame of an exported function: the entry line, one level of indentation and the exit line.
 * Leaving without the exit line is part of the contract of some functions; hence no destructor.
 */
class Frame {
 public:
  explicit Frame(const char* name, Place start = here()) : name_(name) { enter_frame(name, start); }
  Frame(const Frame&) = delete;
  Frame& operator=(const Frame&) = delete;

  /** Writes the exit line and passes the status on. */
  template <typename Status>
  [[nodiscard]] Status leave(Status status, Place end = here()) const {
    leave_frame(name_, end);
    return status;
  }

  /** The same under another name than that of the entry line. */
  void leave_as(const char* name, Place end = here()) const { leave_frame(name, end); }

 private:
  const char* name_;
};

/**
 * Prints a failure to standard output, where programs that show no trace see it.
 * @return the status.
 */
int print_failure(int status, Place place = here());

/** A platform call as trace lines name it. */
struct Call {
  const char* text;
  Place place;
  const char* with_place; /**< "TEXT FILE:LINE" */
  const char* in_detail;  /**< "File:FILE Line:LINE Funktion:TEXT" */
};

/** These texts, put together when compiling: a traced call needs no more than to copy them. */
template <std::size_t TextSize, std::size_t PathSize>
class CallTexts {
 public:
  consteval CallTexts(const char (&text)[TextSize], const char (&path)[PathSize], int line)
      : text_(text), place_{file_name(path), line} {
    put(with_place_, {text, " ", place_.file, ":"}, line, "");
    put(in_detail_, {"File:", place_.file, " Line:"}, line, " Funktion:", text);
  }

  constexpr Call as_call() const { return {text_, place_, with_place_, in_detail_}; }

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

/** A platform call that was made. Its members are evaluated in this order. */
struct FinishedCall {
  const Call& call;
  Moment start; /**< `unknown_moment` when a slow call would not be shown */
  int status;
};

Moment write_start(const Call& call);
int finish_traced(FinishedCall call);
int finish_guarded(FinishedCall call);

/** Reads the clock, writes the entry line of a call and indents. */
inline Moment start_call(const Call& call) {
  if (shows_calls()) [[unlikely]] {
    return write_start(call);
  }
  ++ZOLP_trace_state.depth;
  return unknown_moment;
}

/** Writes what follows a traced call; returns its status. */
inline int traced(const FinishedCall& call) {
  if (call.status != ORK_ok || shows_calls()) [[unlikely]] {
    return finish_traced(call);
  }
  unindent_silently();
  return ORK_ok;
}

/** Writes what follows a guarded call; returns its status. */
inline int guarded(const FinishedCall& call) {
  if (call.status != ORK_ok || shows_calls()) [[unlikely]] {
    return finish_guarded(call);
  }
  unindent_silently();
  return ORK_ok;
}

}  // namespace orktool

/** A detail that is not shown costs a comparison; its arguments are not evaluated then. */
#define ZOLP_TRACE(...) \
  (ZOLP_trace_state.level >= ZOLP_LEVEL_TRACE ? (ZOLP_TRACE)(__VA_ARGS__) : static_cast<void>(0))

/** Makes a platform call, traces it and keeps its status; goes on whatever the status is. */
#define TRACED(status, text_literal, call)                                               \
  do {                                                                                   \
    static constexpr orktool::CallTexts call_texts(text_literal, __FILE__, __LINE__);    \
    static constexpr orktool::Call traced_call = call_texts.as_call();                   \
    (status) = orktool::traced({traced_call, orktool::start_call(traced_call), (call)}); \
  } while (false)

/** Makes a platform call and traces it; returns its status from the function if it failed. */
#define GUARDED(text_literal, call)                                                          \
  do {                                                                                       \
    static constexpr orktool::ShortenedCall shortened_call(text_literal);                    \
    static constexpr orktool::CallTexts call_texts(shortened_call.text, __FILE__, __LINE__); \
    static constexpr orktool::Call guarded_call = call_texts.as_call();                      \
    if (const int guarded_status =                                                           \
            orktool::guarded({guarded_call, orktool::start_call(guarded_call), (call)});     \
        guarded_status != ORK_ok) {                                                          \
      return guarded_status;                                                                 \
    }                                                                                        \
  } while (false)
