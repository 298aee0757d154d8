#include "tools/assembly_tree.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>

namespace {

assy_entry* make_record(int level, const char* id, const char* mode = "CLONE",
                        const char* type = "ItemRev") {
  auto* const record = static_cast<assy_entry*>(std::calloc(1, sizeof(assy_entry)));
  record->level = level;
  std::strcpy(record->item_id, id);
  std::strcpy(record->mode, mode);
  std::strcpy(record->type, type);
  return record;
}

assy_entry* add_child(assy_entry* parent, assy_entry* child) {
  parent->child = child;
  child->parent = parent;
  return child;
}

assy_entry* add_sibling(assy_entry* last, assy_entry* next) {
  last->next = next;
  next->prev = last;
  next->parent = last->parent;
  return next;
}

TEST(AssemblyTreeHelpers, FindWalkAndMeasure) {
  EXPECT_EQ(tool::assembly_root(nullptr), nullptr);
  EXPECT_EQ(tool::measure_assembly(nullptr).items, 0u);

  assy_entry* const first = make_record(1, "A");
  assy_entry* const second = add_child(first, make_record(2, "B", "RETAIN"));
  add_child(second, make_record(3, "b", "RETAIN", "QNPART"));
  assy_entry* const third = add_sibling(second, make_record(2, "C"));
  add_child(third, make_record(7, "D", "RETAIN"));
  assy_entry* const last = add_sibling(first, make_record(1, "E"));

  EXPECT_EQ(tool::assembly_root(third->child), first);
  EXPECT_EQ(tool::assembly_root(last), first);

  std::string order;
  tool::visit_assembly(first, [&](const assy_entry& entry, size_t depth) {
    order += entry.item_id + std::to_string(depth);
    return std::strcmp(entry.item_id, "B") != 0;  // its children are left out
  });
  EXPECT_EQ(order, "A0B1C1D2E0");

  const tool::AssemblyStatistics statistics = tool::measure_assembly(first);
  EXPECT_EQ(statistics.items, 5u);
  EXPECT_EQ(statistics.clone, 3u);
  EXPECT_EQ(statistics.retain, 2u);
  EXPECT_EQ(statistics.datasets, 1u);
  EXPECT_EQ(statistics.deepest_level, 7);

  tool::free_assembly(first);  // the sanitizers see what is left or freed twice
  tool::free_assembly(nullptr);
}

TEST(AssemblyTreeHelpers, NeitherWidthNorDepthNeedsStack) {
  constexpr int many = 200'000;
  tool::Assembly tree;
  assy_entry* entry = *tree.address() = make_record(1, "TOP");
  for (int i = 0; i < many; ++i) {
    entry = add_child(entry, make_record(i + 2, "DOWN"));
  }
  for (int i = 0; i < many; ++i) {
    entry = add_sibling(entry, make_record(many + 1, "ACROSS"));
  }
  EXPECT_EQ(tool::measure_assembly(tree.root()).items, 2u * many + 1);
}

}  // namespace
