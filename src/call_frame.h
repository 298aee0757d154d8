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
#include <string_view>

namespace orktool {

/** A place in the sources, as trace lines name it. */
struct Place {
  const char* file;
  int line;
};

/** The name of a source file without the folders that a compiler put in front of it. */
constexpr const char* file_name(std::string_view path) {
  const std::size_t separator = path.find_last_of("/\\");
  return path.data() + (separator == std::string_view::npos ? 0 : separator + 1);
}

/** The place where this is written. */
constexpr Place here(const char* file = __builtin_FILE(), int line = __builtin_LINE()) {
  return {file_name(file), line};
}

/** Writes the exit line of a frame, one level of indentation less. */
void leave_frame(const char* name, Place end = here());

/**
 * The frame of an exported function: the entry line, one level of indentation and the exit line.
 * Leaving without the exit line is part of the contract of some functions; hence no destructor.
 */
class Frame {
 public:
  explicit Frame(const char* name, Place start = here());
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

/** A platform call that is about to be made. */
struct StartedCall {
  const char* text;
  Place place;
  bool is_timed; /**< a slow call would be shown; otherwise nobody reads the clock */
  std::int32_t start_time;
};

/** Reads the clock, writes the entry line of a call and indents. */
StartedCall start_call(const char* text, Place place);

/** A platform call that was made. Its members are evaluated in this order: start, call. */
struct FinishedCall {
  StartedCall started;
  int status;

  /** Writes what follows a traced call; returns its status. */
  int traced() const;

  /** Writes what follows a guarded call; returns its status. */
  int guarded() const;
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

/** Makes a platform call, traces it and keeps its status; goes on whatever the status is. */
#define TRACED(status, text, call) \
  ((status) = orktool::FinishedCall{orktool::start_call(text, orktool::here()), (call)}.traced())

/** Makes a platform call and traces it; returns its status from the function if it failed. */
#define GUARDED(text_literal, call)                                                          \
  do {                                                                                       \
    static constexpr orktool::ShortenedCall shortened_call(text_literal);                    \
    if (const int guarded_status =                                                           \
            orktool::FinishedCall{orktool::start_call(shortened_call.text, orktool::here()), \
                                  (call)}                                                    \
                .guarded();                                                                  \
        guarded_status != ORK_ok) {                                                          \
      return guarded_status;                                                                 \
    }                                                                                        \
  } while (false)
