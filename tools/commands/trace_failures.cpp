/** @file `zolp trace failures`: the calls that failed, each with its callers. */
#include <algorithm>
#include <map>
#include <tuple>

#include "commands/trace.h"
#include "trace/chain_tree.h"

namespace tool {

namespace {

/** Failures that are alike: of one chain of callers, with one status and text. */
struct Failure {
  uint64_t count = 0;
  uint32_t node = 0;
  uint32_t site = 0;
  int32_t status = 0;
  std::string text;
  uint32_t lane = 0;
  uint64_t position = 0; /**< of the first one */
  int64_t time = trace::unknown_time;
};

class Failures {
 public:
  void add(const trace::CallEvent& event, uint32_t node, bool is_call) {
    if (event.kind != trace::CallEvent::Kind::leave || !event.has_failed || !is_call) {
      return;
    }
    const auto [known, is_new] = known_.try_emplace(
        {node, event.site, event.status, without_numbers(event.text)}, found_.size());
    if (is_new) {
      found_.push_back({0, node, event.site, event.status, std::string(event.text), event.lane,
                        event.position, event.time});
    }
    ++found_[known->second].count;
  }

  const std::vector<Failure>& found() const { return found_; }

 private:
  std::map<std::tuple<uint32_t, uint32_t, int32_t, std::string>, size_t> known_;
  std::vector<Failure> found_;
};

void print_failure(const Failure& failure, const trace::ChainTree& chains, TraceInput& input,
                   const Colours& colours) {
  const trace::CallSite& site = input.sites()[failure.site];
  const trace::Lane& lane = input.reader().lanes()[failure.lane];
  std::string times = failure.count > 1 ? ", " + counted(failure.count, "time") : "";
  std::printf("%s%s failed with %d%s%s%s%s\n", colours.failure, printable(site.text).c_str(),
              failure.status, times.c_str(), failure.text.empty() ? "" : ": ",
              printable(failure.text).c_str(), colours.plain);
  std::printf("  at %s, %s%s", printable(place_of(site)).c_str(), failure.count > 1 ? "first " : "",
              position_text(lane, failure.position).c_str());
  if (failure.time != trace::unknown_time) {
    std::printf(", after %s", duration_text(std::max<int64_t>(failure.time, 0)).c_str());
  }
  std::puts("");
  print_callers(chains, failure.node, "  ");
}

Json failure_json(const Failure& failure, const trace::ChainTree& chains, TraceInput& input) {
  Json json = site_json(input.sites()[failure.site]);
  json["status"] = failure.status;
  json["error"] = failure.text;
  json["count"] = failure.count;
  json["first"] = lane_json(input.reader().lanes()[failure.lane]);
  json["first"]["position"] = failure.position;
  json["first"]["time_ms"] = milliseconds_json(failure.time);
  json["callers"] = callers_json(chains, failure.node);
  return json;
}

void show_failures(const TraceOptions& options) {
  TraceInput input(options);
  trace::SiteGroups groups(input.sites(), trace::GroupBy::text);
  trace::ChainTree chains(groups);
  Failures failures;
  uint64_t calls = 0;
  input.read([&](const trace::CallEvent& event) {
    calls += event.kind == trace::CallEvent::Kind::enter ? 1 : 0;
    const uint32_t node = chains.add(event);
    failures.add(event, node, input.sites()[event.site].kind != trace::CallKind::frame);
  });
  if (options.json) {
    Json list = Json::array();
    for (const Failure& failure : failures.found()) {
      list.push_back(failure_json(failure, chains, input));
    }
    return print_json(list);
  }
  const Colours shown = colours();
  const Pager pager;
  uint64_t count = 0;
  for (const Failure& failure : failures.found()) {
    print_failure(failure, chains, input, shown);
    count += failure.count;
  }
  std::printf("%s of %s failed\n", std::to_string(count).c_str(), counted(calls, "call").c_str());
}

}  // namespace

void add_trace_failures(CommandParser& group) {
  CommandParser& command = group.add_command(
      "failures", "Print each failed call with its callers, place and error text");
  const auto options = std::make_shared<TraceOptions>();
  add_trace_input(command, *options);
  command.footer(
      "\nFailures of one chain of callers, with one status and an error text that differs in\n"
      "numbers alone, are one, with their count. A function that calls itself stands in the chain\n"
      "once.\n\n"
      "Example: zolp trace failures run.trace");
  command.callback([options] { show_failures(*options); });
}

}  // namespace tool
