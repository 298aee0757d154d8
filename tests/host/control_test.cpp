#include <chrono>

#include "demo_site.h"

using testing::Pair;

namespace {

std::vector<std::pair<std::string, int>> journal() {
  std::vector<std::pair<std::string, int>> entries;
  const char* operation = nullptr;
  int status = 0;
  for (int i = 0; ork_host_journal_entry(i, &operation, &status) == 1; ++i) {
    entries.emplace_back(operation, status);
  }
  EXPECT_EQ(static_cast<int>(entries.size()), ork_host_journal_size());
  return entries;
}

}  // namespace

TEST_F(DemoSite, JournalListsCallsInOrderWithTheirStatuses) {
  log_in();
  ork_host_start_journal();
  int count = 0;
  PREF_get_value_count("Separator", &count);
  MEM_free(MEM_alloc(1));
  ERR_clear_errors();
  PREF_initialize();
  ORK_get_cli_argument("-u");
  ork_host_stop_journal();
  ORG_init_module();
  EXPECT_THAT(journal(),
              ElementsAre(Pair("PREF_get_value_count", ORK_ok), Pair("PREF_initialize", ORK_ok),
                          Pair("ORK_get_cli_argument", ORK_ok)));
  EXPECT_EQ(ork_host_journal_entry(-1, nullptr, nullptr), 0);

  ork_host_start_journal();
  EXPECT_EQ(ork_host_journal_size(), 0);
  ork_host_stop_journal();
}

TEST_F(DemoSite, TheNthCallOfAllOperationsCountsWhatTheJournalRecords) {
  log_in();
  ork_host_fail_call("*", 3, 4711);
  EXPECT_EQ(ORG_init_module(), ORK_ok);
  EXPECT_EQ(ERR_clear_errors(), ORK_ok);
  EXPECT_EQ(PREF_initialize(), ORK_ok);
  EXPECT_EQ(ORK_set_bypass(1), 4711);
  EXPECT_FALSE(ask(ORK_get_bypass)) << "a call that fails does nothing";
  EXPECT_EQ(ORK_set_bypass(1), ORK_ok);

  ork_host_fail_call("ERR_get_errors", 1, 5);
  int count = -1;
  const int* numbers = nullptr;
  const char** texts = nullptr;
  EXPECT_EQ(ERR_get_errors(&count, &numbers, &numbers, &texts), 5);
  EXPECT_EQ(count, 0);

  ork_host_start_journal();
  ork_host_fail_call("PREF_initialize", 2, 7);
  ork_host_fail_call("PREF_initialize", 3, ORK_internal_error);
  for (int i = 0; i < 4; ++i) {
    PREF_initialize();
  }
  const auto called = [](int status) { return testing::Pair("PREF_initialize", status); };
  EXPECT_THAT(journal(),
              ElementsAre(called(ORK_ok), called(7), called(ORK_internal_error), called(ORK_ok)));
  EXPECT_THAT(error_codes(), testing::IsSupersetOf({7, int{ORK_internal_error}}));
  ork_host_stop_journal();

  ork_host_fail_call("ORG_init_module", 1, 1);
  ork_host_clear_faults();
  EXPECT_EQ(ORG_init_module(), ORK_ok);
}

TEST_F(DemoSite, ADelayedOperationTakesItsTimeUntilTheDelayIsTakenBack) {
  log_in();
  const auto elapsed = [] {
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(ORG_init_module(), ORK_ok);
    return std::chrono::steady_clock::now() - begin;
  };
  constexpr int delay_ms = 200;
  ork_host_delay_call("ORG_init_module", delay_ms);
  EXPECT_GE(elapsed(), std::chrono::milliseconds(delay_ms));
  ork_host_delay_call("ORG_init_module", 0);
  // Nothing can make sure that a call is fast; but not each of many takes as long by accident.
  auto shortest = elapsed();
  for (int i = 0; i < 100; ++i) {
    shortest = std::min(shortest, elapsed());
  }
  EXPECT_LT(shortest, std::chrono::milliseconds(delay_ms));
}

TEST(Site, WhatIsNoSiteIsRefusedAndLeftAsItIs) {
  const test::TemporaryFolder folder;
  const std::string text = folder.write("notes.txt", std::string(5000, 'x'));
  EXPECT_EQ(ork_host_open(text.c_str()), ORK_site_not_available);
  EXPECT_THAT(last_error(), HasSubstr(text));
  EXPECT_EQ(folder.read("notes.txt"), std::string(5000, 'x'));
  EXPECT_EQ(ork_host_open(folder.path("missing/site.db").c_str()), ORK_site_not_available);
  EXPECT_EQ(ork_host_open(""), ORK_site_not_available);
  EXPECT_EQ(ork_host_open(nullptr), ORK_invalid_argument);
  EXPECT_EQ(ork_host_path(), nullptr);
  EXPECT_EQ(ork_host_seed("{}"), ORK_site_not_available);
  EXPECT_EQ(test::refusal(ork_host_describe, "site"), ORK_site_not_available);
  ork_host_close();
}

TEST(Site, KeepsWhatIsInItBetweenOpens) {
  const test::TemporaryFolder folder;
  const std::string path = folder.path("site.db");
  ASSERT_EQ(ork_host_open(path.c_str()), ORK_ok);
  ASSERT_EQ(ork_host_seed(test::demo_seed), ORK_ok);
  ORK_auto_login();
  const std::string before = test::describe(nullptr);
  ASSERT_EQ(ork_host_open(path.c_str()), ORK_ok);
  EXPECT_EQ(ORK_set_bypass(0), ORK_not_logged_in) << "a session ends with its site";
  EXPECT_EQ(test::describe(nullptr), before);
  EXPECT_EQ(ork_host_open(":memory:"), ORK_ok);
  EXPECT_EQ(test::describe("users"), "[]");
  ork_host_close();
}
