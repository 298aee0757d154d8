/**
 * @file
 * The trace of your own functions and platform calls, in the lines of the library's.
 *
 *     int read_site(const char* name, int* count) {
 *       int status = ORK_ok;
 *       ZOLP_ENTER("read_site");
 *       ZOLP_GUARDED(PREF_initialize());
 *       ZOLP_TRACED(status, PREF_get_value_count(name, count));
 *       return ZOLP_LEAVE(status);
 *     }
 *
 * For C from C99 on and C++ from C++11 on. Programs link with `libzolp_orktool` and
 * `libzolp_basetool`. Where calls are neither shown nor recorded, they cost a comparison each and
 * no function call.
 *
 * Where another trace library of that name has taken the place of `libzolp_basetool`, lines go
 * through its operations, and there is no recording. The same holds for a program that has
 * operations of these names itself.
 */
#ifndef ZOLP_CALL_FRAME_H
#define ZOLP_CALL_FRAME_H

#include <stddef.h>
#include <stdio.h>
#include <string.h>
#include <time.h>

#include "ork/err.h"
#include "ork/mem.h"
#include "ork/ork.h"
#include "zolp_basetool.h"
#include "zolp_orktool.h"

#if defined(_MSC_VER) && !defined(__clang__)
#include <intrin.h>
#endif

/* NOLINTBEGIN(modernize-use-nullptr): C does not know it. */

/**
 * Begins a function: writes its entry line, with this place in the sources, and indents.
 * A declaration; one in a function.
 * @param[in] name the function's name, as a literal.
 */
#define ZOLP_ENTER(name)                                              \
  static ZOLP_CallSite zolp_frame_site_ = {                           \
      ZOLP_SITE_FRAME, __LINE__, name, __FILE__, NULL, NULL, 0U, 0U}; \
  ZOLP_FRAME_(zolp_frame_, zolp_frame_site_)

/**
 * Ends it: writes the exit line, with this place in the sources. A function that returns without it
 * has no exit line and leaves a level of indentation open, which shows where it ended.
 * @param[in] status what the function returns; an int.
 * @return the status.
 */
#define ZOLP_LEAVE(status) (zolp_leave_(&zolp_frame_, (status), __FILE__, __LINE__))

/**
 * Makes a platform call and goes on whatever its status is. Writes its lines: the source text of
 * the call, how long it took if that was more than a second, its status and the platform's error
 * text if it failed.
 * @param[out] status variable that the call's status is stored in; an int.
 * @param[in] ... the call.
 */
#define ZOLP_TRACED(status, ...)                                                 \
  do {                                                                           \
    static ZOLP_CallSite zolp_site_ = {                                          \
        ZOLP_SITE_TRACED, __LINE__, #__VA_ARGS__, __FILE__, NULL, NULL, 0U, 0U}; \
    const ZOLP_FrameMoment zolp_start_ = zolp_start_call_(&zolp_site_);          \
    const int zolp_status_ = (__VA_ARGS__);                                      \
    zolp_end_call_(&zolp_site_, zolp_start_, zolp_status_, zolp_finish_traced_); \
    (status) = zolp_status_;                                                     \
  } while (0)

/**
 * Makes a platform call and returns its status from the function if it failed. Writes its lines; of
 * the call's text only what stands before its first parenthesis. In C, the function needs a
 * `ZOLP_ENTER` before it.
 * @param[in] ... the call.
 */
#define ZOLP_GUARDED(...)                                                         \
  do {                                                                            \
    static ZOLP_CallSite zolp_site_ = {                                           \
        ZOLP_SITE_GUARDED, __LINE__, #__VA_ARGS__, __FILE__, NULL, NULL, 0U, 0U}; \
    const ZOLP_FrameMoment zolp_start_ = zolp_start_call_(&zolp_site_);           \
    const int zolp_status_ = (__VA_ARGS__);                                       \
    zolp_end_call_(&zolp_site_, zolp_start_, zolp_status_, zolp_finish_guarded_); \
    if (zolp_status_ != 0) {                                                      \
      ZOLP_FRAME_ENDS_();                                                         \
      return zolp_status_;                                                        \
    }                                                                             \
  } while (0)

/* ------------------------------------------------------------------------- how that is done -- */

/** @cond */

#if defined(__GNUC__) && !defined(_WIN32)
#define ZOLP_FRAME_HIDDEN_ __attribute__((visibility("hidden")))
#else
#define ZOLP_FRAME_HIDDEN_
#endif
#if defined(__GNUC__)
#define ZOLP_FRAME_RARELY_(condition) __builtin_expect((condition) ? 1 : 0, 0)
#define ZOLP_FRAME_READ_(variable) __atomic_load_n(&(variable), __ATOMIC_RELAXED)
#define ZOLP_FRAME_WRITE_(variable, value) __atomic_store_n(&(variable), (value), __ATOMIC_RELAXED)
#else
#define ZOLP_FRAME_RARELY_(condition) (condition)
#define ZOLP_FRAME_READ_(variable) (variable)
#define ZOLP_FRAME_WRITE_(variable, value) ((variable) = (value))
#endif
#if defined(__cplusplus)
#define ZOLP_FRAME_INLINE_ inline ZOLP_FRAME_HIDDEN_
#else
#define ZOLP_FRAME_INLINE_ static inline
#endif
#if !defined(__GNUC__)
#define ZOLP_FRAME_SLOW_ ZOLP_FRAME_INLINE_
#elif defined(__cplusplus)
#define ZOLP_FRAME_SLOW_ inline ZOLP_FRAME_HIDDEN_ __attribute__((noinline))
#else
#define ZOLP_FRAME_SLOW_ static __attribute__((noinline, unused))
#endif

/*
 * The state of the trace, found when it is first asked for. Until then, and where the trace library
 * has none, one that wants all lines takes its place.
 */
#define ZOLP_FRAME_STATELESS_ \
  { ZOLP_LEVEL_DEBUG, ZOLP_CALLS_FOR_TEXT, NULL, 0, NULL, NULL, NULL, NULL, NULL }
#if defined(__cplusplus)
/** Members of a template may stand in a header without being inline variables. */
template <typename Unused>
struct ZOLP_FRAME_HIDDEN_ ZOLP_FrameStates_ {
  static ZOLP_TraceState unknown;
  static ZOLP_TraceState none;
  static ZOLP_TraceState* current;
};
template <typename Unused>
ZOLP_TraceState ZOLP_FrameStates_<Unused>::unknown = ZOLP_FRAME_STATELESS_;
template <typename Unused>
ZOLP_TraceState ZOLP_FrameStates_<Unused>::none = ZOLP_FRAME_STATELESS_;
template <typename Unused>
ZOLP_TraceState* ZOLP_FrameStates_<Unused>::current = &ZOLP_FrameStates_<Unused>::unknown;
#define zolp_unknown_state_ (ZOLP_FrameStates_<void>::unknown)
#define zolp_no_state_ (ZOLP_FrameStates_<void>::none)
#define zolp_state_ (ZOLP_FrameStates_<void>::current)
#else
static ZOLP_TraceState zolp_unknown_state_ = ZOLP_FRAME_STATELESS_;
static ZOLP_TraceState zolp_no_state_ = ZOLP_FRAME_STATELESS_;
static ZOLP_TraceState* zolp_state_ = &zolp_unknown_state_;
#endif

/* Looks for the state of the trace library that ZOLP_LOG belongs to. */
#if defined(_WIN32)
struct HINSTANCE__;
#if defined(__cplusplus)
extern "C" {
#endif
__declspec(dllimport) int __stdcall GetModuleHandleExA(unsigned long flags, const char* address,
                                                       struct HINSTANCE__** module);
__declspec(dllimport) long long(__stdcall* __stdcall GetProcAddress(struct HINSTANCE__* module,
                                                                    const char* name))(void);
#if defined(__cplusplus)
}
#endif
ZOLP_FRAME_INLINE_ ZOLP_TraceState* zolp_find_state_(void) {
  const unsigned long by_address_and_uncounted = 4 | 2;
  struct HINSTANCE__* module = NULL;
  if (GetModuleHandleExA(by_address_and_uncounted, (const char*)(size_t)&ZOLP_LOG, &module) == 0) {
    return NULL;
  }
  return (ZOLP_TraceState*)(size_t)GetProcAddress(module, "ZOLP_trace_state");
}
#else
#if defined(__GNUC__)
#pragma weak ZOLP_trace_state
#endif
ZOLP_FRAME_INLINE_ ZOLP_TraceState* zolp_find_state_(void) {
  return &ZOLP_trace_state;
}
#endif

ZOLP_FRAME_SLOW_ void zolp_connect_(void) {
  ZOLP_TraceState* state = zolp_find_state_();
  if (state == NULL || state->log != ZOLP_LOG) {
    state = &zolp_no_state_;
  }
  ZOLP_FRAME_WRITE_(zolp_state_, state);
}

/** The state, looked for when that has not been done yet. */
ZOLP_FRAME_INLINE_ ZOLP_TraceState* zolp_known_state_(void) {
  if (ZOLP_FRAME_READ_(zolp_state_) == &zolp_unknown_state_) {
    zolp_connect_();
  }
  return ZOLP_FRAME_READ_(zolp_state_);
}

/** Tells that a site is entered. @return whether its entry line is to be written. */
ZOLP_FRAME_INLINE_ int zolp_shows_entry_(ZOLP_TraceState* state, ZOLP_CallSite* site) {
  return ZOLP_FRAME_READ_(state->calls) == ZOLP_CALLS_FOR_TEXT ||
         state->enter(site) != ZOLP_SHOW_NOTHING;
}

/** Tells that it is left. @return whether the rest of its lines is to be written. */
ZOLP_FRAME_INLINE_ int zolp_shows_exit_(ZOLP_TraceState* state, ZOLP_CallSite* site, int status) {
  return ZOLP_FRAME_READ_(state->calls) == ZOLP_CALLS_FOR_TEXT ||
         state->leave(site, status) != ZOLP_SHOW_NOTHING;
}

/** Whether texts of a level are wanted. */
ZOLP_FRAME_INLINE_ int zolp_wants_level_(int level) {
  return ZOLP_FRAME_READ_(ZOLP_FRAME_READ_(zolp_state_)->level) >= level;
}

/** What `ZOLP_TraceState.thread` is for the calling thread. */
ZOLP_FRAME_INLINE_ const void* zolp_thread_(void) {
#if defined(__GNUC__) && defined(__x86_64__)
  const void* pointer;
#if defined(_WIN32)
  __asm__("movq %%gs:0x30, %0" : "=r"(pointer));
#else
  __asm__("movq %%fs:0, %0" : "=r"(pointer));
#endif
  return pointer;
#elif defined(__GNUC__) && defined(__aarch64__) && !defined(_WIN32)
  return __builtin_thread_pointer();
#elif defined(_MSC_VER) && defined(_M_X64)
  return (const void*)__readgsqword(0x30);
#else
  return &zolp_state_; /* no thread's: the depth is changed by a function call */
#endif
}

/* Changes the depth: in place, for the thread that may do that. */
ZOLP_FRAME_INLINE_ void zolp_indent_(ZOLP_TraceState* state) {
  if (ZOLP_FRAME_READ_(state->thread) == zolp_thread_()) {
    ++state->depth;
  } else {
    ZOLP_IncTraceSpaces();
  }
}
ZOLP_FRAME_INLINE_ void zolp_unindent_(ZOLP_TraceState* state) {
  if (ZOLP_FRAME_READ_(state->thread) != zolp_thread_()) {
    ZOLP_DecTraceSpaces();
  } else if (state->depth > 0) {
    --state->depth;
  }
}

/** What follows the last separator in the name of a source file. */
ZOLP_FRAME_INLINE_ const char* zolp_file_name_(const char* path) {
  const char* name = path;
  for (; *path != '\0'; ++path) {
    if (*path == '/' || *path == '\\') {
      name = path + 1;
    }
  }
  return name;
}

/* Entry and exit lines. Those that are at hand as a whole are written faster, where that is known.
 */
ZOLP_FRAME_INLINE_ void zolp_write_line_(const ZOLP_CallSite* site, int is_exit, const char* text) {
  if (site->with_place != NULL && ZOLP_FRAME_READ_(zolp_state_) != &zolp_no_state_) {
    if (is_exit) {
      ZOLP_LOG(1, 1, " <-%s\n", site->with_place);
    } else {
      ZOLP_LOG(1, 1, " ->%s\n", site->with_place);
    }
  } else if (is_exit) {
    ZOLP_LOG(1, 1, " <-%s %s:%d\n", text, zolp_file_name_(site->file), site->line);
  } else {
    ZOLP_LOG(1, 1, " ->%s %s:%d\n", text, zolp_file_name_(site->file), site->line);
  }
}

/* ---- Functions. */

ZOLP_FRAME_SLOW_ void zolp_show_entry_(ZOLP_CallSite* site) {
  if (zolp_shows_entry_(zolp_known_state_(), site)) {
    zolp_write_line_(site, 0, site->text);
    zolp_indent_(ZOLP_FRAME_READ_(zolp_state_));
  }
}

ZOLP_FRAME_INLINE_ void zolp_enter_site_(ZOLP_CallSite* site) {
  ZOLP_TraceState* state = ZOLP_FRAME_READ_(zolp_state_);
  if (ZOLP_FRAME_RARELY_(ZOLP_FRAME_READ_(state->calls) != 0)) {
    zolp_show_entry_(site);
  } else {
    zolp_indent_(state);
  }
}

ZOLP_FRAME_SLOW_ void zolp_show_exit_(ZOLP_CallSite* site, int status, const char* name,
                                      const char* file, int line) {
  if (zolp_shows_exit_(zolp_known_state_(), site, status)) {
    zolp_unindent_(ZOLP_FRAME_READ_(zolp_state_));
    ZOLP_LOG(1, 1, " <-%s %s:%d\n", name, zolp_file_name_(file), line);
  }
}

ZOLP_FRAME_INLINE_ void zolp_leave_site_(ZOLP_CallSite* site, int status, const char* name,
                                         const char* file, int line) {
  ZOLP_TraceState* state = ZOLP_FRAME_READ_(zolp_state_);
  if (ZOLP_FRAME_RARELY_(ZOLP_FRAME_READ_(state->calls) != 0)) {
    zolp_show_exit_(site, status, name, file, line);
  } else {
    zolp_unindent_(state);
  }
}

/** Ends a function without an exit line. */
ZOLP_FRAME_INLINE_ void zolp_abandon_site_(ZOLP_CallSite* site) {
  ZOLP_TraceState* state = ZOLP_FRAME_READ_(zolp_state_);
  if (ZOLP_FRAME_RARELY_(ZOLP_FRAME_READ_(state->calls) > ZOLP_CALLS_FOR_TEXT)) {
    state->abandon(site);
  }
}

/** A function's frame; its site is null once it has been left. */
typedef struct ZOLP_Frame_ {
  ZOLP_CallSite* site;
#if defined(__cplusplus)
  explicit ZOLP_Frame_(ZOLP_CallSite* entered) : site(entered) {
    zolp_enter_site_(entered);
  }
  ~ZOLP_Frame_() {
    if (site != NULL) {
      zolp_abandon_site_(site);
    }
  }
  ZOLP_Frame_(const ZOLP_Frame_&) = delete;
  ZOLP_Frame_& operator=(const ZOLP_Frame_&) = delete;
#endif
} ZOLP_Frame_;

#if defined(__cplusplus)
#define ZOLP_FRAME_ENDS_() ((void)0)
#define ZOLP_FRAME_(frame, entered) ZOLP_Frame_ frame(&(entered))
#else
static inline ZOLP_Frame_ zolp_enter_(ZOLP_CallSite* site) {
  ZOLP_Frame_ frame;
  frame.site = site;
  zolp_enter_site_(site);
  return frame;
}
static inline void zolp_end_frame_(ZOLP_Frame_* frame) {
  if (frame->site != NULL) {
    zolp_abandon_site_(frame->site);
  }
}
#if defined(__GNUC__)
#define ZOLP_FRAME_ENDS_() ((void)zolp_frame_)
#define ZOLP_FRAME_(frame, entered) \
  ZOLP_Frame_ frame __attribute__((cleanup(zolp_end_frame_))) = zolp_enter_(&(entered))
#else
#define ZOLP_FRAME_ENDS_() (zolp_end_frame_(&zolp_frame_))
#define ZOLP_FRAME_(frame, entered) ZOLP_Frame_ frame = zolp_enter_(&(entered))
#endif
#endif

ZOLP_FRAME_INLINE_ int zolp_leave_(ZOLP_Frame_* frame, int status, const char* file, int line) {
  zolp_leave_site_(frame->site, status, frame->site->text, file, line);
  frame->site = NULL;
  return status;
}

/* ---- Platform calls. */

#if !defined(ZOLP_FRAME_THIS_MOMENT_)
/** Milliseconds since some moment, or -1 when nobody would be told. */
typedef long ZOLP_FrameMoment;
#define ZOLP_FRAME_UNKNOWN_MOMENT_ (-1L)
#define ZOLP_FRAME_THIS_MOMENT_() (zolp_milliseconds_())
#define ZOLP_FRAME_MILLISECONDS_SINCE_(start) \
  ((start) < 0 ? 0L : (zolp_milliseconds_() - (start)) & 0x7fffffffL)
/** Of elapsed time: a call that waits for a server is slow, too. */
ZOLP_FRAME_INLINE_ long zolp_milliseconds_(void) {
#if defined(CLOCK_MONOTONIC) && !defined(_WIN32)
  struct timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return (long)((now.tv_sec * 1000LL + now.tv_nsec / 1000000) & 0x7fffffff);
#elif defined(_WIN32)
  return (long)(clock() & 0x7fffffff); /* elapsed time on this system */
#else
  return (long)((time(NULL) * 1000LL) & 0x7fffffff);
#endif
}
#endif

enum { zolp_shortened_size_ = 1024 };

/** The text of a guarded call: what was written, from its first parenthesis on "(...)". */
ZOLP_FRAME_INLINE_ const char* zolp_shorten_(const ZOLP_CallSite* site, char* shortened) {
  static const char ending[] = "(...)";
  size_t length = strcspn(site->text, "(");
  if (length > zolp_shortened_size_ - sizeof ending) {
    length = zolp_shortened_size_ - sizeof ending;
  }
  memcpy(shortened, site->text, length);
  memcpy(shortened + length, ending, sizeof ending);
  return shortened;
}

ZOLP_FRAME_SLOW_ ZOLP_FrameMoment zolp_show_call_(ZOLP_CallSite* site) {
  ZOLP_FrameMoment start = ZOLP_FRAME_UNKNOWN_MOMENT_;
  char shortened[zolp_shortened_size_];
  if (!zolp_shows_entry_(zolp_known_state_(), site)) {
    return start;
  }
  if (zolp_wants_level_(ZOLP_LEVEL_TRACE)) {
    start = ZOLP_FRAME_THIS_MOMENT_();
  }
  zolp_write_line_(site, 0,
                   site->kind == ZOLP_SITE_GUARDED ? zolp_shorten_(site, shortened) : site->text);
  zolp_indent_(ZOLP_FRAME_READ_(zolp_state_));
  return start;
}

/** Reads the clock, writes the entry line of a call and indents. */
ZOLP_FRAME_INLINE_ ZOLP_FrameMoment zolp_start_call_(ZOLP_CallSite* site) {
  ZOLP_TraceState* state = ZOLP_FRAME_READ_(zolp_state_);
  if (ZOLP_FRAME_RARELY_(ZOLP_FRAME_READ_(state->calls) != 0)) {
    return zolp_show_call_(site);
  }
  zolp_indent_(state);
  return ZOLP_FRAME_UNKNOWN_MOMENT_;
}

enum { zolp_slow_call_milliseconds_ = 1000 };

/** Writes an error text of the platform, and keeps it. */
ZOLP_FRAME_INLINE_ void zolp_write_error_text_(const char* text) {
  ZOLP_ERROR("--%s--\n", text);
  if (ZOLP_FRAME_READ_(zolp_known_state_()->calls) > ZOLP_CALLS_FOR_TEXT) {
    ZOLP_FRAME_READ_(zolp_state_)->keep_error_text(text);
  }
}

/** Writes where a traced call stands. */
ZOLP_FRAME_INLINE_ void zolp_write_detail_(const ZOLP_CallSite* site) {
  if (site->in_detail != NULL && ZOLP_FRAME_READ_(zolp_state_) != &zolp_no_state_) {
    (ZOLP_TRACE)(" %s\n", site->in_detail);
  } else {
    (ZOLP_TRACE)(" File:%s Line:%d Funktion:%s\n", zolp_file_name_(site->file), site->line,
                 site->text);
  }
}

/** Writes what follows a traced call. */
ZOLP_FRAME_SLOW_ void zolp_finish_traced_(ZOLP_CallSite* site, ZOLP_FrameMoment start, int status) {
  const int is_shown = zolp_shows_exit_(zolp_known_state_(), site, status);
  if (is_shown && zolp_wants_level_(ZOLP_LEVEL_TRACE)) {
    const long duration = ZOLP_FRAME_MILLISECONDS_SINCE_(start);
    zolp_write_detail_(site);
    if (ZOLP_FRAME_RARELY_(duration > zolp_slow_call_milliseconds_)) {
      (ZOLP_TRACE)("%ds for call File:%s Line:%d Funktion:%s\n", (int)(duration / 1000),
                   zolp_file_name_(site->file), site->line, site->text);
    }
  }
  if (ZOLP_FRAME_RARELY_(status != 0)) {
    char* text = NULL;
    ZOLP_ERROR(" File:%s Line:%d Funktion:%s returned %d \n", zolp_file_name_(site->file),
               site->line, site->text, status);
    ERR_get_error_text(status, &text);
    zolp_write_error_text_(text);
    if (text != NULL) {
      MEM_free(text);
    }
  }
  if (is_shown) {
    zolp_unindent_(ZOLP_FRAME_READ_(zolp_state_));
    zolp_write_line_(site, 1, site->text);
  }
}

/** Writes what follows a guarded call. */
ZOLP_FRAME_SLOW_ void zolp_finish_guarded_(ZOLP_CallSite* site, ZOLP_FrameMoment start,
                                           int status) {
  char shortened[zolp_shortened_size_];
  const char* const text = zolp_shorten_(site, shortened);
  const int is_shown = zolp_shows_exit_(zolp_known_state_(), site, status);
  if (is_shown && zolp_wants_level_(ZOLP_LEVEL_TRACE)) {
    const long duration = ZOLP_FRAME_MILLISECONDS_SINCE_(start);
    if (duration > zolp_slow_call_milliseconds_) {
      (ZOLP_TRACE)("##Long Call: %s   %ds %s:%d\n", text, (int)(duration / 1000),
                   zolp_file_name_(site->file), site->line);
    }
  }
  if (status != 0) {
    ZOLP_ERROR("##ORK_err_%d: %s   %s:%d\n", status, text, zolp_file_name_(site->file), site->line);
    ZOLP_ReportLastOrkError(status);
  }
  if (is_shown) {
    zolp_unindent_(ZOLP_FRAME_READ_(zolp_state_));
    zolp_write_line_(site, 1, text);
  }
}

/** Ends a call: what is to be written about it is written by one of the two above. */
ZOLP_FRAME_INLINE_ void zolp_end_call_(ZOLP_CallSite* site, ZOLP_FrameMoment start, int status,
                                       void (*finish)(ZOLP_CallSite*, ZOLP_FrameMoment, int)) {
  ZOLP_TraceState* state = ZOLP_FRAME_READ_(zolp_state_);
  if (ZOLP_FRAME_RARELY_(status != 0 || ZOLP_FRAME_READ_(state->calls) != 0)) {
    finish(site, start, status);
  } else {
    zolp_unindent_(state);
  }
}

/** @endcond */

/* NOLINTEND(modernize-use-nullptr) */

#endif
