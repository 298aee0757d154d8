/**
 * @file
 * Walking, measuring and freeing the tree of `assy_entry` records that `ZOLP_read_assylist` hands
 * out. Nothing here recurses: a level may hold a million siblings, and a list may be as deep.
 */
#pragma once

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "zolp_orktool.h"

namespace tool {

/** The first record of the tree that a record belongs to; null for null. */
inline assy_entry* assembly_root(assy_entry* entry) {
  if (entry == nullptr) {
    return nullptr;
  }
  while (entry->parent != nullptr || entry->prev != nullptr) {
    entry = entry->parent != nullptr ? entry->parent : entry->prev;
  }
  return entry;
}

/** Frees a tree with all that can be reached from its root; null is ignored. */
inline void free_assembly(assy_entry* root) {
  // Each record's children go to the end of the chain of siblings, so one pass meets all records.
  assy_entry* last = root;
  for (assy_entry* entry = root; entry != nullptr;) {
    while (last->next != nullptr) {
      last = last->next;
    }
    last->next = entry->child;
    assy_entry* const next = entry->next;
    if (last == entry) {
      last = next;
    }
    std::free(entry);
    entry = next;
  }
}

/**
 * Calls `visit(entry, depth)` for each record, parents before their children, siblings in order.
 * The root and its siblings have depth 0. Children are left out where `visit` returns false.
 */
template <class Visitor>
void visit_assembly(const assy_entry* root, Visitor visit) {
  std::vector<const assy_entry*> ancestors;
  const assy_entry* entry = root;
  while (entry != nullptr) {
    if (visit(*entry, ancestors.size()) && entry->child != nullptr) {
      ancestors.push_back(entry);
      entry = entry->child;
      continue;
    }
    while (entry->next == nullptr && !ancestors.empty()) {
      entry = ancestors.back();
      ancestors.pop_back();
    }
    entry = entry->next;
  }
}

struct AssemblyStatistics {
  size_t items = 0;    /**< item records */
  size_t clone = 0;    /**< item records of mode "CLONE" */
  size_t retain = 0;   /**< item records of mode "RETAIN" */
  size_t datasets = 0; /**< dataset records that the tree still leads to */
  int deepest_level = 0;
};

inline bool is_item(const assy_entry& entry) {
  return std::strcmp(entry.type, "ItemRev") == 0;
}

inline AssemblyStatistics measure_assembly(const assy_entry* root) {
  AssemblyStatistics statistics;
  visit_assembly(root, [&](const assy_entry& entry, size_t) {
    if (is_item(entry)) {
      ++statistics.items;
      ++(std::strcmp(entry.mode, "RETAIN") == 0 ? statistics.retain : statistics.clone);
      statistics.deepest_level = std::max(statistics.deepest_level, entry.level);
    } else {
      ++statistics.datasets;
    }
    return true;
  });
  return statistics;
}

/** Owns a tree by any of its records. */
class Assembly {
 public:
  Assembly() = default;
  ~Assembly() { free_assembly(root()); }
  Assembly(const Assembly&) = delete;
  Assembly& operator=(const Assembly&) = delete;

  assy_entry* root() const { return assembly_root(entry_); }
  /** Where `ZOLP_read_assylist` goes on from and puts the last record. */
  assy_entry** address() { return &entry_; }

 private:
  assy_entry* entry_ = nullptr;
};

}  // namespace tool
