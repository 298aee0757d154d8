/** @file A small site in memory. */
#pragma once

#include "support/prelude.h"

namespace test {

inline const std::string demo_seed_text = file_text("host/seeds/demo.json");
inline const char* const demo_seed = demo_seed_text.c_str();

inline std::string describe(const char* section) {
  return ask(ork_host_describe, section);
}

/**
 * Requires that seeds are refused and change nothing. A table has two lines for each: the seed,
 * and, indented, what the text of the refusal contains.
 */
template <typename Seed>
void expect_refused(const std::string& table, const Seed& seed) {
  std::istringstream lines(file_text("host/seeds/" + table));
  const std::string before = describe(nullptr);
  int count = 0;
  for (std::string json, text; std::getline(lines, json) && std::getline(lines, text); ++count) {
    EXPECT_EQ(seed(json.c_str()), ORK_invalid_argument) << json;
    EXPECT_THAT(last_error(), testing::HasSubstr(text.substr(text.find_first_not_of(' '))));
    EXPECT_EQ(describe(nullptr), before) << json;
  }
  EXPECT_GT(count, 0) << table;
}

class DemoSite : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(ork_host_open(":memory:"), ORK_ok) << last_error();
    seed(demo_seed);
    blocks_ = ork_host_block_count();
  }
  void TearDown() override {
    EXPECT_EQ(ork_host_block_count(), blocks_);
    ork_host_close();
  }

  static void seed(const std::string& json) {
    ASSERT_EQ(ork_host_seed(json.c_str()), ORK_ok) << last_error();
  }
  static void log_in() { ASSERT_EQ(ORK_auto_login(), ORK_ok) << last_error(); }
  static void log_in_as(const char* user, const char* password) {
    ASSERT_EQ(ORK_init_module(user, password, nullptr), ORK_ok) << last_error();
  }
  static void log_in_as_designer() { log_in_as("wagner", "let me in"); }

  static tag find(const char* item_id, const char* revision_id = nullptr) {
    const tag object = ask(ork_host_find_item, item_id, revision_id);
    EXPECT_NE(object, NULLTAG) << item_id;
    return object;
  }

 private:
  size_t blocks_ = 0;
};

}  // namespace test

using test::DemoSite, test::describe, test::expect_refused;
