/** @file `zolp trace slow`: the calls that took longest, each with its callers. */
#include <algorithm>

#include "call_selection.h"
#include "commands/trace.h"
#include "trace/chain_tree.h"

namespace tool {

namespace {

struct SlowOptions : TraceOptions {
  size_t top = 10;
  bool own = false;
  std::vector<std::string> only;
};

struct SlowCall {
  int64_t rank = 0; /**< by which it is compared */
  int64_t duration = 0;
  int64_t own = 0;
  int64_t entered = 0;
  uint32_t node = 0;
  uint32_t lane = 0;
  uint32_t site = 0;
  uint64_t position = 0;

  bool operator<(const SlowCall& other) const {
    return rank != other.rank ? rank > other.rank : entered < other.entered;
  }
};

/** The slowest calls so far; the fastest of them stands first. */
class SlowestCalls {
 public:
  explicit SlowestCalls(size_t most) : most_(most) {}

  void add(const SlowCall& call) {
    if (calls_.size() == most_) {
      if (!(call < calls_.front())) {
        return;
      }
      std::pop_heap(calls_.begin(), calls_.end());
      calls_.pop_back();
    }
    calls_.push_back(call);
    std::push_heap(calls_.begin(), calls_.end());
  }

  std::vector<SlowCall> sorted() const {
    std::vector<SlowCall> sorted = calls_;
    std::sort_heap(sorted.begin(), sorted.end());
    return sorted;
  }

 private:
  size_t most_;
  std::vector<SlowCall> calls_;
};

void print_call(const SlowCall& call, const trace::ChainTree& chains, TraceInput& input,
                const Colours& colours) {
  const trace::CallSite& site = input.sites()[call.site];
  std::printf("%s%s%s, own %s: %s%s%s\n", colours.failure, duration_text(call.duration).c_str(),
              colours.plain, duration_text(call.own).c_str(), colours.name,
              printable(site.text).c_str(), colours.plain);
  std::printf("  at %s, %s, after %s\n", printable(place_of(site)).c_str(),
              position_text(input.reader().lanes()[call.lane], call.position).c_str(),
              duration_text(std::max<int64_t>(call.entered, 0)).c_str());
  print_callers(chains, call.node, "  ");
}

Json call_json(const SlowCall& call, const trace::ChainTree& chains, TraceInput& input) {
  Json json = site_json(input.sites()[call.site]);
  json["duration_ms"] = milliseconds_json(call.duration);
  json["own_ms"] = milliseconds_json(call.own);
  json["entered_ms"] = milliseconds_json(call.entered);
  json["lane"] = lane_json(input.reader().lanes()[call.lane]);
  json["position"] = call.position;
  json["callers"] = callers_json(chains, call.node);
  return json;
}

/** Where there are no times: the chains whose calls were made most often. */
void print_most_frequent(const SlowOptions& options, const trace::ChainTree& chains,
                         const TraceNames& only) {
  std::vector<uint32_t> nodes;
  for (uint32_t node = 1; node < chains.size(); ++node) {
    if (only.is_empty() || only.fit(chains.groups().site(chains[node].group))) {
      nodes.push_back(node);
    }
  }
  std::stable_sort(nodes.begin(), nodes.end(), [&](uint32_t one, uint32_t other) {
    return chains[one].count > chains[other].count;
  });
  nodes.resize(std::min(nodes.size(), options.top));
  for (const uint32_t node : nodes) {
    const trace::CallSite& site = chains.groups().site(chains[node].group);
    std::printf("%s: %s\n  at %s\n", counted(chains[node].count, "call").c_str(),
                printable(site.text).c_str(), printable(place_of(site)).c_str());
    print_callers(chains, node, "  ");
  }
}

void show_slowest(const SlowOptions& options) {
  TraceInput input(options);
  const TraceNames only(options.only);
  trace::SiteGroups groups(input.sites(), trace::GroupBy::text);
  trace::ChainTree chains(groups);
  SlowestCalls slowest(options.top);
  std::vector<std::vector<uint64_t>> entries;  // by lane and depth: where they stand
  input.read([&](const trace::CallEvent& event) {
    const uint32_t node = chains.add(event);
    if (event.kind == trace::CallEvent::Kind::enter) {
      entries.resize(std::max<size_t>(entries.size(), event.lane + 1));
      entries[event.lane].resize(event.depth);
      entries[event.lane].push_back(event.position);
      return;
    }
    const int64_t duration = event.duration();
    if (duration == trace::unknown_time ||
        (!only.is_empty() && !only.fit(input.sites()[event.site]))) {
      return;
    }
    const int64_t own = chains.latest_own();
    slowest.add({options.own ? own : duration, duration, own, event.entered, node, event.lane,
                 event.site, entries[event.lane][event.depth]});
  });
  const bool has_times = input.has_times();
  if (options.json) {
    Json list = Json::array();
    for (const SlowCall& call : slowest.sorted()) {
      list.push_back(call_json(call, chains, input));
    }
    return print_json(list);
  }
  if (!has_times) {
    return print_most_frequent(options, chains, only);
  }
  const Colours shown = colours();
  for (const SlowCall& call : slowest.sorted()) {
    print_call(call, chains, input, shown);
  }
}

}  // namespace

void add_trace_slow(CommandParser& group) {
  CommandParser& command =
      group.add_command("slow", "Print the slowest calls, each with its callers");
  const auto options = std::make_shared<SlowOptions>();
  add_trace_input(command, *options);
  command.add_option("--top", options->top, "How many")
      .type_name("N")
      .shows_preset()
      .range(size_t{1}, size_t{1'000'000});
  command.add_flag("--own", options->own,
                   "Compare the time that calls took without those that they made");
  add_call_names(command, "--only", options->only,
                 "Only calls of these names, with *, as in PREF_*");
  command.footer(
      "\nA caller takes at least as long as what it calls; --own tells where the time went.\n"
      "Without times, the calls that were made most often are printed.\n\n"
      "Example: zolp trace slow run.rec --own --top 3");
  command.callback([options] { show_slowest(*options); });
}

}  // namespace tool
