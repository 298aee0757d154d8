#include "call_totals.h"

namespace trace {

void CallTotals::add(const CallEvent& event) {
  if (event.kind == CallEvent::Kind::enter) {
    enter(event);
  } else if (event.kind == CallEvent::Kind::leave) {
    leave(event);
  }
}

void CallTotals::enter(const CallEvent& event) {
  const uint32_t group = groups_.of(event.site);
  if (group >= totals_.size()) {
    totals_.resize(size_t{group} + 1);
  }
  ++totals_[group].count;
  ++totals_[group].open;
  if (event.time == unknown_time) {
    return;
  }
  if (event.lane >= inside_.size()) {
    inside_.resize(size_t{event.lane} + 1);
  }
  std::vector<int64_t>& inside = inside_[event.lane];
  if (inside.size() < size_t{event.depth} + 2) {
    inside.resize(size_t{event.depth} + 2);
  }
  inside[event.depth + 1] = 0;
}

void CallTotals::leave(const CallEvent& event) {
  CallTotal& total = totals_[groups_.of(event.site)];
  --total.open;
  total.failures += event.has_failed ? 1 : 0;
  total.unfinished += event.ending == Ending::open ? 1 : 0;
  const int64_t duration = event.duration();
  if (duration == unknown_time || event.is_failure_only) {
    return;
  }
  std::vector<int64_t>& inside = inside_[event.lane];
  total.own = sum_of_times(total.own, sum_of_times(duration, -inside[event.depth + 1]));
  total.total = sum_of_times(total.total, total.open == 0 ? duration : 0);
  total.durations.add(duration);
  inside[event.depth] = sum_of_times(inside[event.depth], duration);
}

CallTotal CallTotals::sum() const {
  CallTotal sum;
  for (const CallTotal& total : totals_) {
    sum.count += total.count;
    sum.failures += total.failures;
    sum.unfinished += total.unfinished;
    sum.own = sum_of_times(sum.own, total.own);
  }
  return sum;
}

}  // namespace trace
