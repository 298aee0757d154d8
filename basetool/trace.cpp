// Puts lines together from the texts of one or more calls: prefix, indentation, text.
//
// The entry functions check the level first and nothing else; until the first text the level is not
// known and stands above all others, so that it is found out then. All state is trivially
// constructed and never destroyed: programs trace before main and until the very end.

#include <algorithm>
#include <chrono>
#include <climits>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include "destination.h"
#include "line_room.h"
#include "settings.h"
#include "system.h"
#include "text_format.h"
#include "zolp_basetool.h"

constinit ZOLP_TraceState ZOLP_trace_state = {INT_MAX, 0};

namespace basetool {
namespace {

constexpr int unknown_level = INT_MAX;
constexpr int widest_depth = 32;
constexpr int blanks_per_level = 2;

constinit int& shown_level = ZOLP_trace_state.level;
constinit long long& depth = ZOLP_trace_state.depth;
constinit Settings settings;
constinit Destination destination;
constinit int line_level = ZOLP_LEVEL_OFF;
constinit bool has_prefix = false;
constinit bool is_in_writer = false;

const std::chrono::steady_clock::time_point load_time = std::chrono::steady_clock::now();

/** Relative names of files mean what they mean now. */
const bool is_folder_remembered = (remember_folder(), true);

/** Gives the destination its chance to tidy up when the program ends. */
struct Finisher {
  ~Finisher();
} const finisher;

void start() {
  if (shown_level != unknown_level) {
    return;
  }
  ErrorKeeper error_keeper;
  remember_folder();
  settings = read_settings();
  shown_level = settings.level;
  has_prefix =
      settings.shows_clock || settings.shows_time || settings.shows_level || settings.shows_process;
  destination.configure(settings);
  call_in_forked_child([] { destination.restart_in_child(); });
}

/** The slow part of asking for the level: only the first question comes here. */
bool is_shown(int level) {
  start();
  return level <= shown_level;
}

/** Writes the local time and the zone's offset from universal time. @return its length. */
int print_clock(char* text, size_t size) {
  static constinit int64_t known_second = -1;
  static constinit char date_and_time[40] = {};
  static constinit char offset[16] = {};
  constexpr uint64_t second = 1'000'000'000;
  const uint64_t now = wall_nanoseconds();
  const auto seconds = static_cast<int64_t>(now / second);
  std::tm parts{};
  if (seconds != known_second && read_local_time(seconds, parts)) {
    known_second = seconds;
    std::strftime(date_and_time, sizeof date_and_time, "%Y-%m-%dT%H:%M:%S", &parts);
    const std::chrono::sys_days day = std::chrono::year(parts.tm_year + 1900) /
                                      std::chrono::month(static_cast<unsigned>(parts.tm_mon) + 1) /
                                      std::chrono::day(static_cast<unsigned>(parts.tm_mday));
    const int64_t as_universal = int64_t{day.time_since_epoch().count()} * 86400 +
                                 parts.tm_hour * 3600 + parts.tm_min * 60 + parts.tm_sec;
    const auto ahead = static_cast<int>((as_universal - seconds) / 60);
    std::snprintf(offset, sizeof offset, "%c%02d:%02d", ahead < 0 ? '-' : '+',
                  std::abs(ahead) / 60 % 100, std::abs(ahead) % 60);
  }
  return std::snprintf(text, size, "%s.%06u%s ", date_and_time,
                       static_cast<unsigned>(now % second / 1000), offset);
}

void append_prefix(int level) {
  char prefix[128];
  int size = 0;
  auto add = [&](const char* format, auto value) {
    size += std::snprintf(prefix + size, sizeof prefix - static_cast<size_t>(size), format, value);
  };
  if (settings.shows_clock) {
    size = print_clock(prefix, sizeof prefix);
  }
  if (settings.shows_time) {
    auto elapsed = std::chrono::steady_clock::now() - load_time;
    long long microseconds = std::chrono::duration_cast<std::chrono::microseconds>(elapsed).count();
    add("%12lld ", microseconds);
  }
  if (settings.shows_level) {
    add("%c ", "-EWLTD"[level]);
  }
  if (settings.shows_process) {
    add("%lu ", process_id());
  }
  destination.append(prefix, static_cast<size_t>(size));
}

/** Begins a line when there is none. @return length of the line so far. */
size_t begin_line(int level) {
  if (destination.length() > 0) {
    return destination.length();
  }
  line_level = level;
  if (has_prefix) {
    append_prefix(level);
  }
  const long long levels = depth < widest_depth ? depth : widest_depth;
  destination.append_repeated(' ', blanks_per_level * static_cast<size_t>(levels));
  return destination.length();
}

/** Appends a line feed even where there is no memory left. */
void append_line_feed() {
  destination.append("\n", 1);
  destination.cursor[-1] = '\n';
}

void end_line() {
  is_in_writer = true;
  destination.end_line(line_level);
  is_in_writer = false;
}

/**
 * Ends a line that was cut, even if its text did not: a line that is full would take up nothing
 * more, not even its end.
 */
void complete_cut_line() {
  if (destination.is_cut && destination.cursor[-1] != '\n') {
    append_line_feed();
  }
  destination.is_cut = false;
}

/** Appends a piece of a text that has no line feed but possibly at its end. */
void append_piece(int level, const char* piece, size_t size) {
  bool is_empty_line = destination.length() == 0 && *piece == '\n';
  if (is_empty_line) {
    line_level = level;
  } else {
    begin_line(level);
  }
  destination.append(piece, size);
  complete_cut_line();
  if (destination.cursor[-1] == '\n') {
    end_line();
  }
}

/** Takes a text with line feeds off the current line and writes it line by line. */
void rewrite_line_by_line(int level, size_t line_before, size_t size) {
  char small_copy[1024];
  char* copy = size <= sizeof small_copy ? small_copy : new (std::nothrow) char[size];
  const char* text = destination.cursor - size;
  if (copy == nullptr) {
    // Out of memory: the text's lines stay as they stand, the last one gets an end.
    if (destination.cursor[-1] != '\n') {
      append_line_feed();
    }
    return end_line();
  }
  std::memcpy(copy, text, size);
  destination.shorten(line_before);
  for (const char *piece = copy, *end = copy + size; piece < end;) {
    const void* found = std::memchr(piece, '\n', static_cast<size_t>(end - piece));
    const char* next = found == nullptr ? end : static_cast<const char*>(found) + 1;
    append_piece(level, piece, static_cast<size_t>(next - piece));
    piece = next;
  }
  if (copy != small_copy) {
    delete[] copy;
  }
}

/** Appends a text with whatever line feeds it holds; `append` appends it to the destination. */
template <typename Append>
void write_text(int level, Append append) {
  if (is_in_writer) {
    return;
  }
  size_t line_before = destination.length();
  size_t text_begin = begin_line(level);
  LineFeeds line_feeds = append();
  if (destination.is_cut) [[unlikely]] {
    complete_cut_line();
    line_feeds = LineFeeds::several;
  }
  size_t size = destination.length() - text_begin;
  if (size == 0) {
    return destination.shorten(line_before);
  }
  if (line_feeds == LineFeeds::none) {
    return;
  }
  bool is_empty_line = size == 1 && line_before == 0;
  bool ends_line = destination.cursor[-1] == '\n' && !is_empty_line;
  if (line_feeds == LineFeeds::several) {
    const void* first = std::memchr(destination.cursor - size, '\n', size);
    if (first == nullptr) {
      return;
    }
    ends_line = ends_line && first == destination.cursor - 1;
  }
  if (ends_line) [[likely]] {
    end_line();
  } else {
    rewrite_line_by_line(level, line_before, size);
  }
}

/** Kept out of the entry functions, which would save registers for it even when they do nothing. */
[[gnu::noinline]] void write_formatted(int level, const char* format, Arguments& arguments) {
  if (!is_shown(level) || format == nullptr) {
    return;
  }
  write_text(level, [&] { return append_formatted(destination, format, arguments); });
}

/** Ends a line that is still open. */
void complete_line() {
  if (destination.length() == 0) {
    return;
  }
  append_line_feed();
  end_line();
}

Finisher::~Finisher() {
  if (shown_level == unknown_level) {
    return;
  }
  destination.finish();
}

}  // namespace
}  // namespace basetool

// A variadic function cannot hand its arguments on but by a va_list; each entry function has the
// same few lines.
#define WRITE_FORMATTED(level)                           \
  do {                                                   \
    if ((level) > basetool::shown_level)                 \
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
  if (text == nullptr || !basetool::is_shown(ZOLP_LEVEL_ERROR)) {
    return;
  }
  basetool::write_text(ZOLP_LEVEL_ERROR, [text] {
    basetool::destination.append(text, std::strlen(text));
    basetool::destination.append("\n", 1);
    return basetool::LineFeeds::several;
  });
}

void ZOLP_IncTraceSpaces(void) {
  ++basetool::depth;
}

void ZOLP_DecTraceSpaces(void) {
  if (basetool::depth > 0) {
    --basetool::depth;
  }
}

int ZOLP_IsTraced(int level) {
  return level > ZOLP_LEVEL_OFF && basetool::is_shown(level) ? 1 : 0;
}

void ZOLP_SetTraceLevel(int level) {
  basetool::start();
  basetool::shown_level = level < ZOLP_LEVEL_OFF     ? ZOLP_LEVEL_OFF
                          : level > ZOLP_LEVEL_DEBUG ? ZOLP_LEVEL_DEBUG
                                                     : level;
}

int ZOLP_GetTraceDepth(void) {
  return static_cast<int>(std::min<long long>(basetool::depth, INT_MAX));
}

void ZOLP_SetTraceWriter(ZOLP_TraceWriter writer, void* context) {
  basetool::start();
  if (!basetool::is_in_writer) {
    basetool::complete_line();
  }
  basetool::destination.set_writer(writer, context);
  if (writer != nullptr) {
    basetool::call_at_end_of_main([] { basetool::destination.end_writer(); });
  }
}
