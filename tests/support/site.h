/** @file A site of the embedded host for one test: three users, two groups, preferences to set. */
#pragma once

#include "support/prelude.h"
#include "support/trace_capture.h"
#include "zolp_orktool.h"

#include <initializer_list>
#include <string_view>

namespace test {

class Site {
 public:
  Site() {
    // No arguments of the test program's own are taken for a login.
    arguments({});
    EXPECT_EQ(ork_host_open(":memory:"), ORK_ok);
    EXPECT_EQ(ork_host_seed_file(TEST_FILES "/support/site.json"), ORK_ok);
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
};

/** A test on a site, with its trace. No block of the platform may be left. */
template <typename Kind = Site>
class TestOn : public testing::Test {
 protected:
  ~TestOn() override { EXPECT_EQ(ork_host_block_count(), blocks); }

  static constexpr int failure = 4711;

  /** Makes the nth call of an operation fail. */
  static void fail(const char* operation, int nth = 1) {
    ork_host_fail_call(operation, nth, failure);
  }

  /** The platform calls of an action, whose trace follows the lines that are dropped here. */
  template <typename Action>
  std::vector<std::string> calls(const Action& action) {
    trace.clear();
    ork_host_start_journal();
    action();
    ork_host_stop_journal();
    return Site::journal();
  }

  Kind site;
  TraceCapture trace;
  std::size_t blocks = ork_host_block_count();
};

}  // namespace test
