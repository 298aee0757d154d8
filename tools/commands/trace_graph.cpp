/** @file `zolp trace graph`: who calls a function, and what it calls. */
#include <algorithm>
#include <tuple>
#include <unordered_map>

#include "call_selection.h"
#include "commands/trace.h"
#include "error.h"
#include "trace/durations.h"

namespace tool {

namespace {

struct GraphOptions : TraceOptions {
  std::string file;
  std::string name;
};

/** Calls that one group has made of another. */
struct Edge {
  uint64_t count = 0;
  uint64_t failures = 0;
  int64_t total = 0;
  uint32_t open = 0;
};

/** All calls, by who made them. */
class CallGraph {
 public:
  static constexpr uint32_t nobody = UINT32_MAX;

  explicit CallGraph(trace::SiteGroups& groups) : groups_(groups) {}

  void add(const trace::CallEvent& event) {
    if (event.lane >= lanes_.size()) {
      lanes_.resize(size_t{event.lane} + 1);
    }
    std::vector<uint32_t>& open = lanes_[event.lane];
    const uint32_t group = groups_.of(event.site);
    if (event.kind == trace::CallEvent::Kind::enter) {
      Edge& edge = edges_[key(open.empty() ? nobody : open.back(), group)];
      ++edge.count;
      ++edge.open;
      open.push_back(group);
      return;
    }
    open.pop_back();
    Edge& edge = edges_[key(open.empty() ? nobody : open.back(), group)];
    --edge.open;
    edge.failures += event.has_failed ? 1 : 0;
    const int64_t duration = event.duration();
    edge.total = trace::sum_of_times(
        edge.total, duration != trace::unknown_time && edge.open == 0 ? duration : 0);
  }

  using Neighbours = std::vector<std::pair<uint32_t, Edge>>;

  Neighbours callers(uint32_t group) const {
    return neighbours([&](uint32_t, uint32_t callee) { return callee == group; }, true);
  }
  Neighbours callees(uint32_t group) const {
    return neighbours([&](uint32_t caller, uint32_t) { return caller == group; }, false);
  }

 private:
  static uint64_t key(uint32_t caller, uint32_t callee) { return uint64_t{caller} << 32 | callee; }

  template <typename Wanted>
  Neighbours neighbours(const Wanted& wanted, bool are_callers) const {
    Neighbours found;
    for (const auto& [both, edge] : edges_) {
      const auto caller = static_cast<uint32_t>(both >> 32);
      const auto callee = static_cast<uint32_t>(both);
      if (wanted(caller, callee)) {
        found.emplace_back(are_callers ? caller : callee, edge);
      }
    }
    std::sort(found.begin(), found.end(), [](const auto& one, const auto& other) {
      return std::tuple(-one.second.total, -static_cast<int64_t>(one.second.count), one.first) <
             std::tuple(-other.second.total, -static_cast<int64_t>(other.second.count),
                        other.first);
    });
    return found;
  }

  trace::SiteGroups& groups_;
  std::unordered_map<uint64_t, Edge> edges_;
  std::vector<std::vector<uint32_t>> lanes_;
};

Edge sum_of(const CallGraph::Neighbours& edges) {
  Edge sum;
  for (const auto& [group, edge] : edges) {
    sum.count += edge.count;
    sum.failures += edge.failures;
    sum.total = trace::sum_of_times(sum.total, edge.total);
  }
  return sum;
}

std::string group_name(const trace::SiteGroups& groups, uint32_t group) {
  return group == CallGraph::nobody ? "(nobody that is traced)" : groups.name(group);
}

void print_neighbours(const char* title, const CallGraph::Neighbours& edges,
                      const trace::SiteGroups& groups, bool has_times) {
  std::printf("%s%s\n", title, edges.empty() ? ": nothing" : "");
  if (edges.empty()) {
    return;
  }
  std::vector<std::string> headings = {"    count", "failed"};
  if (has_times) {
    headings.emplace_back("total");
  }
  const size_t numbers = headings.size();
  headings.emplace_back("call");
  Table table(headings, numbers);
  for (const auto& [group, edge] : edges) {
    std::vector<std::string> row = {std::to_string(edge.count),
                                    edge.failures == 0 ? "" : std::to_string(edge.failures)};
    if (has_times) {
      row.push_back(duration_text(edge.total));
    }
    row.push_back(group_name(groups, group));
    table.add_row(row);
  }
  table.print();
}

Json neighbours_json(const CallGraph::Neighbours& edges, const trace::SiteGroups& groups,
                     bool has_times) {
  Json list = Json::array();
  for (const auto& [group, edge] : edges) {
    list.push_back({{"name", group == CallGraph::nobody ? Json(nullptr) : Json(groups.name(group))},
                    {"count", edge.count},
                    {"failed", edge.failures},
                    {"total_ms", has_times ? milliseconds_json(edge.total) : Json(nullptr)}});
  }
  return list;
}

void show_graph(const GraphOptions& options) {
  TraceInput input(options);
  trace::SiteGroups groups(input.sites(), trace::GroupBy::name);
  CallGraph graph(groups);
  input.read([&](const trace::CallEvent& event) { graph.add(event); });
  const TraceNames wanted({options.name});
  std::vector<uint32_t> found;
  for (uint32_t group = 0; group < groups.size(); ++group) {
    if (wanted.fit(groups.site(group))) {
      found.push_back(group);
    }
  }
  if (found.empty()) {
    throw Error("the trace has no call of " + options.name,
                "see the names that it has with zolp trace summary");
  }
  const bool has_times = input.has_times();
  Json list = Json::array();
  for (const uint32_t group : found) {
    const auto callers = graph.callers(group);
    const auto callees = graph.callees(group);
    const Edge sum = sum_of(callers);
    if (options.json) {
      list.push_back({{"name", groups.name(group)},
                      {"count", sum.count},
                      {"failed", sum.failures},
                      {"callers", neighbours_json(callers, groups, has_times)},
                      {"callees", neighbours_json(callees, groups, has_times)}});
      continue;
    }
    const Colours shown = colours();
    std::printf("%s%s%s  %s, %s failed\n", shown.name, printable(groups.name(group)).c_str(),
                shown.plain, counted(sum.count, "call").c_str(),
                std::to_string(sum.failures).c_str());
    print_neighbours("  is called by", callers, groups, has_times);
    print_neighbours("  calls", callees, groups, has_times);
  }
  if (options.json) {
    print_json(list);
  }
}

}  // namespace

void add_trace_graph(CommandParser& group) {
  CommandParser& command =
      group.add_command("graph", "Print who calls a function and what it calls");
  const auto options = std::make_shared<GraphOptions>();
  command.add_option("FILE", options->file, "Text trace or recording; - for standard input")
      .required()
      .type_name("");
  command
      .add_option("NAME", options->name,
                  "The function; * stands for any characters, commas stand between several")
      .required()
      .type_name("");
  command.add_option("MORE", options->files, "Further files").type_name("");
  add_trace_parts(command, *options);
  command.footer(
      "\nNAME() is a call as a function makes it, NAME the function itself.\n\n"
      "Example: zolp trace graph run.trace 'PREF_*'");
  command.callback([options] {
    options->files.insert(options->files.begin(), options->file);
    show_graph(*options);
  });
}

}  // namespace tool
