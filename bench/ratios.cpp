#include "ratios.h"

#include <algorithm>
#include <cstdio>
#include <deque>
#include <map>
#include <vector>

namespace bench {
namespace {

constexpr int repetitions = 15;

std::deque<Ratio>& ratios() {
  static std::deque<Ratio> all;
  return all;
}

/** Keeps the time per item of each repetition, besides what the console shows. */
class Times : public benchmark::ConsoleReporter {
 public:
  Times() : ConsoleReporter(OO_None) {}

  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.run_type != Run::RT_Iteration || run.error_occurred) {
        continue;
      }
      const auto rate = run.counters.find("items_per_second");
      times_[run.run_name.function_name].push_back(rate != run.counters.end()
                                                       ? 1 / rate->second.value
                                                       : run.real_accumulated_time /
                                                             static_cast<double>(run.iterations));
    }
    ConsoleReporter::ReportRuns(runs);
  }

  /** Median time of a benchmark in seconds; 0 when it did not run. */
  double median(const std::string& name) {
    std::vector<double>& times = times_[name];
    if (times.empty()) {
      return 0;
    }
    const auto middle = times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2);
    std::nth_element(times.begin(), middle, times.end());
    return *middle;
  }

 private:
  std::map<std::string, std::vector<double>> times_;
};

void print_table(Times& times) {
  std::printf("\n%-58s %-58s %9s %9s %6s %8s\n", "what", "against", "ns", "ns", "ratio", "at most");
  for (const Ratio& ratio : ratios()) {
    const double ours = times.median(ratio.what);
    const double peer = times.median(ratio.peer);
    if (ours == 0 || peer == 0) {
      continue;
    }
    const double allowed = peer * ratio.at_most + ratio.nanoseconds_more * 1e-9;
    std::printf("%-58s %-58s %9.1f %9.1f %6.2f %8.2f", ratio.what.c_str(), ratio.peer.c_str(),
                ours * 1e9, peer * 1e9, ours / peer, ratio.at_most);
    if (ratio.nanoseconds_more > 0) {
      std::printf(" + %.0f ns", ratio.nanoseconds_more);
    }
    std::printf("%s\n", ours > allowed ? "  missed" : "");
  }
}

}  // namespace

void compare(const Ratio& ratio, void (*ours)(benchmark::State&), void (*peer)(benchmark::State&),
             int iterations) {
  ratios().push_back(ratio);
  for (const auto& [name, function] : {std::pair{ratio.what, ours}, std::pair{ratio.peer, peer}}) {
    benchmark::RegisterBenchmark(name.c_str(), function)
        ->Iterations(iterations)
        ->Repetitions(repetitions)
        ->ReportAggregatesOnly(false)
        ->UseManualTime();
  }
}

int run(int argc, char** argv) {
  // In turns, so that a machine whose speed drifts slows both sides of a ratio alike.
  std::vector<char*> arguments(argv, argv + argc);
  char interleaving[] = "--benchmark_enable_random_interleaving=true";
  arguments.push_back(interleaving);
  int count = static_cast<int>(arguments.size());
  benchmark::Initialize(&count, arguments.data());
  if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) {
    return 2;
  }
  Times times;
  benchmark::RunSpecifiedBenchmarks(&times);
  print_table(times);
  return 0;
}

}  // namespace bench
