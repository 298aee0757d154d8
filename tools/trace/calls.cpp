#include "calls.h"

#include <algorithm>
#include <filesystem>
#include <set>

#include "recording_calls.h"
#include "text_calls.h"
#include "utf8_path.h"

namespace trace {
namespace {

/** A text trace and its older parts, or any other file. */
struct Series {
  std::string name;               /**< of the newest part */
  std::vector<std::string> parts; /**< from older to newer */
};

/** The number of a rotated file, `NAME.2`; 0 for others. */
int part_number(const std::string& path, std::string& name) {
  const size_t point = path.rfind('.');
  constexpr size_t most_digits = 3;
  if (point == std::string::npos || point + 1 == path.size() ||
      path.size() - point - 1 > most_digits ||
      path.find_first_not_of("0123456789", point + 1) != std::string::npos) {
    return 0;
  }
  name = path.substr(0, point);
  return std::stoi(path.substr(point + 1));
}

bool exists(const std::string& path) {
  std::error_code problem;
  return std::filesystem::is_regular_file(host::utf8_path(path), problem);
}

/**
 * Brings the files in the order in which they were written: of a series the highest number first.
 * What stands beside the files in older parts is taken, too, when wanted.
 */
std::vector<Series> find_series(const std::vector<std::string>& files, bool with_older_parts) {
  std::vector<Series> found;
  std::set<std::string> taken;
  const std::set<std::string> given(files.begin(), files.end());
  for (const std::string& file : files) {
    std::string name;
    if (taken.count(file) > 0 || (part_number(file, name) > 0 && given.count(name) > 0)) {
      continue;
    }
    Series series{file, {file}};
    taken.insert(file);
    for (int number = 1; file != "-"; ++number) {
      const std::string part = file + "." + std::to_string(number);
      if (given.count(part) == 0 && !(with_older_parts && exists(part))) {
        break;
      }
      series.parts.insert(series.parts.begin(), part);
    }
    found.push_back(std::move(series));
  }
  return found;
}

}  // namespace

struct CallReader::State {
  State(CallSites& sites, std::vector<Series> files, const ReadOptions& its_options)
      : options(its_options), series(std::move(files)), reading{sites, options, {}, {}, {}} {}

  bool open_next();

  ReadOptions options;
  std::vector<Series> series;
  size_t next_series = 0;
  Reading reading;
  std::unique_ptr<CallSource> source;
};

/** Opens the next series of files. @return false when there is none. */
bool CallReader::State::open_next() {
  if (next_series == series.size()) {
    return false;
  }
  Series files = std::move(series[next_series++]);
  const bool is_last = next_series == series.size();
  // A recording's older ones are recordings of other processes.
  constexpr size_t beginning = size_t{64} * 1024;
  auto file = std::make_unique<TraceFile>(files.name);
  std::string begin(beginning, '\0');
  begin.resize(file->read(begin.data(), beginning));
  if (is_recording(begin)) {
    source = std::make_unique<RecordingCalls>(reading, std::move(file), std::move(begin));
    return true;
  }
  if (files.parts.size() > 1) {
    file = std::make_unique<TraceFile>(files.parts.front());
    begin.clear();
  }
  files.parts.erase(files.parts.begin());
  source =
      std::make_unique<TextCalls>(reading, std::move(files.parts), std::move(file), begin, is_last);
  return true;
}

CallReader::CallReader(CallSites& sites, const std::vector<std::string>& files,
                       const ReadOptions& options)
    : state_(std::make_unique<State>(sites, find_series(files, options.older_parts), options)) {
  for (const std::string& file : files) {
    if (file != "-") {
      const TraceFile check(file);
    }
  }
}

CallReader::~CallReader() = default;

std::span<const CallEvent> CallReader::read() {
  EventQueue& queue = state_->reading.queue;
  queue.clear();
  while (queue.is_empty()) {
    if (state_->source == nullptr && !state_->open_next()) {
      return {};
    }
    if (!state_->source->read()) {
      state_->source.reset();
    }
  }
  return queue.events();
}

const std::vector<Lane>& CallReader::lanes() const {
  return state_->reading.lanes;
}

const std::vector<std::string>& CallReader::remarks() const {
  return state_->reading.remarks;
}

bool CallReader::has_times() const {
  return std::any_of(lanes().begin(), lanes().end(),
                     [](const Lane& lane) { return lane.has_times; });
}

}  // namespace trace
