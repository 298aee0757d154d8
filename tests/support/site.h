/** @file A site of the embedded host for one test: three users, two groups, preferences to set. */
#pragma once

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "ork/ork.h"
#include "ork_host.h"
#include "support/asking.h"

namespace test {

class Site {
 public:
  Site() {
    // No arguments of the test program's own are taken for a login.
    arguments({});
    EXPECT_EQ(ork_host_open(":memory:"), ORK_ok);
    EXPECT_EQ(ork_host_seed(seed), ORK_ok);
  }
  ~Site() {
    ork_host_clear_faults();
    ork_host_close();
  }
  Site(const Site&) = delete;
  Site& operator=(const Site&) = delete;

  /** Logs in as a designer; empties the error stack. */
  void log_in() const { log_in("ada", "ada-secret", "engineering"); }

  void log_in(const char* user, const char* password, const char* group) const {
    ASSERT_EQ(ORK_init_module(user, password, group), ORK_ok);
  }

  void arguments(std::initializer_list<const char*> arguments) const {
    std::vector<const char*> all{"program"};
    all.insert(all.end(), arguments);
    ork_host_set_arguments(static_cast<int>(all.size()), all.data());
  }

  void preference(const char* name, const std::string& value) const {
    const char* text = value.c_str();
    ASSERT_EQ(ork_host_set_preference(name, 1, &text), ORK_ok);
  }

  void preference(const char* name, const std::vector<const char*>& values) const {
    ASSERT_EQ(ork_host_set_preference(name, static_cast<int>(values.size()), values.data()),
              ORK_ok);
  }

  /** Names of the platform operations called since the journal was started, in order. */
  static std::vector<std::string> journal() {
    std::vector<std::string> names;
    const char* name = nullptr;
    int status = ORK_ok;
    for (int i = 0; ork_host_journal_entry(i, &name, &status) != 0; ++i) {
      names.emplace_back(name);
    }
    return names;
  }

 private:
  static constexpr const char* seed = R"({
    "site": {"password_cost": 1, "name": "Test", "automatic_login": "batch"},
    "groups": [{"name": "engineering"}, {"name": "quality"}],
    "roles": [{"name": "designer"}, {"name": "administrator"}],
    "users": [
      {"id": "ada", "name": "Ada Example", "password": "ada-secret",
       "memberships": [{"group": "engineering", "role": "designer"}],
       "default_group": "engineering"},
      {"id": "root", "name": "Rita Root", "password": "root-secret", "administrator": true,
       "memberships": [{"group": "engineering", "role": "administrator"}],
       "default_group": "engineering"},
      {"id": "batch", "name": "Batch", "password": "batch-secret",
       "memberships": [{"group": "quality", "role": "designer"}],
       "default_group": "quality"}
    ],
    "relation_types": [{"name": "Documents"}, {"name": "Drawings"}],
    "items": [
      {"id": "4711", "name": "Gearbox", "revisions": [
        {"id": "A", "name": "Gearbox", "datasets": []}]},
      {"id": "4712", "name": "Housing", "revisions": [
        {"id": "B", "name": "Housing with a name that is longer than its column", "datasets": []}]}
    ]
  })";
};

}  // namespace test
