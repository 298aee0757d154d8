/** @file `zolp trace summary`: what the calls of each function took altogether. */
#include <algorithm>
#include <map>
#include <numeric>

#include "commands/trace.h"
#include "trace/call_totals.h"

namespace tool {

namespace {

struct SummaryOptions : TraceOptions {
  std::string by;
  std::string per = "name";
  size_t top = 0;
};

using trace::CallTotal;
using trace::GroupBy;

const std::map<std::string, GroupBy> groupings = {{"name", GroupBy::name},
                                                  {"call", GroupBy::text},
                                                  {"place", GroupBy::place},
                                                  {"file", GroupBy::file},
                                                  {"module", GroupBy::module_}};

using Key = int64_t (*)(const CallTotal&);

const std::map<std::string, Key> keys = {
    {"total", [](const CallTotal& total) { return total.total; }},
    {"own", [](const CallTotal& total) { return total.own; }},
    {"count", [](const CallTotal& total) { return static_cast<int64_t>(total.count); }},
    {"failed", [](const CallTotal& total) { return static_cast<int64_t>(total.failures); }},
    {"min", [](const CallTotal& total) { return total.durations.min(); }},
    {"mean", [](const CallTotal& total) { return total.durations.mean(); }},
    {"99%", [](const CallTotal& total) { return total.durations.percentile(99); }},
    {"max", [](const CallTotal& total) { return total.durations.max(); }}};

/** The groups in the order in which they are shown. */
std::vector<uint32_t> sorted_groups(const trace::CallTotals& calls, const std::string& by) {
  std::vector<uint32_t> order(calls.totals().size());
  std::iota(order.begin(), order.end(), 0U);
  const auto name_comes_first = [&](uint32_t one, uint32_t other) {
    return calls.groups().name(one) < calls.groups().name(other);
  };
  if (by == "name") {
    std::stable_sort(order.begin(), order.end(), name_comes_first);
    return order;
  }
  std::vector<int64_t> values;
  for (const CallTotal& total : calls.totals()) {
    values.push_back(keys.at(by)(total));
  }
  std::stable_sort(order.begin(), order.end(), [&](uint32_t one, uint32_t other) {
    return values[one] != values[other] ? values[one] > values[other]
                                        : name_comes_first(one, other);
  });
  return order;
}

void print_table(const trace::CallTotals& calls, const std::vector<uint32_t>& order,
                 bool has_times) {
  std::vector<std::string> headings = {"count", "failed"};
  if (has_times) {
    headings.insert(headings.end(), {"total", "own", "min", "mean", "99 %", "max"});
  }
  const size_t numbers = headings.size();
  headings.insert(headings.end(), {"call", "first place"});
  Table table(headings, numbers);
  for (const uint32_t group : order) {
    const CallTotal& total = calls.totals()[group];
    std::vector<std::string> row = {std::to_string(total.count),
                                    total.failures == 0 ? "" : std::to_string(total.failures)};
    if (has_times && total.durations.count() == 0) {
      row.resize(numbers);
    } else if (has_times) {
      for (const int64_t duration :
           {total.total, total.own, total.durations.min(), total.durations.mean(),
            total.durations.percentile(99), total.durations.max()}) {
        row.push_back(duration_text(duration));
      }
    }
    row.push_back(calls.groups().name(group));
    row.push_back(place_of(calls.groups().site(group)));
    table.add_row(row);
  }
  table.print();
}

Json row_json(const trace::CallTotals& calls, uint32_t group) {
  const CallTotal& total = calls.totals()[group];
  Json row = {{"name", calls.groups().name(group)},
              {"file", calls.groups().site(group).file},
              {"line", calls.groups().site(group).line},
              {"count", total.count},
              {"failed", total.failures},
              {"unfinished", total.unfinished}};
  const bool is_timed = total.durations.count() > 0;
  const auto add = [&](const char* name, int64_t duration) {
    row[name] = is_timed ? milliseconds_json(duration) : Json(nullptr);
  };
  add("total_ms", total.total);
  add("own_ms", total.own);
  add("min_ms", total.durations.min());
  add("mean_ms", total.durations.mean());
  add("p99_ms", total.durations.percentile(99));
  add("max_ms", total.durations.max());
  return row;
}

void summarise(const SummaryOptions& options) {
  TraceInput input(options);
  trace::CallTotals calls(input.sites(), groupings.at(options.per));
  input.read([&](const trace::CallEvent& event) { calls.add(event); });
  const bool has_times = input.has_times();
  std::vector<uint32_t> order = sorted_groups(calls, !options.by.empty() ? options.by
                                                     : has_times         ? "total"
                                                                         : "count");
  const size_t hidden =
      options.top == 0 || options.top >= order.size() ? 0 : order.size() - options.top;
  order.resize(order.size() - hidden);
  const CallTotal sum = calls.sum();
  if (options.json) {
    Json rows = Json::array();
    for (const uint32_t group : order) {
      rows.push_back(row_json(calls, group));
    }
    return print_json({{"calls", sum.count},
                       {"failed", sum.failures},
                       {"unfinished", sum.unfinished},
                       {"own_ms", has_times ? milliseconds_json(sum.own) : Json(nullptr)},
                       {"rows", rows}});
  }
  print_table(calls, order, has_times);
  std::string last = counted(sum.count, "call") + ", " + std::to_string(sum.failures) + " failed";
  if (sum.unfinished > 0) {
    last += ", " + std::to_string(sum.unfinished) + " unfinished";
  }
  if (has_times) {
    last += ", " + duration_text(sum.own);
  }
  if (hidden > 0) {
    last += "; " + counted(hidden, "row") + " more without --top";
  }
  std::printf("%s\n", last.c_str());
}

}  // namespace

void add_trace_summary(CommandParser& group) {
  CommandParser& command = group.add_command(
      "summary", "Print how often each function was called, what failed and what it took");
  const auto options = std::make_shared<SummaryOptions>();
  add_trace_input(command, *options);
  command
      .add_option("--by", options->by,
                  "Sort by total, own, count, failed, min, mean, 99%, max or name; by total when "
                  "left out, by count where there are no times")
      .type_name("COLUMN")
      .one_of({"total", "own", "count", "failed", "min", "mean", "99%", "max", "name"});
  command
      .add_option("--per", options->per,
                  "One row per name, per call with its arguments, per place, per file or per "
                  "module (ORK, PREF)")
      .type_name("WHAT")
      .shows_preset()
      .one_of({"name", "call", "place", "file", "module"});
  command.add_option("--top", options->top, "Print so many rows")
      .type_name("N")
      .range(size_t{1}, size_t{1'000'000'000});
  command.footer(
      "\nTotal counts a call that goes on inside another of its row once; own is without the "
      "calls\n"
      "that it made. 99 % of the calls took no longer than the 99 % column says, to 3 % exactly.\n"
      "A function counts as failed when a guarded call has ended it.\n\n"
      "Example: zolp trace summary run.trace --top 10");
  command.callback([options] { summarise(*options); });
}

}  // namespace tool
