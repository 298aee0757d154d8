// The format of speedscope: frames that all profiles share, and for each lane its calls as events
// that open and close them. A call that failed is a frame of its own, so that it can be searched
// for.

#include <algorithm>
#include <map>
#include <tuple>

#include "trace/site_groups.h"
#include "trace_formats.h"

namespace tool {

namespace {

using Kind = trace::CallEvent::Kind;

/** The frames, in the order in which they are written. */
class Frames {
 public:
  explicit Frames(const trace::CallSites& sites) : groups_(sites, trace::GroupBy::name) {}

  uint32_t number_of(uint32_t site) {
    const uint32_t group = groups_.of(site);
    if (group >= usual_.size()) {
      usual_.resize(size_t{group} + 1, none);
      sites_.resize(size_t{group} + 1, none);
    }
    // One place can be told, not many.
    sites_[group] = sites_[group] == none || sites_[group] == site ? site : many;
    return usual_[group] != none ? usual_[group] : usual_[group] = number_of_group(group, "");
  }

  /** Of a call that has failed, or a function that one has ended. */
  uint32_t number_of_failed(const trace::CallEvent& event) {
    return number_of_group(groups_.of(event.site),
                           event.knows_status && event.status != 0
                               ? " failed with " + std::to_string(event.status)
                               : " failed");
  }

  void write(DocumentWriter& to) const {
    for (const auto& [group, ending] : frames_) {
      to << (&frames_.front().first == &group ? "\n" : ",\n") << R"({"name":)"
         << json_text(groups_.name(group) + ending);
      if (sites_[group] != many) {
        const trace::CallSite& site = groups_.site(group);
        to << R"(,"file":)" << json_text(site.file) << R"(,"line":)" << int64_t{site.line};
      }
      to << "}";
    }
  }

 private:
  uint32_t number_of_group(uint32_t group, const std::string& ending) {
    const auto [known, is_new] =
        numbers_.try_emplace({group, ending}, static_cast<uint32_t>(frames_.size()));
    if (is_new) {
      frames_.emplace_back(group, ending);
    }
    return known->second;
  }

  static constexpr uint32_t none = UINT32_MAX;
  static constexpr uint32_t many = UINT32_MAX - 1;

  trace::SiteGroups groups_;
  std::vector<uint32_t> usual_; /**< by group, of calls that have not failed */
  std::vector<uint32_t> sites_; /**< by group */
  std::map<std::pair<uint32_t, std::string>, uint32_t> numbers_;
  std::vector<std::pair<uint32_t, std::string>> frames_;
};

struct FrameEvent {
  int64_t at = 0;
  uint32_t frame = 0;
  bool is_end = false;
};

/** The events of a lane, and the numbers of those that opened what is open. */
struct LaneEvents {
  std::vector<FrameEvent> events;
  std::vector<size_t> open;

  void add(const trace::CallEvent& event, int64_t at, Frames& frames) {
    if (event.kind == Kind::enter) {
      open.push_back(events.size());
      events.push_back({at, frames.number_of(event.site), false});
      return;
    }
    FrameEvent& begin = events[open.back()];
    open.pop_back();
    if (event.has_failed) {
      begin.frame = frames.number_of_failed(event);
    }
    events.push_back({at, begin.frame, true});
  }

  void write(const trace::Lane& lane, DocumentWriter& to) const {
    to << R"({"type":"evented","name":)" << json_text(lane_text(lane)) << R"(,"unit":")"
       << (lane.has_times ? "nanoseconds" : "none") << R"(","startValue":)" << events.front().at
       << R"(,"endValue":)" << events.back().at << R"(,"events":[)";
    for (const FrameEvent& event : events) {
      to << (&event == &events.front() ? "\n" : ",\n")
         << (event.is_end ? R"({"type":"C","frame":)" : R"({"type":"O","frame":)")
         << int64_t{event.frame} << R"(,"at":)" << event.at << "}";
    }
    to << "]}";
  }
};

}  // namespace

size_t write_speedscope(SelectedCalls& calls, const std::string& title, DocumentWriter& to) {
  Frames frames(calls.sites());
  CallClock clock;
  std::vector<LaneEvents> lanes;
  size_t count = 0;
  calls.read([&](const trace::CallEvent& event) {
    lanes.resize(std::max(lanes.size(), size_t{event.lane} + 1));
    lanes[event.lane].add(event, clock.moment(event, calls.lane(event.lane)), frames);
    count += event.kind == Kind::enter ? 1 : 0;
  });
  calls.input().has_times();
  to << R"({"$schema":"https://www.speedscope.app/file-format-schema.json",)"
     << R"("exporter":"zolp )" << ZOLP_TOOL_VERSION << R"(","name":)" << json_text(title)
     << R"(,"shared":{"frames":[)";
  frames.write(to);
  to << R"(]},"profiles":[)";
  size_t longest = 0;
  int64_t active = 0;
  int64_t written = 0;
  for (uint32_t number = 0; number < lanes.size(); ++number) {
    const LaneEvents& lane = lanes[number];
    if (lane.events.empty()) {
      continue;
    }
    if (lane.events.size() > longest) {
      longest = lane.events.size();
      active = written;
    }
    to << (written++ == 0 ? "\n" : ",\n");
    lane.write(calls.lane(number), to);
  }
  to << R"(],"activeProfileIndex":)" << active << "}\n";
  return count;
}

}  // namespace tool
