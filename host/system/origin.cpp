#include "origin.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "os.h"
#include "zolp_basetool.h"

namespace host {

namespace {

/** Of each thread: the traced functions that it is in, the innermost last, as far as they fit. */
constexpr std::size_t most_functions = 256;
thread_local const char* functions[most_functions];
thread_local std::size_t function_count = 0;
thread_local const char* operation = nullptr;

void note_call(const ZOLP_CallSite* site, int is_entered) {
  if (site->kind != ZOLP_SITE_FRAME) {
    return;
  }
  if (is_entered == 0) {
    function_count -= function_count > 0 ? 1 : 0;
    return;
  }
  if (function_count < most_functions) {
    functions[function_count] = site->text;
  }
  ++function_count;
}

/** The trace library is another one's, and may be none that tells of calls. */
bool observe_calls() {
  using SetObserver = void (*)(ZOLP_CallObserver);
  const auto set_observer =
      reinterpret_cast<SetObserver>(os::symbol_of_process("ZOLP_SetCallObserver"));
  if (set_observer != nullptr) {
    set_observer(note_call);
  }
  return set_observer != nullptr;
}

struct Report {
  std::vector<std::string> locks;
  BlocksByOrigin (*find)() = nullptr;
};

Report& report() {
  // Never destroyed: programs may use the host while they end.
  static Report& instance = *new Report;
  return instance;
}

std::string counted(std::size_t count, const char* what) {
  return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

void write_report() {
  const BlocksByOrigin left = report().find();
  std::size_t blocks = 0;
  std::size_t bytes = 0;
  std::vector<std::pair<std::size_t, std::string>> lines;
  for (const auto& [origin, sums] : left) {
    blocks += sums.first;
    bytes += sums.second;
    lines.emplace_back(sums.first, counted(sums.first, "block") + ", " +
                                       counted(sums.second, "byte") + ": " + origin_text(origin));
  }
  std::stable_sort(lines.begin(), lines.end(), [](const auto& left_line, const auto& right_line) {
    return left_line.first > right_line.first;
  });
  std::fprintf(stderr, "ORK_HOST_BLOCKS: %s, %s, never given back; %s still held\n",
               counted(blocks, "block").c_str(), counted(bytes, "byte").c_str(),
               counted(report().locks.size(), "lock").c_str());
  for (const auto& [count, line] : lines) {
    std::fprintf(stderr, "  %s\n", line.c_str());
  }
  for (const std::string& line : report().locks) {
    std::fprintf(stderr, "  %s\n", line.c_str());
  }
}

std::atomic<bool>& origins_are_kept() {
  static std::atomic<bool> are_kept = os::environment("ORK_HOST_BLOCKS") == "report";
  return are_kept;
}

/** From the start of the program on, so that no function is missed that it is in. */
const bool is_started = reports_origins() && observe_calls();

}  // namespace

std::string origin_text(const Origin& origin) {
  return std::string(origin.operation != nullptr ? origin.operation : "no operation") +
         (origin.function != nullptr ? std::string(" inside ") + origin.function
                                     : " outside of traced functions");
}

bool reports_origins() {
  return origins_are_kept().load(std::memory_order_relaxed);
}

void keep_origins() {
  origins_are_kept().store(true, std::memory_order_relaxed);
}

Origin this_origin() {
  // Some systems load the trace library later than this one.
  static const bool is_observed = is_started || observe_calls();
  static_cast<void>(is_observed);
  const std::size_t innermost = std::min(function_count, most_functions);
  return {operation, innermost > 0 ? functions[innermost - 1] : nullptr};
}

OperationMark::OperationMark(const char* name) : outer_(operation) {
  operation = name;
}

OperationMark::~OperationMark() {
  operation = outer_;
}

void report_lock(const std::string& line) {
  report().locks.push_back(line);
}

void report_at_end(BlocksByOrigin (*find)()) {
  const bool is_first = report().find == nullptr;
  report().find = find;
  if (is_first) {
    std::atexit(write_report);
  }
}

}  // namespace host
