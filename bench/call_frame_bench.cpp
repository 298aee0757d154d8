// A traced platform call, with its trace in a file and with tracing off.

#include <stdlib.h>

#include <chrono>
#include <cstdio>
#include <string>

#include "call_frame.h"
#include "clock.h"
#include "groups.h"
#include "ratios.h"
#include "zolp_basetool.h"

namespace bench {
namespace {

using Timer = std::chrono::steady_clock;

std::string peer_path;

double seconds_since(Timer::time_point start) {
  return std::chrono::duration<double>(Timer::now() - start).count();
}

[[gnu::noinline]] int platform_call() {
  int status = 0;
  benchmark::DoNotOptimize(status);
  return status;
}

constexpr int calls = 50'000;
#define CALL_TEXT "PREF_get_value_count( szPrefName, &valueCount)"

void make_traced_calls(benchmark::State& state) {
  for (auto _ : state) {
    const auto start = Timer::now();
    for (int i = 0; i < calls; ++i) {
      int status = 0;
      TRACED(status, CALL_TEXT, platform_call());
      benchmark::DoNotOptimize(status);
    }
    state.SetIterationTime(seconds_since(start));
  }
  state.SetItemsProcessed(state.iterations() * calls);
}

void traced_calls_to_file(benchmark::State& state) {
  ZOLP_SetTraceLevel(ZOLP_LEVEL_TRACE);
  make_traced_calls(state);
  ZOLP_SetTraceLevel(ZOLP_LEVEL_OFF);
}

void lines_by_fprintf(benchmark::State& state) {
  for (auto _ : state) {
    std::FILE* file = std::fopen(peer_path.c_str(), "a");  // grows, as the trace does
    const auto start = Timer::now();
    for (int i = 0; i < calls; ++i) {
      const char* text = CALL_TEXT;
      const char* name = "call_frame_bench.cpp";
      int line = __LINE__;
      benchmark::DoNotOptimize(text);
      benchmark::DoNotOptimize(name);
      benchmark::DoNotOptimize(line);
      std::fprintf(file, " ->%s %s:%d\n", text, name, line);
      std::fprintf(file, " File:%s Line:%d Funktion:%s\n", name, line, text);
      std::fprintf(file, " <-%s %s:%d\n", text, name, line);
    }
    state.SetIterationTime(seconds_since(start));
    std::fclose(file);
  }
  state.SetItemsProcessed(state.iterations() * calls);
}

void traced_calls_switched_off(benchmark::State& state) {
  ZOLP_SetTraceLevel(ZOLP_LEVEL_OFF);
  make_traced_calls(state);
}

void two_reads_of_the_clock(benchmark::State& state) {
  for (auto _ : state) {
    const auto start = Timer::now();
    for (int i = 0; i < calls; ++i) {
      benchmark::DoNotOptimize(orktool::elapsed_milliseconds());
      benchmark::DoNotOptimize(platform_call());
      benchmark::DoNotOptimize(orktool::elapsed_milliseconds());
    }
    state.SetIterationTime(seconds_since(start));
  }
  state.SetItemsProcessed(state.iterations() * calls);
}

}  // namespace

void add_call_frame_benchmarks(const std::string& folder) {
  peer_path = folder + "/peer.txt";
  setenv("ZOLP_TRACE_FILE", (folder + "/trace.txt").c_str(), 1);
  compare({"traced call, trace to a file", "the same lines by fprintf, buffered", 0.6},
          traced_calls_to_file, lines_by_fprintf, 1);
  compare({"traced call, tracing off", "two reads of its clock and the call", 1.5},
          traced_calls_switched_off, two_reads_of_the_clock, 3);
}

}  // namespace bench
