// A traced platform call and a function's frame, with the trace in a file and with tracing off.

#include <fcntl.h>
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "call_frame.h"
#include "clock.h"
#include "groups.h"
#include "ork/mem.h"
#include "ratios.h"
#include "zolp_basetool.h"

namespace bench {
namespace {

std::string trace_path;
std::string peer_path;
std::string recording_path;

[[gnu::noinline]] int platform_call() {
  int status = 0;
  benchmark::DoNotOptimize(status);
  return status;
}

constexpr int calls = 50'000;
#define CALL_TEXT "PREF_get_value_count( szPrefName, &valueCount)"

/** Measures `calls` calls of a function. */
template <typename Call>
void repeat(benchmark::State& state, Call call) {
  for (auto _ : state) {
    const Stopwatch stopwatch;
    for (int i = 0; i < calls; ++i) {
      call();
    }
    state.SetIterationTime(stopwatch.seconds());
  }
  state.SetItemsProcessed(state.iterations() * calls);
}

void make_traced_calls(benchmark::State& state) {
  repeat(state, [] {
    int status = 0;
    TRACED(status, CALL_TEXT, platform_call());
    benchmark::DoNotOptimize(status);
  });
}

void traced_calls_to_file(benchmark::State& state) {
  ZOLP_SetTraceLevel(ZOLP_LEVEL_TRACE);
  make_traced_calls(state);
  ZOLP_SetTraceLevel(ZOLP_LEVEL_OFF);
  // Each repetition has a new file, as with the peers: what is compared is not how the system finds
  // room for a cache of many large files.
  ZOLP_SetTraceWriter(nullptr, nullptr);
  std::remove(trace_path.c_str());
}

/** What a traced call's three lines are made of, as values that the compiler does not know. */
struct Parts {
  Parts() {
    benchmark::DoNotOptimize(text);
    benchmark::DoNotOptimize(name);
    benchmark::DoNotOptimize(line);
  }
  const char* text = CALL_TEXT;
  const char* name = "call_frame_bench.cpp";
  int line = __LINE__;
};

void lines_by_fprintf(benchmark::State& state) {
  std::FILE* file = std::fopen(peer_path.c_str(), "w");
  repeat(state, [file] {
    const Parts parts;
    std::fprintf(file, " ->%s %s:%d\n", parts.text, parts.name, parts.line);
    std::fprintf(file, " File:%s Line:%d Funktion:%s\n", parts.name, parts.line, parts.text);
    std::fprintf(file, " <-%s %s:%d\n", parts.text, parts.name, parts.line);
  });
  std::fclose(file);
  std::remove(peer_path.c_str());
}

void lines_by_spdlog(benchmark::State& state) {
  const auto logger = spdlog::basic_logger_st("peer", peer_path);
  logger->set_pattern("%v");
  repeat(state, [&logger] {
    const Parts parts;
    logger->info(" ->{} {}:{}", parts.text, parts.name, parts.line);
    logger->info(" File:{} Line:{} Funktion:{}", parts.name, parts.line, parts.text);
    logger->info(" <-{} {}:{}", parts.text, parts.name, parts.line);
  });
  spdlog::drop("peer");
  std::remove(peer_path.c_str());
}

void traced_calls_switched_off(benchmark::State& state) {
  ZOLP_SetTraceLevel(ZOLP_LEVEL_OFF);
  make_traced_calls(state);
}

void two_reads_of_the_clock(benchmark::State& state) {
  repeat(state, [] {
    benchmark::DoNotOptimize(orktool::elapsed_milliseconds());
    benchmark::DoNotOptimize(platform_call());
    benchmark::DoNotOptimize(orktool::elapsed_milliseconds());
  });
}

/** The recording of its benchmarks, each time a new one. */
void record_to(const std::string& path) {
  ZOLP_SetTraceLevel(ZOLP_LEVEL_OFF);
  ZOLP_SetTraceRecording(path.c_str(), 0);
}

void stop_recording(const std::string& path) {
  ZOLP_SetTraceRecording(nullptr, 0);
  std::remove(path.c_str());
}

void traced_calls_recorded(benchmark::State& state) {
  record_to(recording_path);
  make_traced_calls(state);
  stop_recording(recording_path);
}

/** What a recording comes to: two readings of the counter and two events in a ring in a file. */
void events_in_a_ring(benchmark::State& state) {
  struct Event {
    std::uint64_t counter;
    std::uint32_t what;
    std::int32_t status;
  };
  constexpr std::size_t ring_size = 8 << 20;
  constexpr std::size_t ring_mask = ring_size / sizeof(Event) - 1;
  const int file = open(recording_path.c_str(), O_RDWR | O_CREAT, 0600);
  if (posix_fallocate(file, 0, ring_size) != 0) {
    std::abort();
  }
  void* mapped = mmap(nullptr, ring_size, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
  auto* ring = static_cast<volatile Event*>(mapped);
  std::size_t next = 0;
  repeat(state, [&] {
    ring[next & ring_mask].counter = __builtin_ia32_rdtsc();
    ring[next & ring_mask].what = 1;
    ring[next & ring_mask].status = 0;
    ++next;
    const int status = platform_call();
    ring[next & ring_mask].counter = __builtin_ia32_rdtsc();
    ring[next & ring_mask].what = 2;
    ring[next & ring_mask].status = status;
    ++next;
  });
  munmap(mapped, ring_size);
  close(file);
  std::remove(recording_path.c_str());
}

[[gnu::noinline]] int function_with_a_frame() {
  FRAME(frame, "function_with_a_frame");
  return frame.leave(0);
}

void frames_switched_off(benchmark::State& state) {
  ZOLP_SetTraceLevel(ZOLP_LEVEL_OFF);
  repeat(state, [] { benchmark::DoNotOptimize(function_with_a_frame()); });
}

void empty_functions(benchmark::State& state) {
  repeat(state, [] { MEM_free(nullptr); });
}

}  // namespace

void add_call_frame_benchmarks(const std::string& folder) {
  peer_path = folder + "/peer.txt";
  trace_path = folder + "/trace.txt";
  recording_path = folder + "/recording";
  setenv("ZOLP_TRACE_FILE", trace_path.c_str(), 1);
  compare({"traced call, trace to a file", "the same lines by fprintf, buffered", 0.35},
          traced_calls_to_file, lines_by_fprintf, 1);
  compare({"traced call, trace to a file (again)", "the same lines by spdlog, unflushed", 0.25},
          traced_calls_to_file, lines_by_spdlog, 1);
  compare({"traced call, tracing off", "two reads of the system's clock and the call", 0.2},
          traced_calls_switched_off, two_reads_of_the_clock, 10);
  compare({"traced call, recorded", "traced call, neither shown nor recorded", 1.0, 30},
          traced_calls_recorded, traced_calls_switched_off, 20);
  compare({"traced call, recorded (again)", "two events in a mapped ring by a C loop", 1.5},
          traced_calls_recorded, events_in_a_ring, 20);
  compare({"traced call, recorded (and again)", "its lines by fprintf, buffered", 0.12},
          traced_calls_recorded, lines_by_fprintf, 10);
  compare({"frame of a function, tracing off", "a function of another library that does nothing",
           1.0, 15},
          frames_switched_off, empty_functions, 10);
}

}  // namespace bench
