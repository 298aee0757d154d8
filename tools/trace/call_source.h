/** @file Where a `CallReader` takes its events from: a text, or a recording. */
#pragma once

#include <string>
#include <vector>

#include "call_stack.h"
#include "trace_file.h"

namespace trace {

/** What all sources of a reader work on. */
struct Reading {
  CallSites& sites;
  const ReadOptions& options;
  EventQueue queue;
  std::vector<Lane> lanes;
  std::vector<std::string> remarks;
};

class CallSource {
 public:
  virtual ~CallSource() = default;

  /** Adds events to the queue until it is full. @return false when there are no more. */
  virtual bool read() = 0;
};

}  // namespace trace
