/** @file A site of the embedded host for one test: three users, two groups, preferences to set. */
#pragma once

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "ork/err.h"
#include "ork/mem.h"
#include "ork/ork.h"
#include "ork_host.h"

namespace test {

/** What a function that must succeed puts behind its last parameter. */
template <typename Value = tag, typename Function, typename... Arguments>
Value asked(Function function, Arguments... arguments) {
  Value value{77};
  EXPECT_EQ(function(arguments..., &value), ORK_ok);
  return value;
}

/** An array of objects that somebody handed out. */
inline std::vector<tag> take(int count, tag* array) {
  std::vector<tag> all(array, array + count);
  MEM_free(array);
  return all;
}

/** The objects that a function lists, which must succeed. */
template <typename Function, typename... Arguments>
std::vector<tag> listed(Function function, Arguments... arguments) {
  int count = 99;
  tag* objects = nullptr;
  EXPECT_EQ(function(arguments..., &count, &objects), ORK_ok);
  return take(count, objects);
}

struct StackedError {
  int severity;
  int code;
  std::string text;
};

/** The error stack, oldest first. */
inline std::vector<StackedError> error_stack() {
  int count = 0;
  const int* severities = nullptr;
  const int* codes = nullptr;
  const char** texts = nullptr;
  EXPECT_EQ(ERR_get_errors(&count, &severities, &codes, &texts), ORK_ok);
  std::vector<StackedError> errors;
  for (int i = 0; i < count; ++i) {
    errors.push_back({severities[i], codes[i], texts[i]});
  }
  return errors;
}

inline std::vector<int> error_codes() {
  std::vector<int> codes;
  for (const StackedError& error : error_stack()) {
    codes.push_back(error.code);
  }
  return codes;
}

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
    "site": {"name": "Test", "automatic_login": "batch"},
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
