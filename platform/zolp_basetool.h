/**
 * @file
 * The trace library `libzolp_basetool`: an indented call trace of whatever a process does.
 *
 * A line is put together from the texts of one or more calls and ends with a line feed. It is
 * indented by the depth that holds when it begins. What is shown, where and with which prefix comes
 * from the environment (`ZOLP_TRACE_LEVEL`, `ZOLP_TRACE_FILE` and others, see `docs/tracing.md`);
 * unless told otherwise, errors and warnings are shown, on standard error.
 *
 * Formats are those of `printf`; a null text for `%s` is shown as "(null)", a null format is
 * ignored, and a text that memory does not suffice for is cut. A text may hold any number of line
 * feeds; an empty line gets neither prefix nor indentation. `errno` is left as it was.
 *
 * All threads may call it: their lines are whole, and each has its own depth and its own line that
 * is being put together. The thread that was first pays nothing for that. The child of a fork may
 * call it, too, and writes to files of its own.
 *
 * Beside the text, a process may keep a recording of its calls, which costs so little that it can
 * be left on; see `ZOLP_SetTraceRecording`. Calls are traced and recorded with `zolp_call_frame.h`.
 */
#ifndef ZOLP_BASETOOL_H
#define ZOLP_BASETOOL_H

#include <stddef.h>

#if defined(_WIN32)
#if defined(ZOLP_BUILDING_BASETOOL)
#define ZOLP_TRACE_API __declspec(dllexport)
#else
#define ZOLP_TRACE_API __declspec(dllimport)
#endif
#else
#define ZOLP_TRACE_API __attribute__((visibility("default")))
#endif

#if defined(__MINGW32__) && !defined(__clang__)
#define ZOLP_PRINTF_LIKE(format_index, first_argument) \
  __attribute__((format(gnu_printf, format_index, first_argument)))
#elif defined(__GNUC__)
#define ZOLP_PRINTF_LIKE(format_index, first_argument) \
  __attribute__((format(printf, format_index, first_argument)))
#else
#define ZOLP_PRINTF_LIKE(format_index, first_argument)
#endif

#ifdef __cplusplus
extern "C" {
#endif

/** Levels of the trace; each shows what the ones before it show. */
enum {
  ZOLP_LEVEL_OFF = 0,     /**< nothing */
  ZOLP_LEVEL_ERROR = 1,   /**< failures and their error texts */
  ZOLP_LEVEL_WARNING = 2, /**< warnings */
  ZOLP_LEVEL_LOG = 3,     /**< entry and exit of calls, version banner */
  ZOLP_LEVEL_TRACE = 4,   /**< details of calls */
  ZOLP_LEVEL_DEBUG = 5    /**< remarks of functions */
};

/** What a place in the sources traces. */
enum {
  ZOLP_SITE_FRAME = 1,  /**< a function: its entry and its exit */
  ZOLP_SITE_TRACED = 2, /**< a platform call whose failure is reported */
  ZOLP_SITE_GUARDED = 3 /**< a platform call whose failure ends the function */
};

/** A place in the sources that traces. Static: the trace library keeps its number in it. */
typedef struct ZOLP_CallSite {
  int kind;               /**< one of the kinds above */
  int line;               /**< source line */
  const char* text;       /**< name of the function, or source text of the call */
  const char* file;       /**< source file; folders in front of it are not shown */
  const char* with_place; /**< "TEXT FILE:LINE" where it is at hand, or null */
  const char* in_detail;  /**< "File:FILE Line:LINE Funktion:TEXT" where it is at hand, or null */
  unsigned epoch;         /**< the trace library's own, 0 at first */
  unsigned number;        /**< the trace library's own, 0 at first */
} ZOLP_CallSite;

/** What `ZOLP_TraceState.calls` can be. */
enum { ZOLP_CALLS_FOR_TEXT = 1 /**< calls are shown, and nothing else */ };

/** What is still to be written of a call; see `ZOLP_TraceState`. */
enum {
  ZOLP_SHOW_NOTHING = 0, /**< nothing */
  ZOLP_SHOW_LINES = 1    /**< its lines, and its indentation is to be changed */
};

/**
 * The state of this process's trace, for call frames, to which a function call per question is too
 * much. Programs use `zolp_call_frame.h`, which also does without it where another trace library
 * has taken this one's place.
 */
typedef struct ZOLP_TraceState {
  int level;          /**< highest level that is wanted; above all levels until the first text */
  int calls;          /**< 0 while nobody wants to know of calls that succeed;
                           #ZOLP_CALLS_FOR_TEXT while all lines are shown and nobody is to be told */
  const void* thread; /**< thread pointer of the thread that was first */
  long long depth;    /**< that thread's depth of indentation, 0 at the margin; it may change it
                           in place */
  /** The operation that writes entry lines, to be compared with what a caller is linked with. */
  void (*log)(int area, int detail, const char* format, ...);
  /**
   * Tells that a site is entered.
   * @return #ZOLP_SHOW_LINES when the entry line is to be written and the depth to be raised.
   */
  int (*enter)(ZOLP_CallSite* site);
  /**
   * Tells that a site is left.
   * @param[in] status result of the call, or of the function.
   * @return #ZOLP_SHOW_LINES when the rest of its lines is to be written and the depth to be
   *   lowered. Error lines are to be written in any case.
   */
  int (*leave)(ZOLP_CallSite* site, int status);
  /** Tells that a function has ended without its exit line. */
  void (*abandon)(ZOLP_CallSite* site);
  /** Keeps the error text of the call that this thread left last. */
  void (*keep_error_text)(const char* text);
} ZOLP_TraceState;

/** Its `level`, `calls` and `thread` may change at any time, from any thread. */
ZOLP_TRACE_API extern ZOLP_TraceState ZOLP_trace_state;

/**
 * Writes an entry or exit line, on level #ZOLP_LEVEL_LOG.
 * @param[in] area, detail kept for sites that tell areas of the trace apart; pass 1 and 1.
 * @param[in] format, ... the text, as for `printf`.
 */
ZOLP_TRACE_API void ZOLP_LOG(int area, int detail, const char* format, ...) ZOLP_PRINTF_LIKE(3, 4);

/**
 * Writes a detail of a call, on level #ZOLP_LEVEL_TRACE.
 * @param[in] format, ... the text, as for `printf`.
 */
ZOLP_TRACE_API void ZOLP_TRACE(const char* format, ...) ZOLP_PRINTF_LIKE(1, 2);

/**
 * Writes a failure or its error text, on level #ZOLP_LEVEL_ERROR.
 * @param[in] format, ... the text, as for `printf`.
 */
ZOLP_TRACE_API void ZOLP_ERROR(const char* format, ...) ZOLP_PRINTF_LIKE(1, 2);

/**
 * Writes a warning, on level #ZOLP_LEVEL_WARNING.
 * @param[in] format, ... the text, as for `printf`.
 */
ZOLP_TRACE_API void ZOLP_WARNING(const char* format, ...) ZOLP_PRINTF_LIKE(1, 2);

/**
 * Writes a remark for those who debug a customisation, on level #ZOLP_LEVEL_DEBUG.
 * @param[in] format, ... the text, as for `printf`.
 */
ZOLP_TRACE_API void ZOLP_DEBUG(const char* format, ...) ZOLP_PRINTF_LIKE(1, 2);

/**
 * Reports exhausted memory, as an error. Needs no memory itself.
 * @param[in] text what could not be allocated; written as it stands, followed by a line feed.
 */
ZOLP_TRACE_API void ZOLP_CRERROR(const char* text);

/**
 * Writes a part of the version banner, on level #ZOLP_LEVEL_LOG.
 * @param[in] format, ... the text, as for `printf`.
 */
ZOLP_TRACE_API void ZOLP_PRINT_VERINFO(const char* format, ...) ZOLP_PRINTF_LIKE(1, 2);

/** Indents the lines that follow by one level more. */
ZOLP_TRACE_API void ZOLP_IncTraceSpaces(void);

/** Indents the lines that follow by one level less; at the margin it does nothing. */
ZOLP_TRACE_API void ZOLP_DecTraceSpaces(void);

/**
 * Asks whether texts of a level are shown, for callers that would otherwise prepare many in vain.
 * @param[in] level one of the levels above.
 * @return 1 if they are, otherwise 0.
 */
ZOLP_TRACE_API int ZOLP_IsTraced(int level);

/**
 * Sets the level for the rest of the process, in place of the environment's.
 * @param[in] level one of the levels above; what lies beyond them counts as the nearest.
 */
ZOLP_TRACE_API void ZOLP_SetTraceLevel(int level);

/**
 * Current depth of indentation in levels; it counts on where the indentation stops widening, up to
 * the largest `int`.
 * @return the depth.
 */
ZOLP_TRACE_API int ZOLP_GetTraceDepth(void);

/**
 * Receives the trace's lines.
 * @param[in] level level of the text that began the line.
 * @param[in] line the line with its prefix and indentation and without its line feed,
 *   NUL-terminated; valid during the call only.
 * @param[in] size its length in bytes.
 * @param[in] context what was given to `ZOLP_SetTraceWriter`.
 */
typedef void (*ZOLP_TraceWriter)(int level, const char* line, size_t size, void* context);

/**
 * Sends the trace to a function of the host program instead of a file or standard error. A line
 * that is not finished goes where the trace went before. Texts that the function itself writes are
 * dropped. It is called by one thread at a time, and not any more once `main` has returned.
 * @param[in] writer the function; null goes back to what the environment says.
 * @param[in] context passed on to it; the caller's, and to be kept as long as the function is set.
 */
ZOLP_TRACE_API void ZOLP_SetTraceWriter(ZOLP_TraceWriter writer, void* context);

/**
 * Starts a recording of all calls from now on, or ends it, in place of what the environment says.
 * The file has its full size from the beginning; when it is full, what is oldest gives way. One
 * that is there already is renamed to NAME.1 and so on, as in rotation.
 * @param[in] file name of the file, with %p for the process id and %% for a percent sign; null ends
 *   the recording.
 * @param[in] size its size in bytes; 0 stands for the environment's, or else 8 MiB.
 * @return 1 if that is done; 0 if not, and a line on standard error says why. There is no recording
 *   then.
 */
ZOLP_TRACE_API int ZOLP_SetTraceRecording(const char* file, unsigned long long size);

/**
 * Is told of each function and call that is entered and left, also where neither is shown.
 * @param[in] site the place.
 * @param[in] is_entered 1 when it is entered, 0 when it is left, in whatever way.
 */
typedef void (*ZOLP_CallObserver)(const ZOLP_CallSite* site, int is_entered);

/**
 * Sets who is told, by the thread that makes the call; from then on each costs a function call.
 * May be called before the library's own start.
 * @param[in] observer the function; null for nobody.
 */
ZOLP_TRACE_API void ZOLP_SetCallObserver(ZOLP_CallObserver observer);

#ifdef __cplusplus
}
#endif

#endif
