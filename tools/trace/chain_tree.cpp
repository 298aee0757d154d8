#include "chain_tree.h"

#include <algorithm>

#include "durations.h"

namespace trace {

uint32_t ChainTree::add(const CallEvent& event) {
  if (event.lane >= lanes_.size()) {
    lanes_.resize(size_t{event.lane} + 1);
  }
  std::vector<OpenCall>& open = lanes_[event.lane];
  if (event.kind == CallEvent::Kind::leave) {
    return leave(event, open);
  }
  const uint32_t from = open.empty() ? root : open.back().node;
  if (event.kind == CallEvent::Kind::text) {
    return from;
  }
  OpenCall call;
  call.node = step(from, groups_.of(event.site), call.is_inner);
  ++nodes_[call.node].count;
  open.push_back(call);
  return call.node;
}

uint32_t ChainTree::leave(const CallEvent& event, std::vector<OpenCall>& open) {
  const OpenCall call = open.back();
  open.pop_back();
  ChainNode& node = nodes_[call.node];
  node.failures += event.has_failed ? 1 : 0;
  node.unfinished += event.ending == Ending::open ? 1 : 0;
  if (const int64_t duration = event.duration(); duration != unknown_time) {
    latest_own_ = sum_of_times(duration, -call.inside);
    node.own = sum_of_times(node.own, latest_own_);
    node.total = sum_of_times(node.total, call.is_inner ? 0 : duration);
    if (!open.empty()) {
      open.back().inside = sum_of_times(open.back().inside, duration);
    }
  }
  return call.node;
}

uint32_t ChainTree::step(uint32_t from, uint32_t group, bool& is_inner) {
  const auto [known, is_new] = steps_.try_emplace(uint64_t{from} << 32 | group, size());
  if (!is_new) {
    const uint32_t to = known->second;
    is_inner = nodes_[to].parent != from || to == from;
    return to;
  }
  for (uint32_t above = from; above != root; above = nodes_[above].parent) {
    if (nodes_[above].group == group) {
      is_inner = true;
      return known->second = above;
    }
  }
  ChainNode node;
  node.group = group;
  node.parent = from;
  node.next_sibling = nodes_[from].first_child;
  nodes_[from].first_child = size();
  nodes_.push_back(node);
  return known->second;
}

std::vector<uint32_t> ChainTree::chain(uint32_t node) const {
  std::vector<uint32_t> found;
  for (; node != root; node = nodes_[node].parent) {
    found.push_back(node);
  }
  std::reverse(found.begin(), found.end());
  return found;
}

}  // namespace trace
