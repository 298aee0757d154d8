#include <cstdint>

#include "demo_site.h"

TEST(Memory, BlocksAreCountedUntilTheyAreFreed) {
  void* first = MEM_alloc(100);
  void* empty = MEM_alloc(0);
  ASSERT_NE(first, nullptr);
  ASSERT_NE(empty, nullptr);
  EXPECT_EQ(reinterpret_cast<uintptr_t>(first) % alignof(max_align_t), 0u);
  EXPECT_EQ(ork_host_block_count(), 2u);
  EXPECT_EQ(ork_host_block_bytes(), 100u);

  std::memset(first, 'x', 100);
  first = MEM_realloc(first, 20'000);
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(static_cast<char*>(first)[99], 'x');
  EXPECT_EQ(ork_host_block_bytes(), 20'000u);
  first = MEM_realloc(first, 0);
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(ork_host_block_bytes(), 0u);
  EXPECT_EQ(ork_host_block_count(), 2u);

  MEM_free(first);
  MEM_free(empty);
  MEM_free(nullptr);
  EXPECT_EQ(ork_host_block_count(), 0u);
}

TEST(Memory, ArraysGrowWithZeros) {
  auto* numbers = static_cast<int*>(MEM_crealloc(nullptr, 3, sizeof(int)));
  ASSERT_NE(numbers, nullptr);
  EXPECT_THAT(std::vector<int>(numbers, numbers + 3), testing::ElementsAre(0, 0, 0));
  numbers[2] = 7;
  numbers = static_cast<int*>(MEM_crealloc(numbers, 500, sizeof(int)));
  ASSERT_NE(numbers, nullptr);
  EXPECT_EQ(numbers[2], 7);
  for (int i = 3; i < 500; ++i) {
    EXPECT_EQ(numbers[i], 0);
  }

  EXPECT_EQ(MEM_crealloc(numbers, SIZE_MAX / 2, 4), nullptr);
  EXPECT_EQ(MEM_realloc(numbers, SIZE_MAX), nullptr);
  EXPECT_EQ(MEM_alloc(SIZE_MAX), nullptr);
  EXPECT_EQ(numbers[2], 7) << "the old block stays";
  MEM_free(numbers);
}

TEST_F(DemoSite, AFailingAllocationIsAStatusOfTheOperation) {
  log_in();
  ork_host_fail_allocation(2);
  EXPECT_EQ(test::ask(STORE_get_user_id), "build");
  EXPECT_EQ(test::refusal(STORE_get_user), ORK_out_of_memory);

  void* block = MEM_alloc(1);
  ork_host_fail_allocation(1);
  EXPECT_EQ(MEM_realloc(block, 10), nullptr);
  block = MEM_realloc(block, 10);
  ork_host_fail_allocation(1);
  ork_host_clear_faults();
  block = MEM_crealloc(block, 20, 1);
  EXPECT_NE(block, nullptr);
  MEM_free(block);
}

TEST(Memory, ForeignAndFreedBlocksAreReportedAndLeftAlone) {
  int not_a_block = 0;
  void* block = MEM_alloc(8);
  MEM_free(block);
  testing::internal::CaptureStderr();
  MEM_free(block);
  EXPECT_THAT(testing::internal::GetCapturedStderr(),
              testing::AllOf(testing::StartsWith("MEM_free: "), testing::EndsWith("\n")));
  testing::internal::CaptureStderr();
  EXPECT_EQ(MEM_realloc(&not_a_block, 8), nullptr);
  EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::StartsWith("MEM_realloc: "));
  EXPECT_EQ(ork_host_block_count(), 0u);
}
