/** @file Speed as the ratio of two benchmarks, measured in turns in one run. */
#pragma once

#include <benchmark/benchmark.h>

#include <string>

namespace bench {

/** One claim about speed: a benchmark, its peer, and how much longer than the peer it may take. */
struct Ratio {
  std::string what;
  std::string peer;
  double at_most;
};

/**
 * Registers a benchmark and its peer. Both are repeated in turns; the time of one repetition is
 * divided by its number of items (`State::SetItemsProcessed`), or else of iterations.
 */
void compare(const Ratio& ratio, void (*ours)(benchmark::State&), void (*peer)(benchmark::State&),
             int iterations);

/** Runs the benchmarks and prints the table of ratios. Returns the program's exit status. */
int run(int argc, char** argv);

}  // namespace bench
