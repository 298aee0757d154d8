/** @file What the calls of each group took altogether. */
#pragma once

#include <cstdint>
#include <vector>

#include "calls.h"
#include "durations.h"
#include "site_groups.h"

namespace trace {

struct CallTotal {
  uint64_t count = 0;
  uint64_t failures = 0;
  uint64_t unfinished = 0; /**< still open when the trace ends */
  int64_t total = 0;       /**< nanoseconds; a call inside one of its group is not added again */
  int64_t own = 0;         /**< without the calls that they made */
  uint32_t open = 0;
  Durations durations;
};

class CallTotals {
 public:
  CallTotals(const CallSites& sites, GroupBy how) : groups_(sites, how) {}

  void add(const CallEvent& event);

  const SiteGroups& groups() const { return groups_; }
  /** By group. */
  const std::vector<CallTotal>& totals() const { return totals_; }
  CallTotal sum() const;

 private:
  void enter(const CallEvent& event);
  void leave(const CallEvent& event);

  SiteGroups groups_;
  std::vector<CallTotal> totals_;
  std::vector<std::vector<int64_t>> inside_; /**< by lane and depth: time of the calls inside */
};

}  // namespace trace
