// Calls one by one, each written when it ends: for timeline viewers, and as plain JSON.

#include <algorithm>
#include <array>
#include <cstdio>

#include "trace/site_groups.h"
#include "trace_formats.h"

namespace tool {

namespace {

using Kind = trace::CallEvent::Kind;
using trace::Ending;

std::string_view ending_text(Ending ending) {
  static constexpr std::array<std::string_view, 4> texts = {"left", "early", "implied", "open"};
  return texts[static_cast<size_t>(ending)];
}

/** Nanoseconds in a larger unit, with all their places: 1.25 is written as 1.250. */
template <unsigned Places>
std::string decimal(int64_t nanoseconds) {
  constexpr uint64_t unit = Places == 3 ? 1'000 : 1'000'000;
  const uint64_t size = static_cast<uint64_t>(nanoseconds < 0 ? -nanoseconds : nanoseconds);
  char text[32];
  std::snprintf(text, sizeof text, "%s%llu.%0*u", nanoseconds < 0 ? "-" : "",
                static_cast<unsigned long long>(size / unit), static_cast<int>(Places),
                static_cast<unsigned>(size % unit));
  return text;
}
constexpr auto microseconds = decimal<3>;
constexpr auto milliseconds = decimal<6>;

/** What is the same for all calls of a site, as members of a JSON object; made once for each. */
class SiteMembers {
 public:
  template <typename Make>
  const std::string& of(uint32_t site, const Make& make) {
    members_.resize(std::max(members_.size(), size_t{site} + 1));
    if (members_[site].empty()) {
      members_[site] = make();
    }
    return members_[site];
  }

 private:
  std::vector<std::string> members_;
};

/** What the calls of a lane begin with; `Call` is what is known of one that is open. */
template <typename Call>
class OpenCalls {
 public:
  std::vector<Call>& of(uint32_t lane) {
    lanes_.resize(std::max(lanes_.size(), size_t{lane} + 1));
    return lanes_[lane];
  }

 private:
  std::vector<std::vector<Call>> lanes_;
};

/** How a call ended, as members of a JSON object, where there is more to say than that it did. */
std::string ending_members(const trace::CallEvent& event) {
  std::string members;
  if (event.knows_status) {
    members += R"(,"status":)" + std::to_string(event.status);
  }
  if (event.has_failed) {
    members += R"(,"failed":true)";
  }
  if (!event.text.empty()) {
    members += R"(,"error":)" + json_text(event.text);
  }
  if (event.ending != Ending::left) {
    members += R"(,"ending":")" + std::string(ending_text(event.ending)) + '"';
  }
  return members;
}

/** The lanes as processes and threads of a timeline, which all begin at the first one's time. */
class Timeline {
 public:
  Timeline(SelectedCalls& calls, DocumentWriter& to) : calls_(calls), to_(to) {}

  /** Begins an entry. */
  DocumentWriter& next() { return to_ << (count_++ == 0 ? "\n" : ",\n"); }

  /** The process and thread of a lane, as members; when it is first met, what they are called. */
  const std::string& track(uint32_t number) {
    tracks_.resize(std::max(tracks_.size(), size_t{number} + 1));
    std::string& track = tracks_[number];
    if (track.empty()) {
      const trace::Lane& lane = calls_.lane(number);
      const uint64_t process = lane.process != 0 ? lane.process : uint64_t{number} + 1;
      track = R"("pid":)" + std::to_string(process) + R"(,"tid":)" + std::to_string(lane.thread);
      name("process_name", track, lane.program.empty() ? lane.file : lane.program);
      name("thread_name", track, lane_text(lane));
    }
    return track;
  }

  /** How much later than the first one's the times of a lane begin. */
  int64_t offset(const trace::Lane& lane) {
    if (lane.start == trace::unknown_time) {
      return 0;
    }
    begin_ = begin_ == trace::unknown_time ? lane.start : begin_;
    return lane.start - begin_;
  }

 private:
  void name(const char* what, const std::string& track, const std::string& name) {
    next() << R"({"ph":"M","name":")" << what << R"(",)" << track << R"(,"args":{"name":)"
           << json_text(name) << "}}";
  }

  SelectedCalls& calls_;
  DocumentWriter& to_;
  size_t count_ = 0;
  int64_t begin_ = trace::unknown_time;
  std::vector<std::string> tracks_;
};

}  // namespace

size_t write_chrome(SelectedCalls& calls, DocumentWriter& to) {
  trace::SiteGroups groups(calls.sites(), trace::GroupBy::name);
  SiteMembers members;
  CallClock clock;
  OpenCalls<int64_t> open;
  Timeline timeline(calls, to);
  size_t count = 0;
  to << R"({"displayTimeUnit":"ns","otherData":{"exporter":"zolp )" << ZOLP_TOOL_VERSION
     << R"("},"traceEvents":[)";
  calls.read([&](const trace::CallEvent& event) {
    const trace::Lane& lane = calls.lane(event.lane);
    const int64_t at = clock.moment(event, lane);
    if (event.kind == Kind::enter) {
      return open.of(event.lane).push_back(at);
    }
    ++count;
    const int64_t begin = open.of(event.lane).back();
    open.of(event.lane).pop_back();
    const trace::CallSite& site = calls.sites()[event.site];
    const std::string& track = timeline.track(event.lane);
    // Without times each call counts as a microsecond.
    const int64_t unit = lane.has_times ? 1 : 1000;
    timeline.next() << R"({"ph":"X",)" << track << R"(,"ts":)"
                    << microseconds(begin * unit + timeline.offset(lane)) << R"(,"dur":)"
                    << microseconds((at - begin) * unit)
                    << members.of(event.site,
                                  [&] {
                                    return R"(,"name":)" +
                                           json_text(groups.name(groups.of(event.site))) +
                                           R"(,"cat":)" +
                                           (site.kind == trace::CallKind::frame ? R"("function")"
                                                                                : R"("call")") +
                                           R"(,"args":{"text":)" + json_text(site.text) +
                                           R"(,"place":)" + json_text(trace::place_of(site));
                                  })
                    << ending_members(event) << "}}";
  });
  calls.input().has_times();
  to << "]}\n";
  return count;
}

size_t write_calls_json(SelectedCalls& calls, DocumentWriter& to) {
  SiteMembers members;
  OpenCalls<int64_t> open;
  int64_t count = 0;
  bool is_first = true;
  to << R"({"calls":[)";
  calls.read([&](const trace::CallEvent& event) {
    std::vector<int64_t>& around = open.of(event.lane);
    if (event.kind == Kind::enter) {
      return around.push_back(++count);
    }
    const int64_t number = around.back();
    around.pop_back();
    to << (is_first ? "\n" : ",\n") << R"({"id":)" << number << R"(,"parent":)"
       << (around.empty() ? "null" : std::to_string(around.back())) << R"(,"lane":)"
       << int64_t{event.lane} << members.of(event.site, [&] {
            const std::string site = site_json(calls.sites()[event.site])
                                         .dump(-1, ' ', true, Json::error_handler_t::replace);
            return "," + site.substr(1, site.size() - 2);
          });
    is_first = false;
    if (event.entered != trace::unknown_time) {
      to << R"(,"entered_ms":)" << milliseconds(event.entered);
    }
    if (event.duration() != trace::unknown_time) {
      to << R"(,"duration_ms":)" << milliseconds(event.duration());
    }
    to << ending_members(event) << "}";
  });
  calls.input().has_times();
  to << R"(],"lanes":[)";
  for (uint32_t number = 0; number < calls.lane_count(); ++number) {
    const trace::Lane& lane = calls.lane(number);
    Json json = lane_json(lane);
    json["program"] = lane.program.empty() ? Json(nullptr) : Json(lane.program);
    json["start_ns"] = lane.start != trace::unknown_time ? Json(lane.start) : Json(nullptr);
    to << (number == 0 ? "\n" : ",\n") << json.dump(-1, ' ', true, Json::error_handler_t::replace);
  }
  to << "]}\n";
  return static_cast<size_t>(count);
}

}  // namespace tool
