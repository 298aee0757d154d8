#include "call_frame.h"

#include <cstdio>

#include "clock.h"
#include "host_memory.h"
#include "ork/err.h"
#include "zolp_basetool.h"
#include "zolp_orktool.h"

namespace orktool {
namespace {

constexpr std::int32_t slow_call_milliseconds = 1000;

/** Time since a call began, 0 for one that is not timed; the clock may wrap around meanwhile. */
std::int32_t duration_of(const StartedCall& call) {
  if (!call.start_time.is_known) {
    return 0;
  }
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(ticked_milliseconds()) -
                                   static_cast<std::uint32_t>(call.start_time.milliseconds));
}

[[gnu::cold]] void report_failed_call(const StartedCall& call, int status) {
  ZOLP_ERROR(" File:%s Line:%d Funktion:%s returned %d \n", call.place.file, call.place.line,
             call.text, status);
  HostPtr<char> text;
  ERR_get_error_text(status, out(text));
  ZOLP_ERROR("--%s--\n", text.get());
}

}  // namespace

void write_entry(const char* text, Place place) {
  ZOLP_LOG(1, 1, " ->%s %s:%d\n", text, place.file, place.line);
}

void write_exit(const char* text, Place place) {
  ZOLP_LOG(1, 1, " <-%s %s:%d\n", text, place.file, place.line);
}

int print_failure(int status, Place place) {
  std::printf("ERROR: File:%s [line:%d] (ifail %d)\n", place.file, place.line, status);
  return status;
}

StartTime write_start(const char* text, Place place) {
  const bool is_timed = ZOLP_IsTraced(ZOLP_LEVEL_TRACE) != 0;
  const std::int32_t start_time = is_timed ? ticked_milliseconds() : 0;
  write_entry(text, place);
  return {is_timed, start_time};
}

int finish_traced(FinishedCall call) {
  const char* const text = call.started.text;
  const Place& place = call.started.place;
  ZOLP_TRACE(" File:%s Line:%d Funktion:%s\n", place.file, place.line, text);
  const std::int32_t duration = duration_of(call.started);
  if (duration > slow_call_milliseconds) [[unlikely]] {
    ZOLP_TRACE("%ds for call File:%s Line:%d Funktion:%s\n", duration / 1000, place.file,
               place.line, text);
  }
  if (call.status != ORK_ok) {
    report_failed_call(call.started, call.status);
  }
  leave_frame(text, place);
  return call.status;
}

int finish_guarded(FinishedCall call) {
  const char* const text = call.started.text;
  const Place& place = call.started.place;
  const std::int32_t duration = duration_of(call.started);
  if (duration > slow_call_milliseconds) [[unlikely]] {
    ZOLP_TRACE("##Long Call: %s   %ds %s:%d\n", text, duration / 1000, place.file, place.line);
  }
  if (call.status != ORK_ok) {
    ZOLP_ERROR("##ORK_err_%d: %s   %s:%d\n", call.status, text, place.file, place.line);
    ZOLP_ReportLastOrkError(call.status);
  }
  leave_frame(text, place);
  return call.status;
}

}  // namespace orktool
