// What the program takes before it does anything: a shell that completes a word waits for it.

#include <cstdlib>
#include <stdexcept>
#include <string>

#include "groups.h"
#include "ratios.h"

namespace bench {

namespace {

void run_often(benchmark::State& state, const std::string& command) {
  for (auto _ : state) {
    const double before = seconds_of_programs();
    if (std::system((command + " > /dev/null").c_str()) != 0) {
      throw std::runtime_error("cannot run " + command);
    }
    state.SetIterationTime(seconds_of_programs() - before);
  }
}

void print_help(benchmark::State& state) {
  run_often(state, ZOLP_PROGRAM " --help");
}

void do_nothing(benchmark::State& state) {
  run_often(state, "/bin/true");
}

}  // namespace

void add_command_benchmarks() {
  constexpr double nanoseconds = 20e6;
  compare({"zolp --help", "a program that does nothing", 1, nanoseconds}, print_help, do_nothing,
          20);
}

}  // namespace bench
