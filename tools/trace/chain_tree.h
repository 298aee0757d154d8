/** @file The chains of calls of a trace as a tree, with what each of them took. */
#pragma once

#include <cstdint>
#include <unordered_map>
#include <vector>

#include "calls.h"
#include "site_groups.h"

namespace trace {

/** A group of calls that were made by the same chain of callers. */
struct ChainNode {
  uint32_t group = 0;
  uint32_t parent = 0;
  uint32_t first_child = 0;  /**< 0 for none */
  uint32_t next_sibling = 0; /**< 0 for none */
  uint64_t count = 0;
  uint64_t failures = 0;
  uint64_t unfinished = 0;
  int64_t total = 0; /**< nanoseconds; a call inside one of the same node is not added again */
  int64_t own = 0;
};

/**
 * The tree of chains. A function that calls itself, directly or not, goes back to the node that it
 * has on its chain already: chains are as long as there are functions, whatever the depth.
 */
class ChainTree {
 public:
  explicit ChainTree(SiteGroups& groups) : groups_(groups), nodes_(1) {}

  /** Adds an event. @return the node of the call that it enters or leaves, or that a text is in. */
  uint32_t add(const CallEvent& event);

  /** Of the call that was left last: its time without the calls that it made. */
  int64_t latest_own() const { return latest_own_; }

  static constexpr uint32_t root = 0;
  const ChainNode& operator[](uint32_t node) const { return nodes_[node]; }
  uint32_t size() const { return static_cast<uint32_t>(nodes_.size()); }
  SiteGroups& groups() const { return groups_; }

  /** The nodes from the outermost caller to a node. */
  std::vector<uint32_t> chain(uint32_t node) const;

 private:
  struct OpenCall {
    uint32_t node = 0;
    bool is_inner = false; /**< inside another of its node */
    int64_t inside = 0;    /**< time of the calls inside it */
  };

  uint32_t step(uint32_t from, uint32_t group, bool& is_inner);
  uint32_t leave(const CallEvent& event, std::vector<OpenCall>& open);

  SiteGroups& groups_;
  std::vector<ChainNode> nodes_;
  std::unordered_map<uint64_t, uint32_t> steps_; /**< by node and group */
  std::vector<std::vector<OpenCall>> lanes_;
  int64_t latest_own_ = 0;
};

}  // namespace trace
