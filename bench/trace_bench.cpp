// A summary of a long text trace and of a recording, made by a clone of 20,000 items.

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "groups.h"
#include "ratios.h"
#include "site.h"
#include "tools/assembly_tree.h"
#include "tools/trace/call_totals.h"
#include "tools/trace/calls.h"
#include "zolp_basetool.h"
#include "zolp_orktool.h"

namespace bench {
namespace {

constexpr int items = 20'000;

/** A file as the plain readers see it. */
class MappedFile {
 public:
  explicit MappedFile(const std::string& path) : file_(open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
    struct stat status = {};
    fstat(file_, &status);
    size_ = static_cast<std::size_t>(status.st_size);
    begin_ = static_cast<const char*>(mmap(nullptr, size_, PROT_READ, MAP_PRIVATE, file_, 0));
  }
  ~MappedFile() {
    munmap(const_cast<char*>(begin_), size_);
    close(file_);
  }
  MappedFile(const MappedFile&) = delete;
  MappedFile& operator=(const MappedFile&) = delete;

  const char* begin() const { return begin_; }
  const char* end() const { return begin_ + size_; }

 private:
  int file_;
  std::size_t size_ = 0;
  const char* begin_ = nullptr;
};

long count_line_feeds(const std::string& path) {
  const MappedFile file(path);
  long count = 0;
  const char* at = file.begin();
  while ((at = static_cast<const char*>(
              std::memchr(at, '\n', static_cast<std::size_t>(file.end() - at)))) != nullptr) {
    ++at;
    ++count;
  }
  return count;
}

void write_list(const std::string& path) {
  std::FILE* list = std::fopen(path.c_str(), "w");
  std::fputs(test::header_row().c_str(), list);
  for (int i = 0; i < items; ++i) {
    const std::string id = "PT-" + std::to_string(10'000 + i);
    std::fputs(test::item_row(i == 0 ? 1 : 2, id, i % 3 == 0 ? "Released" : "").c_str(), list);
    std::fputs(test::row("", "", id + "_model", "QNMASTER").c_str(), list);
    std::fputs(test::row("", "", id + "_part", "QNPART").c_str(), list);
  }
  std::fclose(list);
}

/** What all calls of the clone run's two long steps are traced into. */
struct Traces {
  Traces() {
    ZOLP_SetTraceLevel(ZOLP_LEVEL_OFF);
    site().fix_columns();
    const std::string entry =
        "BEGIN CLONE\n  ITEM=%%ITEM_ID%%\n  REVISION=%%ITEM_REV%%\n  NEW_ITEM=%%NEW_ID%%\n"
        "  NEW_REVISION=%%NEW_REV%%\n  NEW_NAME=%%NEW_NAME%%\n  TYPE=ItemRev\nEND CLONE\n";
    site().preference("VPD_clone_itemtemplate", site().folder.write("traced.txt", entry));
    list_ = site().folder.path("traced_list.txt");
    write_list(list_);
    std::FILE* out = std::fopen(text.c_str(), "w");
    ZOLP_SetTraceWriter(
        [](int, const char* line, size_t size, void* to) {
          std::fwrite(line, 1, size, static_cast<std::FILE*>(to));
          std::fputc('\n', static_cast<std::FILE*>(to));
        },
        out);
    ZOLP_SetTraceLevel(ZOLP_LEVEL_DEBUG);
    clone();
    ZOLP_SetTraceLevel(ZOLP_LEVEL_OFF);
    ZOLP_SetTraceWriter(nullptr, nullptr);
    std::fclose(out);
    constexpr unsigned long long recording_size = 8 << 20;
    if (ZOLP_SetTraceRecording(recording.c_str(), recording_size) == 0) {
      std::abort();
    }
    clone();
    ZOLP_SetTraceRecording(nullptr, 0);
    lines = count_line_feeds(text);
  }

  std::string text = site().folder.path("clone.trace");
  std::string recording = site().folder.path("clone.rec");
  long lines = 0;

 private:
  void clone() const {
    tool::Assembly tree;
    ZOLP_read_assylist(list_.c_str(), tree.address());
    std::FILE* entries = std::fopen("/dev/null", "w");
    ZOLP_write_assylist(entries, tree.root());
    std::fclose(entries);
  }

  std::string list_;
};

Traces& traces() {
  static Traces made;
  return made;
}

/** What `zolp trace summary` does but for printing it. */
void summarise(benchmark::State& state, const std::string& path) {
  for (auto _ : state) {
    const Stopwatch stopwatch;
    trace::CallSites sites;
    trace::CallReader reader(sites, {path}, {});
    trace::CallTotals totals(sites, trace::GroupBy::name);
    for (auto events = reader.read(); !events.empty(); events = reader.read()) {
      for (const trace::CallEvent& event : events) {
        totals.add(event);
      }
    }
    benchmark::DoNotOptimize(totals.sum());
    state.SetIterationTime(stopwatch.seconds());
  }
}

void summarise_text(benchmark::State& state) {
  summarise(state, traces().text);
  state.SetItemsProcessed(state.iterations() * traces().lines);
}

void count_lines(benchmark::State& state) {
  Traces& made = traces();
  for (auto _ : state) {
    const Stopwatch stopwatch;
    benchmark::DoNotOptimize(count_line_feeds(made.text));
    state.SetIterationTime(stopwatch.seconds());
  }
  state.SetItemsProcessed(state.iterations() * made.lines);
}

void summarise_recording(benchmark::State& state) {
  summarise(state, traces().recording);
}

void add_bytes(benchmark::State& state) {
  Traces& made = traces();
  for (auto _ : state) {
    const Stopwatch stopwatch;
    const MappedFile file(made.recording);
    unsigned long sum = 0;
    for (const char* at = file.begin(); at < file.end(); ++at) {
      sum += static_cast<unsigned char>(*at);
    }
    benchmark::DoNotOptimize(sum);
    state.SetIterationTime(stopwatch.seconds());
  }
}

}  // namespace

void add_trace_benchmarks() {
  compare({"trace summary, a line of 250 MB", "a C loop that maps the file, memchr per line", 5},
          summarise_text, count_lines, 1);
  constexpr double nanoseconds = 0.2e9;
  compare({"trace summary, a recording of 8 MB", "a C loop that adds up its bytes", 1, nanoseconds},
          summarise_recording, add_bytes, 1);
}

}  // namespace bench
