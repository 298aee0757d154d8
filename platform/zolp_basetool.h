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
 * feeds; an empty line gets neither prefix nor indentation. `errno` is left as it was. To be used
 * from one thread, like the library that it serves; from the child of a fork, too, which writes to
 * a file of its own.
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
  ZOLP_LEVEL_OFF = 0,
  ZOLP_LEVEL_ERROR = 1,
  ZOLP_LEVEL_WARNING = 2,
  ZOLP_LEVEL_LOG = 3,   /**< entry and exit of calls, version banner */
  ZOLP_LEVEL_TRACE = 4, /**< details of calls */
  ZOLP_LEVEL_DEBUG = 5  /**< remarks of functions */
};

/** What the trace shows, and how deep it is. */
typedef struct ZOLP_TraceState {
  int level;       /**< highest level that is shown; above all levels until the first text */
  long long depth; /**< depth of indentation in levels, 0 at the margin */
} ZOLP_TraceState;

/**
 * The state of this process's trace, for callers to whom a function call per question is too much:
 * what is above its level need not be passed on. Its level is set by `ZOLP_SetTraceLevel` only;
 * its depth may be changed in place, by as much as is taken back later.
 */
ZOLP_TRACE_API extern ZOLP_TraceState ZOLP_trace_state;

/**
 * Writes an entry or exit line, on level #ZOLP_LEVEL_LOG.
 * @param[in] area, detail kept for sites that tell areas of the trace apart; pass 1 and 1.
 * @param[in] format, ... the text, as for `printf`.
 */
ZOLP_TRACE_API void ZOLP_LOG(int area, int detail, const char* format, ...) ZOLP_PRINTF_LIKE(3, 4);

/** Writes a detail of a call. */
ZOLP_TRACE_API void ZOLP_TRACE(const char* format, ...) ZOLP_PRINTF_LIKE(1, 2);

/** Writes a failure or its error text. */
ZOLP_TRACE_API void ZOLP_ERROR(const char* format, ...) ZOLP_PRINTF_LIKE(1, 2);

/** Writes a warning. */
ZOLP_TRACE_API void ZOLP_WARNING(const char* format, ...) ZOLP_PRINTF_LIKE(1, 2);

/** Writes a remark for those who debug a customisation. */
ZOLP_TRACE_API void ZOLP_DEBUG(const char* format, ...) ZOLP_PRINTF_LIKE(1, 2);

/**
 * Reports exhausted memory, as an error. Needs no memory itself.
 * @param[in] text what could not be allocated; written as it stands, followed by a line feed.
 */
ZOLP_TRACE_API void ZOLP_CRERROR(const char* text);

/** Writes a part of the version banner, on level #ZOLP_LEVEL_LOG. */
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
 * dropped, and it is not called any more when the program is ending.
 * @param[in] writer the function; null goes back to what the environment says.
 * @param[in] context passed on to it; the caller's, and to be kept as long as the function is set.
 */
ZOLP_TRACE_API void ZOLP_SetTraceWriter(ZOLP_TraceWriter writer, void* context);

#ifdef __cplusplus
}
#endif

#endif
