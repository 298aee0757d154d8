/** @file The traces that a command reads, and how their times are written. */
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "text.h"
#include "trace/calls.h"

namespace tool {

/** What all commands that read traces take. */
struct TraceOptions {
  std::vector<std::string> files;
  bool without_parts = false;
  bool json = false;
};

/** A trace that is read once, from its beginning to its end. */
class TraceInput {
 public:
  explicit TraceInput(const TraceOptions& options, trace::ReadOptions how = {})
      : TraceInput(options, options.files, std::move(how)) {}
  TraceInput(const TraceOptions& options, const std::vector<std::string>& files,
             trace::ReadOptions how = {});

  /** Of another trace that shares the sites. */
  TraceInput(trace::CallSites& sites, const TraceOptions& options,
             const std::vector<std::string>& files);

  /** Calls `take` with each event. */
  template <typename Take>
  void read(const Take& take) {
    for (auto events = reader_.read(); !events.empty(); events = reader_.read()) {
      for (const trace::CallEvent& event : events) {
        take(event);
      }
      has_events_ = true;
    }
    tell_remarks();
  }

  trace::CallSites& sites() { return sites_; }
  trace::CallReader& reader() { return reader_; }

  /** Tells on standard error what the reader remarks. */
  void tell_remarks() const;

  /** Asks whether there are times; one line on standard error says how to get them if not. */
  bool has_times() const;

 private:
  trace::CallSites own_sites_;
  trace::CallSites& sites_;
  trace::CallReader reader_;
  bool has_events_ = false;
};

/** A duration with three digits and its unit: "1.25 ms". */
std::string duration_text(int64_t nanoseconds);

/** A duration for JSON, in milliseconds; null when it is not known. */
Json milliseconds_json(int64_t nanoseconds);

/** A call and its status, as `failed with 515` tells it. */
Json site_json(const trace::CallSite& site);

/** The lane of a call in words: the file, process and thread. */
std::string lane_text(const trace::Lane& lane);
Json lane_json(const trace::Lane& lane);

}  // namespace tool
