#include "recording_calls.h"

#include <stdexcept>

#include "error.h"

namespace trace {
namespace {

using basetool::TextKind;

std::string rest_of(TraceFile& file, std::string bytes) {
  constexpr size_t block = size_t{1024} * 1024;
  for (;;) {
    const size_t size = bytes.size();
    bytes.resize(size + block);
    const size_t count = file.read(bytes.data() + size, block);
    bytes.resize(size + count);
    if (count == 0) {
      return bytes;
    }
  }
}

CallKind kind_of(const Site& site) {
  constexpr uint32_t frame = 1, traced = 2, guarded = 3;
  switch (site.kind) {
    case frame:
      return CallKind::frame;
    case guarded:
      return CallKind::guarded;
    case traced:
    default:
      return CallKind::traced;
  }
}

}  // namespace

RecordingCalls::RecordingCalls(Reading& reading, std::unique_ptr<TraceFile> file, std::string begin)
    : reading_(reading), name_(file->shown_name()) {
  try {
    recording_ = read_recording(rest_of(*file, std::move(begin)));
  } catch (const std::runtime_error& error) {
    throw tool::Error(name_ + " " + error.what(), "read it with the zolp that belongs to it");
  }
  for (const Text& text : recording_.texts) {
    if (text.kind == TextKind::error_of_call) {
      error_texts_.emplace(text.event, text.text);
    } else if (reading_.options.texts) {
      other_texts_.emplace(text.event, &text);
    }
  }
  remark();
}

void RecordingCalls::remark() {
  const auto say = [&](const std::string& text) {
    reading_.remarks.push_back(name_ + ": " + text);
  };
  if (recording_.events_overwritten > 0) {
    say("the beginning is missing: " + std::to_string(recording_.events_overwritten) +
        " events were overwritten by later ones; ZOLP_TRACE_RECORD_SIZE makes room for more");
  }
  if (recording_.events_dropped > 0) {
    say(std::to_string(recording_.events_dropped) +
        " events were not recorded, for want of room for so many threads");
  }
  if (recording_.is_damaged) {
    say("it is damaged or cut; what is whole was read");
  }
  if (!recording_.has_ended) {
    say("the process lives, or was killed or crashed");
  }
}

RecordingCalls::Thread& RecordingCalls::thread_of(uint32_t number) {
  Thread& thread = threads_[number];
  if (thread.stack == nullptr) {
    thread.lane = static_cast<uint32_t>(reading_.lanes.size());
    thread.stack = std::make_unique<CallStack>(reading_.sites, reading_.queue, thread.lane);
    Lane lane;
    lane.file = name_;
    lane.parts.push_back({name_, 0});
    lane.program = recording_.program;
    lane.process = recording_.process;
    lane.thread = number;
    lane.is_recording = true;
    lane.start = recording_.start;
    lane.has_times = true;
    reading_.lanes.push_back(std::move(lane));
  }
  return thread;
}

uint32_t RecordingCalls::site_of(uint32_t number) {
  if (number >= sites_.size()) {
    sites_.resize(size_t{number} + 1, CallSites::no_site);
  }
  if (sites_[number] == CallSites::no_site) {
    const auto found = recording_.sites.find(number);
    sites_[number] = found == recording_.sites.end() || found->second.text.empty()
                         ? reading_.sites.number_of(CallKind::frame, "(name not recorded)", "?", 0)
                         : reading_.sites.number_of(kind_of(found->second), found->second.text,
                                                    found->second.file, found->second.line);
  }
  return sites_[number];
}

bool RecordingCalls::read() {
  while (!reading_.queue.is_full()) {
    if (next_ == recording_.events.size()) {
      finish();
      return false;
    }
    read_event(recording_.events[next_++]);
  }
  return true;
}

void RecordingCalls::read_event(const Event& event) {
  Thread& thread = thread_of(event.thread);
  CallStack& stack = *thread.stack;
  const uint32_t site = site_of(event.site);
  Exit exit;
  exit.time = event.time;
  exit.position = event.id;
  exit.knows_status = true;
  exit.status = event.status;
  if (event.status != 0) {
    if (const auto found = error_texts_.find(event.id); found != error_texts_.end()) {
      exit.error_text = found->second;
    }
  }
  bool is_matched = true;
  switch (event.kind) {
    case basetool::EventKind::entered:
      if (stack.is_top_doubtful()) {
        stack.settle_doubt();
      }
      stack.enter(site, event.time, event.id);
      break;
    case basetool::EventKind::left:
      is_matched = stack.leave(site, exit);
      break;
    case basetool::EventKind::abandoned:
      is_matched = stack.abandon(site, exit);
      break;
    case basetool::EventKind::failed:
      stack.add_failure(site, exit);
      break;
  }
  if (!is_matched) {
    ++exits_without_entry_;
    if (event.status != 0 && reading_.sites[site].kind != CallKind::frame) {
      stack.add_failure(site, exit);
    }
  }
  const auto [begin, end] = other_texts_.equal_range(event.id);
  for (auto text = begin; text != end; ++text) {
    CallEvent& added = reading_.queue.add(CallEvent::Kind::text);
    added.lane = thread.lane;
    added.depth = stack.depth();
    added.site = stack.is_empty() ? CallSites::no_site : stack.top();
    added.time = event.time;
    added.position = event.id;
    added.text = text->second->text;
  }
}

void RecordingCalls::finish() {
  for (auto& [number, thread] : threads_) {
    thread.stack->end(next_);
  }
  if (exits_without_entry_ > 0) {
    reading_.remarks.push_back(name_ + ": " + std::to_string(exits_without_entry_) +
                               " exits of calls whose entries are gone were left out");
    exits_without_entry_ = 0;
  }
}

}  // namespace trace
