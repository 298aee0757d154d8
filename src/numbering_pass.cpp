#include "numbering_pass.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstdio>
#include <vector>

#include "call_frame.h"
#include "host_memory.h"
#include "zolp_basetool.h"
#include "zolp_orktool.h"

namespace orktool {
namespace {

/** Which child is the first one of a revision: a hash table of fixed size, in one block. */
class FirstOfRevision {
 public:
  explicit FirstOfRevision(int count)
      : slots_(std::bit_ceil(2 * static_cast<std::size_t>(std::max(count, 0)) + 2)) {}

  /** Index of the first child of a revision; this one's where there was none. */
  int find_or_add(tag revision, int index) {
    const std::size_t mask = slots_.size() - 1;
    // The upper bits of the product depend on all bits of the tag.
    const std::uint64_t product = revision * std::uint64_t{0x9E3779B97F4A7C15};
    auto i = static_cast<std::size_t>(product >> (64 - std::countr_zero(slots_.size())));
    while (slots_[i].next_index != 0 && slots_[i].revision != revision) {
      i = (i + 1) & mask;
    }
    if (slots_[i].next_index == 0) {
      slots_[i] = {revision, index + 1};
    }
    return slots_[i].next_index - 1;
  }

 private:
  struct Slot {
    tag revision;
    int next_index; /**< 0 in a free slot */
  };
  std::vector<Slot> slots_;
};

/**
 * Numbers the children of one line. Lines of one revision share the number of the first of them.
 * Each revision is read once, so a pass over n children takes n readings of a revision.
 */
class NumberingPass {
 public:
  NumberingPass(const tag* children, int count, int* number, int increment)
      : children_(children), number_(number), increment_(increment), first_of_revision_(count) {}

  void number(int i) {
    tag revision = NULLTAG;
    ZOLP_get_bomline_revtag(children_[i], &revision);
    read_skipped();
    const int first = first_of_revision_.find_or_add(revision, i);
    if (first == i) {
      set_next_number(i);
    } else {
      take_number_of(i, first);
    }
  }

  /** Leaves a child its number; its revision counts as an earlier one for those that follow. */
  void skip(int i) { skipped_.push_back(i); }

 private:
  void read_skipped() {
    for (const int i : skipped_) {
      tag revision = NULLTAG;
      ZOLP_get_bomline_revtag(children_[i], &revision);
      first_of_revision_.find_or_add(revision, i);
    }
    skipped_.clear();
  }

  void set_next_number(int i) {
    char text[81];
    std::snprintf(text, sizeof text, "%d", *number_);
    ZOLP_TRACE("bei j=i, i=%d, Seq=%s \n", i, text);
    ZOLP_setSequenceNo(children_[i], text);
    *number_ = next_number(*number_, increment_);
  }

  void take_number_of(int i, int j) {
    HostPtr<char> own;
    HostPtr<char> earlier;
    ZOLP_getSequenceNo(children_[i], out(own));
    ZOLP_TRACE("i=%d mit Seq=%s ", i, own.get());
    ZOLP_getSequenceNo(children_[j], out(earlier));
    ZOLP_TRACE("  j=%d mit Seq=%s \n", j, earlier.get());
    if (earlier != nullptr) {
      ZOLP_setSequenceNo(children_[i], earlier.get());
    }
  }

  const tag* children_;
  int* number_;
  int increment_;
  FirstOfRevision first_of_revision_;
  std::vector<int> skipped_;
};

}  // namespace

void number_all(const tag* children, int count, int* number, int increment) {
  NumberingPass pass(children, count, number, increment);
  for (int i = 0; i < count; ++i) {
    pass.number(i);
  }
}

void number_all_but(const tag* children, int count, int* number, int increment, int k,
                    tag not_desired) {
  NumberingPass pass(children, count, number, increment);
  for (int i = 0; i < count; ++i) {
    if (children[i] == not_desired) {
      pass.skip(i);
      continue;
    }
    ZOLP_TRACE("of_not_desired_bomlines[%d]:%d: children:%d\n", k, static_cast<int>(not_desired),
               static_cast<int>(children[i]));
    pass.number(i);
  }
}

}  // namespace orktool
