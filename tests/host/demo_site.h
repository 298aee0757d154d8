/** @file A small site in memory. */
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "ork/ork.h"
#include "ork_host.h"
#include "tests/support/asking.h"

namespace test {

inline constexpr const char* demo_seed = R"({
  "site": {"password_cost": 1, "name": "Demo", "automatic_login": "build"},
  "groups": ["design", "dba"],
  "roles": ["Designer", "Administrator"],
  "users": [
    {"id": "wagner", "name": "Petra Wagner", "password": "let me in",
     "memberships": [{"group": "design", "role": "Designer"}]},
    {"id": "build", "name": "Nightly build", "password": "at night", "administrator": true,
     "memberships": [{"group": "dba", "role": "Administrator"},
                     {"group": "design", "role": "Designer"}],
     "default_group": "design"}],
  "preferences": {"Separator": "/", "Mail": true, "Receivers": ["wagner", "build", ""]},
  "items": [
    {"id": "000100", "name": "Bracket", "revisions": [
      {"id": "A", "datasets": [{"name": "notes"}, {"name": "drawing"}]},
      {"id": "B", "name": "Stiff bracket"}]},
    {"id": "000200", "name": "Pump", "revisions": [{"id": "A"}]}],
  "relations": [
    {"primary": {"item": "000200", "revision": "A"}, "type": "VELO_based_on",
     "secondary": {"item": "000100", "revision": "A"}},
    {"primary": {"item": "000200", "revision": "A"}, "type": "VELO_reference",
     "secondary": {"item": "000100", "revision": "A", "dataset": "drawing"}},
    {"primary": {"item": "000200", "revision": "A"}, "type": "VELO_reference",
     "secondary": {"item": "000100"}}]
})";

inline std::string describe(const char* section) {
  return ask(ork_host_describe, section);
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
