/** @file A small site in memory, and short forms for what tests ask of the host. */
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ork/err.h"
#include "ork/mem.h"
#include "ork/ork.h"
#include "ork_host.h"

namespace test {

inline constexpr const char* demo_seed = R"({
  "site": {"name": "Demo", "automatic_login": "build"},
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

/** A text that the host handed out, freed here; "(null)" for none. */
inline std::string take(char* text) {
  const std::string copy = text != nullptr ? text : "(null)";
  MEM_free(text);
  return copy;
}

/** Texts on the error stack, oldest first. */
inline std::vector<std::string> error_texts() {
  int count = 0;
  const int* severities = nullptr;
  const int* codes = nullptr;
  const char** texts = nullptr;
  EXPECT_EQ(ERR_get_errors(&count, &severities, &codes, &texts), ORK_ok);
  return {texts, texts + count};
}

/** Text of the most recent failure. */
inline std::string last_error() {
  const std::vector<std::string> texts = error_texts();
  return texts.empty() ? "" : texts.back();
}

inline std::string describe(const char* section) {
  char* json = nullptr;
  EXPECT_EQ(ork_host_describe(section, &json), ORK_ok) << last_error();
  return take(json);
}

class DemoSite : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(ork_host_open(":memory:"), ORK_ok) << last_error();
    ASSERT_EQ(ork_host_seed(demo_seed), ORK_ok) << last_error();
    blocks_ = ork_host_block_count();
  }
  void TearDown() override {
    EXPECT_EQ(ork_host_block_count(), blocks_);
    ork_host_close();
  }

  void log_in() { ASSERT_EQ(ORK_auto_login(), ORK_ok) << last_error(); }

 private:
  size_t blocks_ = 0;
};

}  // namespace test
