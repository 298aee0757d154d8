#include "trace_input.h"

#include <array>
#include <cmath>
#include <cstdio>

namespace tool {

namespace {

trace::ReadOptions completed(trace::ReadOptions how, const TraceOptions& options) {
  how.older_parts = !options.without_parts;
  return how;
}

}  // namespace

TraceInput::TraceInput(const TraceOptions& options, const std::vector<std::string>& files,
                       trace::ReadOptions how)
    : sites_(own_sites_), reader_(sites_, files, completed(std::move(how), options)) {}

TraceInput::TraceInput(trace::CallSites& sites, const TraceOptions& options,
                       const std::vector<std::string>& files)
    : sites_(sites), reader_(sites_, files, completed({}, options)) {}

void TraceInput::tell_remarks() const {
  std::fflush(stdout);
  for (const std::string& remark : reader_.remarks()) {
    std::fprintf(stderr, "zolp: %s\n", printable(remark).c_str());
  }
}

bool TraceInput::has_times() const {
  if (!reader_.has_times() && has_events_) {
    std::fflush(stdout);
    std::fputs(
        "zolp: the trace has no times: trace with ZOLP_TRACE_PREFIX=time, or record with "
        "ZOLP_TRACE_RECORD\n",
        stderr);
  }
  return reader_.has_times();
}

std::string duration_text(int64_t nanoseconds) {
  static constexpr std::array units = {"ns", "\u00b5s", "ms", "s"};
  auto value = static_cast<double>(nanoseconds);
  size_t unit = 0;
  while (std::fabs(value) >= 999.5 && unit + 1 < units.size()) {
    value /= 1000;
    ++unit;
  }
  const int places = unit == 0 || std::fabs(value) >= 99.95 ? 0 : std::fabs(value) >= 9.995 ? 1 : 2;
  char text[48];
  std::snprintf(text, sizeof text, "%.*f %s", places, value, units[unit]);
  return text;
}

Json milliseconds_json(int64_t nanoseconds) {
  if (nanoseconds == trace::unknown_time) {
    return nullptr;
  }
  return static_cast<double>(nanoseconds) * 1e-6;
}

Json site_json(const trace::CallSite& site) {
  static constexpr std::array kinds = {"function", "call", "guarded call"};
  return {{"name", site.name},
          {"text", site.text},
          {"kind", kinds[static_cast<size_t>(site.kind)]},
          {"file", site.file},
          {"line", site.line}};
}

std::string lane_text(const trace::Lane& lane) {
  std::string text = lane.file;
  if (lane.process != 0) {
    text += ", process " + std::to_string(lane.process);
  }
  if (lane.thread > 1) {
    text += ", thread " + std::to_string(lane.thread);
  }
  return text;
}

Json lane_json(const trace::Lane& lane) {
  Json json = {{"file", lane.file}};
  json["process"] = lane.process != 0 ? Json(lane.process) : Json(nullptr);
  json["thread"] = lane.thread != 0 ? Json(lane.thread) : Json(nullptr);
  return json;
}

}  // namespace tool
