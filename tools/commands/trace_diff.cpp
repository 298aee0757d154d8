/** @file `zolp trace diff`: where two runs part, and what differs by then. */
#include <algorithm>
#include <array>
#include <cstdio>
#include <map>
#include <optional>
#include <span>

#include "commands/trace.h"
#include "error.h"

namespace tool {

namespace {

using trace::CallEvent;
using trace::ChainTree;

struct DiffOptions : TraceOptions {
  std::string first;
  std::string second;
  double times = 0; /**< per cent; 0 does not compare times */
  bool tags = false;
};

constexpr int same = 0;
constexpr int differs = 1;
constexpr int trouble = 2;

/** What came back from calls of a chain: how often each status and error text. */
using Results = std::map<std::pair<int32_t, std::string>, uint64_t>;

/** One of the two traces. */
class Run {
 public:
  Run(trace::CallSites& sites, trace::SiteGroups& groups, const DiffOptions& options,
      const std::string& file)
      : input_(sites, options, {file}), chains_(groups), with_tags_(options.tags) {}

  /** The next event of the first thread that is entered or left; nothing at the end. */
  const CallEvent* next() {
    while (true) {
      if (at_ == events_.size()) {
        events_ = input_.reader().read();
        at_ = 0;
        if (events_.empty()) {
          return nullptr;
        }
      }
      const CallEvent& event = events_[at_++];
      latest_node_ = chains_.add(event);
      if (event.kind == CallEvent::Kind::leave && event.has_failed) {
        ++results_[latest_node_][{event.status, comparable(event.text)}];
      }
      if (event.lane == 0) {
        return &event;
      }
    }
  }

  void read_to_end() {
    while (next() != nullptr) {
    }
    input_.tell_remarks();
  }

  std::string comparable(std::string_view text) const {
    return with_tags_ ? std::string(text) : without_numbers(text);
  }

  const ChainTree& chains() const { return chains_; }
  uint32_t latest_node() const { return latest_node_; }
  TraceInput& input() { return input_; }
  const Results& results(uint32_t node) const {
    static const Results none;
    const auto found = results_.find(node);
    return found == results_.end() ? none : found->second;
  }

 private:
  TraceInput input_;
  ChainTree chains_;
  bool with_tags_;
  std::span<const CallEvent> events_;
  size_t at_ = 0;
  uint32_t latest_node_ = ChainTree::root;
  std::map<uint32_t, Results> results_; /**< of failed calls, by node */
};

/** What one of the runs does where they part. */
struct Step {
  bool is_end = true;
  std::string text;
  std::string place;
  std::string position;
};

std::string status_text(const CallEvent& event) {
  std::string text = " returns";
  if (event.has_failed) {
    text = " fails with " + std::to_string(event.status);
    text += event.text.empty() ? "" : ": " + std::string(event.text);
  } else if (event.ending == trace::Ending::open) {
    text = " is still open when the trace ends";
  }
  return text;
}

Step step_of(Run& run, const CallEvent* event) {
  Step step;
  if (event == nullptr) {
    step.text = "nothing more";
    return step;
  }
  const trace::CallSite& site = run.input().sites()[event->site];
  step.is_end = false;
  step.text =
      site.text + (event->kind == CallEvent::Kind::enter ? " is called" : status_text(*event));
  step.place = place_of(site);
  step.position = position_text(run.input().reader().lanes()[event->lane], event->position);
  return step;
}

/** Where two runs part. */
struct Parting {
  std::vector<std::string> callers; /**< the outermost first */
  Step first, second;
};

bool is_alike(const Run& run, const CallEvent& one, const CallEvent& other) {
  return one.kind == other.kind && one.has_failed == other.has_failed &&
         one.status == other.status &&
         (!one.has_failed || run.comparable(one.text) == run.comparable(other.text)) &&
         (one.ending == trace::Ending::open) == (other.ending == trace::Ending::open);
}

/** Reads both runs side by side until they part. */
std::optional<Parting> find_parting(Run& first, Run& second, trace::SiteGroups& groups) {
  while (true) {
    const CallEvent* const one = first.next();
    const CallEvent* const other = second.next();
    if (one == nullptr && other == nullptr) {
      return std::nullopt;
    }
    if (one != nullptr && other != nullptr && groups.of(one->site) == groups.of(other->site) &&
        is_alike(first, *one, *other)) {
      continue;
    }
    Parting parting;
    const bool is_end = one == nullptr;
    Run& known = is_end ? second : first;
    const uint32_t node = known.latest_node();
    for (const uint32_t above : known.chains().chain(known.chains()[node].parent)) {
      parting.callers.push_back(groups.site(known.chains()[above].group).text);
    }
    parting.first = step_of(first, one);
    parting.second = step_of(second, other);
    return parting;
  }
}

/** A chain of calls that is not alike in both runs. */
struct Difference {
  enum class Kind { only_first, only_second, count, results, times } kind{};
  std::vector<std::string> chain;
  uint64_t first_count = 0;
  uint64_t second_count = 0;
  std::string first_text;
  std::string second_text;
};

std::string results_text(const Results& results, uint64_t count) {
  uint64_t failures = 0;
  std::string text;
  for (const auto& [result, times] : results) {
    failures += times;
    text += (text.empty() ? "" : "; ") + std::to_string(times) + " failed with " +
            std::to_string(result.first);
    text += result.second.empty() ? "" : ": " + result.second;
  }
  return failures == 0 ? "none of " + std::to_string(count) + " failed" : text;
}

class Comparison {
 public:
  Comparison(const Run& first, const Run& second, const DiffOptions& options)
      : first_(first), second_(second), options_(options) {
    compare(ChainTree::root, ChainTree::root);
  }

  const std::vector<Difference>& found() const { return found_; }

 private:
  static std::map<uint32_t, uint32_t> children(const ChainTree& chains, uint32_t node) {
    std::map<uint32_t, uint32_t> found;
    for (uint32_t child = chains[node].first_child; child != 0;
         child = chains[child].next_sibling) {
      found[chains[child].group] = child;
    }
    return found;
  }

  Difference& add(Difference::Kind kind, const ChainTree& chains, uint32_t node) {
    Difference& difference = found_.emplace_back();
    difference.kind = kind;
    for (const uint32_t at : chains.chain(node)) {
      difference.chain.push_back(chains.groups().site(chains[at].group).text);
    }
    return difference;
  }

  void compare(uint32_t one, uint32_t other) {
    const auto others = children(second_.chains(), other);
    const auto ones = children(first_.chains(), one);
    for (const auto& [group, node] : ones) {
      const auto found = others.find(group);
      if (found == others.end()) {
        add(Difference::Kind::only_first, first_.chains(), node).first_count =
            first_.chains()[node].count;
      } else {
        compare_nodes(node, found->second);
        compare(node, found->second);
      }
    }
    for (const auto& [group, node] : others) {
      if (ones.count(group) == 0) {
        add(Difference::Kind::only_second, second_.chains(), node).second_count =
            second_.chains()[node].count;
      }
    }
  }

  void compare_nodes(uint32_t one, uint32_t other) {
    const trace::ChainNode& first = first_.chains()[one];
    const trace::ChainNode& second = second_.chains()[other];
    if (first.count != second.count) {
      Difference& difference = add(Difference::Kind::count, first_.chains(), one);
      difference.first_count = first.count;
      difference.second_count = second.count;
    }
    if (first_.results(one) != second_.results(other)) {
      Difference& difference = add(Difference::Kind::results, first_.chains(), one);
      difference.first_text = results_text(first_.results(one), first.count);
      difference.second_text = results_text(second_.results(other), second.count);
    }
    const auto larger = static_cast<double>(std::max(first.total, second.total));
    const auto smaller = static_cast<double>(std::min(first.total, second.total));
    if (options_.times > 0 && larger > smaller * (1 + options_.times / 100)) {
      Difference& difference = add(Difference::Kind::times, first_.chains(), one);
      difference.first_text = duration_text(first.total);
      difference.second_text = duration_text(second.total);
    }
  }

  const Run& first_;
  const Run& second_;
  const DiffOptions& options_;
  std::vector<Difference> found_;
};

std::string joined(const std::vector<std::string>& chain) {
  std::string text;
  for (const std::string& call : chain) {
    text += (text.empty() ? "" : " > ") + call;
  }
  return printable(text);
}

void print_step(const char* mark, const char* colour, const Step& step, const Colours& shown) {
  std::printf("%s%s %s%s", colour, mark, printable(step.text).c_str(), shown.plain);
  if (!step.is_end) {
    std::printf("  %s, %s", printable(step.place).c_str(), printable(step.position).c_str());
  }
  std::puts("");
}

void print_difference(const Difference& difference, const Colours& shown) {
  const std::string chain = joined(difference.chain);
  switch (difference.kind) {
    case Difference::Kind::only_first:
      std::printf("%s- %s%s  %s\n", shown.failure, chain.c_str(), shown.plain,
                  counted(difference.first_count, "call").c_str());
      break;
    case Difference::Kind::only_second:
      std::printf("%s+ %s%s  %s\n", shown.name, chain.c_str(), shown.plain,
                  counted(difference.second_count, "call").c_str());
      break;
    case Difference::Kind::count:
      std::printf("! %s  %s, %llu in the second\n", chain.c_str(),
                  counted(difference.first_count, "call").c_str(),
                  static_cast<unsigned long long>(difference.second_count));
      break;
    case Difference::Kind::results:
    case Difference::Kind::times:
      std::printf("! %s  %s, in the second %s\n", chain.c_str(),
                  printable(difference.first_text).c_str(),
                  printable(difference.second_text).c_str());
      break;
  }
}

Json step_json(const Step& step) {
  if (step.is_end) {
    return nullptr;
  }
  return {{"text", step.text}, {"place", step.place}, {"position", step.position}};
}

Json difference_json(const Difference& difference) {
  static constexpr std::array kinds = {"only in the first", "only in the second", "count",
                                       "results", "times"};
  Json json = {{"kind", kinds[static_cast<size_t>(difference.kind)]}, {"chain", difference.chain}};
  if (difference.kind <= Difference::Kind::count) {
    json["first"] = difference.first_count;
    json["second"] = difference.second_count;
  } else {
    json["first"] = difference.first_text;
    json["second"] = difference.second_text;
  }
  return json;
}

void print_all(const DiffOptions& options, const std::optional<Parting>& parting,
               const std::vector<Difference>& differences) {
  if (options.json) {
    Json json = {{"same", !parting && differences.empty()}, {"parting", nullptr}};
    if (parting) {
      json["parting"] = {{"callers", parting->callers},
                         {"first", step_json(parting->first)},
                         {"second", step_json(parting->second)}};
    }
    json["differences"] = Json::array();
    for (const Difference& difference : differences) {
      json["differences"].push_back(difference_json(difference));
    }
    return print_json(json);
  }
  const Colours shown = colours();
  const Pager pager;
  if (parting) {
    std::printf("%sThe runs part%s%s%s\n", shown.name, parting->callers.empty() ? "" : " in ",
                joined(parting->callers).c_str(), shown.plain);
    print_step("-", shown.failure, parting->first, shown);
    print_step("+", shown.name, parting->second, shown);
  }
  if (!differences.empty()) {
    std::printf("%sWhat differs%s\n", shown.name, shown.plain);
  }
  for (const Difference& difference : differences) {
    print_difference(difference, shown);
  }
}

int compare_runs(const DiffOptions& options) {
  trace::CallSites sites;
  trace::SiteGroups groups(sites, trace::GroupBy::text);
  Run first(sites, groups, options, options.first);
  Run second(sites, groups, options, options.second);
  const std::optional<Parting> parting = find_parting(first, second, groups);
  first.read_to_end();
  second.read_to_end();
  if (options.times > 0 && (!first.input().has_times() || !second.input().has_times())) {
    throw Error("times cannot be compared", "trace both runs with times");
  }
  const Comparison comparison(first, second, options);
  print_all(options, parting, comparison.found());
  if (std::fflush(stdout) != 0) {
    throw Error("cannot write to standard output", "check where it goes");
  }
  return parting || !comparison.found().empty() ? differs : same;
}

}  // namespace

void add_trace_diff(CommandParser& group) {
  CommandParser& command = group.add_command("diff", "Print where two runs differ");
  const auto options = std::make_shared<DiffOptions>();
  command
      .add_option("A", options->first, "Trace or recording of the first run; - for standard input")
      .required()
      .type_name("");
  command.add_option("B", options->second, "The same of the second run").required().type_name("");
  command
      .add_option("--times", options->times,
                  "Compare times, too: chains that took longer by more than so many per cent")
      .type_name("PERCENT")
      .positive();
  command.add_flag("--tags", options->tags,
                   "Compare the numbers in error texts, too, such as tags of objects");
  add_trace_parts(command, *options);
  command.footer(
      "\nPrints the first step that is not alike, and then what differs per chain of callers:\n"
      "-  calls that only the first run made\n"
      "+  calls that only the second run made\n"
      "!  other counts, statuses or, with --times, times\n"
      "Below a call that only one run made nothing more is printed. A function that calls itself\n"
      "stands in a chain once; of several threads the first one is compared step by step.\n\n"
      "Exit codes: 0 the runs are alike, 1 they differ, 2 trouble.\n\n"
      "Example: zolp trace diff good.trace bad.trace");
  command.answer([options] {
    int result = trouble;
    try {
      if (options->first == "-" && options->second == "-") {
        throw usage_error("both traces come from standard input", "name a file");
      }
      result = compare_runs(*options);
    } catch (const Error& error) {
      const std::string text = error.what();
      const size_t end = text.find(": ");
      throw usage_error(text.substr(0, end), text.substr(end + 2));
    }
    return result;
  });
}

}  // namespace tool
