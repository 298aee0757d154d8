#include "call_frame.h"

#include <cstdio>

#include "host_memory.h"
#include "ork/err.h"
#include "zolp_basetool.h"
#include "zolp_orktool.h"

namespace orktool {
namespace {

constexpr std::int32_t slow_call_milliseconds = 1000;

void write_call_exit(const Call& call) {
  ZOLP_DecTraceSpaces();
  ZOLP_LOG(1, 1, " <-%s\n", call.with_place);
}

[[gnu::cold]] void report_failed_call(const FinishedCall& finished) {
  ZOLP_ERROR(" %s returned %d \n", finished.call.in_detail, finished.status);
  HostPtr<char> text;
  ERR_get_error_text(finished.status, out(text));
  ZOLP_ERROR("--%s--\n", text.get());
}

}  // namespace

void write_entry(const char* text, Place place) {
  ZOLP_LOG(1, 1, " ->%s %s:%d\n", text, place.file, place.line);
  ZOLP_IncTraceSpaces();
}

void write_exit(const char* text, Place place) {
  ZOLP_DecTraceSpaces();
  ZOLP_LOG(1, 1, " <-%s %s:%d\n", text, place.file, place.line);
}

int print_failure(int status, Place place) {
  std::printf("ERROR: File:%s [line:%d] (ifail %d)\n", place.file, place.line, status);
  return status;
}

Moment write_start(const Call& call) {
  const Moment start = ZOLP_trace_state.level >= ZOLP_LEVEL_TRACE ? this_moment() : unknown_moment;
  ZOLP_LOG(1, 1, " ->%s\n", call.with_place);
  ZOLP_IncTraceSpaces();
  return start;
}

int finish_traced(FinishedCall finished) {
  const Call& call = finished.call;
  ZOLP_TRACE(" %s\n", call.in_detail);
  const std::int32_t duration = milliseconds_since(finished.start);
  if (duration > slow_call_milliseconds) [[unlikely]] {
    ZOLP_TRACE("%ds for call %s\n", duration / 1000, call.in_detail);
  }
  if (finished.status != ORK_ok) [[unlikely]] {
    report_failed_call(finished);
  }
  write_call_exit(call);
  return finished.status;
}

int finish_guarded(FinishedCall finished) {
  const Call& call = finished.call;
  const int status = finished.status;
  const std::int32_t duration = milliseconds_since(finished.start);
  if (duration > slow_call_milliseconds) [[unlikely]] {
    ZOLP_TRACE("##Long Call: %s   %ds %s:%d\n", call.text, duration / 1000, call.place.file,
               call.place.line);
  }
  if (status != ORK_ok) {
    ZOLP_ERROR("##ORK_err_%d: %s   %s:%d\n", status, call.text, call.place.file, call.place.line);
    ZOLP_ReportLastOrkError(status);
  }
  write_call_exit(call);
  return status;
}

}  // namespace orktool
