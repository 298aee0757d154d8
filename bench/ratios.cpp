#include "ratios.h"

#include <sys/resource.h>

#include <algorithm>
#include <cstdio>
#include <deque>
#include <map>
#include <regex>
#include <vector>

namespace bench {
namespace {

int repetitions = 15;

std::deque<Ratio>& ratios() {
  static std::deque<Ratio> all;
  return all;
}

struct Measurement {
  Amount amount;
  double (*measure)();
};

std::deque<Measurement>& measurements() {
  static std::deque<Measurement> all;
  return all;
}

/** Keeps the time per item of each repetition. The console shows those alone that went wrong. */
class Times : public benchmark::ConsoleReporter {
 public:
  Times() : ConsoleReporter(OO_None) {}

  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.error_occurred) {
        has_error_ = true;
        ConsoleReporter::ReportRuns({run});
      }
      if (run.run_type != Run::RT_Iteration || run.error_occurred) {
        continue;
      }
      const auto rate = run.counters.find("items_per_second");
      times_[run.run_name.function_name].push_back(rate != run.counters.end()
                                                       ? 1 / rate->second.value
                                                       : run.real_accumulated_time /
                                                             static_cast<double>(run.iterations));
    }
  }

  /** Times of a benchmark's repetitions in seconds, in their order; none when it did not run. */
  const std::vector<double>& of(const std::string& name) { return times_[name]; }

  bool has_error() const { return has_error_; }

 private:
  bool has_error_ = false;
  std::map<std::string, std::vector<double>> times_;
};

double median(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

/**
 * The median of the ratios of repetitions that were made in turns: it is steadier than the ratio of
 * medians, since what slows the machine for a while slows both of a pair.
 */
double ratio_of_pairs(const std::vector<double>& ours, const std::vector<double>& peer,
                      double seconds_less) {
  std::vector<double> ratios;
  for (std::size_t i = 0; i < ours.size() && i < peer.size(); ++i) {
    ratios.push_back((ours[i] - seconds_less) / peer[i]);
  }
  return median(ratios);
}

/** Returns whether all limits hold. */
bool print_table(Times& times) {
  bool holds = true;
  std::printf("\n%-58s %-58s %9s %9s %6s %8s\n", "what", "against", "ns", "ns", "ratio", "at most");
  for (const Ratio& ratio : ratios()) {
    const std::vector<double>& ours = times.of(ratio.what);
    const std::vector<double>& peer = times.of(ratio.peer);
    if (ours.empty() || peer.empty()) {
      continue;
    }
    std::printf("%-58s %-58s %9.1f %9.1f %6.2f %8.2f", ratio.what.c_str(), ratio.peer.c_str(),
                median(ours) * 1e9, median(peer) * 1e9, ratio_of_pairs(ours, peer, 0),
                ratio.at_most);
    if (ratio.nanoseconds_more > 0) {
      std::printf(" + %.0f ns", ratio.nanoseconds_more);
    }
    const double compared = ratio_of_pairs(ours, peer, ratio.nanoseconds_more * 1e-9);
    const bool is_missed = compared > ratio.at_most;
    std::printf("%s\n", is_missed ? "  missed" : "");
    holds = holds && !is_missed;
  }
  return holds;
}

/** Returns whether all limits hold. */
bool print_amounts() {
  bool holds = true;
  const std::regex wanted(benchmark::GetBenchmarkFilter());
  for (const auto& [amount, measure] : measurements()) {
    if (std::regex_search(amount.what, wanted)) {
      const double measured = measure();
      const bool is_missed = measured > amount.at_most;
      std::printf("%-80s %9.1f %-8s at most %.0f%s\n", amount.what.c_str(), measured,
                  amount.unit.c_str(), amount.at_most, is_missed ? "  missed" : "");
      // The next measurement forks, and a fork's end would print what waits here once more.
      std::fflush(stdout);
      holds = holds && !is_missed;
    }
  }
  return holds;
}

}  // namespace

double seconds_of_programs() {
  rusage used{};
  getrusage(RUSAGE_CHILDREN, &used);
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
  };
  return seconds(used.ru_utime) + seconds(used.ru_stime);
}

void repeat(int times) {
  repetitions = times;
}

void limit(const Amount& amount, double (*measure)()) {
  measurements().push_back({amount, measure});
}

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
  // First, while this process is small: a program that it starts counts its memory as its own.
  const bool amounts_hold = print_amounts();
  Times times;
  benchmark::RunSpecifiedBenchmarks(&times);
  const bool ratios_hold = print_table(times);
  return amounts_hold && ratios_hold && !times.has_error() ? 0 : 1;
}

}  // namespace bench
