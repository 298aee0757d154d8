/** @file Speed as the ratio of two benchmarks, measured in turns in one run. */
#pragma once

#include <benchmark/benchmark.h>

#include <ctime>
#include <string>

namespace bench {

/**
 * Measures the processor time of this process, the system's part included: on a machine that is
 * busy with other things it varies much less than elapsed time.
 */
class Stopwatch {
 public:
  double seconds() const { return now() - start_; }

 private:
  static double now() {
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
  }

  double start_ = now();
};

/** Processor time of the programs that this one has waited for, the system's part included. */
double seconds_of_programs();

/** One claim about speed: a benchmark, its peer, and how much longer than the peer it may take. */
struct Ratio {
  std::string what;
  std::string peer;
  double at_most;
  double nanoseconds_more = 0; /**< what it may take besides */
};

/** One claim about an amount, as of memory. */
struct Amount {
  std::string what;
  std::string unit;
  double at_most;
};

/** How often each benchmark that is registered from now on is repeated; 15 times unless told. */
void repeat(int times);

/**
 * Registers a benchmark and its peer. Both are repeated in turns; the time of one repetition is
 * divided by its number of items (`State::SetItemsProcessed`), or else of iterations.
 */
void compare(const Ratio& ratio, void (*ours)(benchmark::State&), void (*peer)(benchmark::State&),
             int iterations);

/** Registers the measurement of an amount, which is made once, before the benchmarks. */
void limit(const Amount& amount, double (*measure)());

/**
 * Runs the benchmarks and prints the tables of ratios and of amounts. Returns the program's exit
 * status: 1 when a limit is missed or a benchmark fails.
 */
int run(int argc, char** argv);

}  // namespace bench
