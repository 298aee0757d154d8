// What happens between processes that use one file, and when one of them dies.

#include <algorithm>

#include "child_process.h"
#include "demo_site.h"
#include "failure.h"
#include "ork/store.h"
#include "store.h"
#include "tests/support/temporary_folder.h"

using host::Store;
using test::ChildProcess;
using testing::HasSubstr;

namespace {

class ProcessTest : public testing::Test {
 protected:
  tag saved_item() {
    const tag item = store_.create(store_.class_named("Item"));
    store_.set(item, "object_name", std::string("0"));
    store_.set(item, "object_desc", std::string("0"));
    store_.save(item);
    store_.refresh(item, false);
    return item;
  }
  std::vector<std::string> partner(const char* command, tag object) const {
    return {PARTNER_PROGRAM, command, path_, std::to_string(object)};
  }
  void expect_locked_by_partner(tag object) {
    try {
      store_.lock(object);
      ADD_FAILURE() << "locked twice";
    } catch (const host::Failure& failure) {
      EXPECT_EQ(failure.status(), STORE_locked_by_other);
      EXPECT_THAT(failure.detail(), HasSubstr("user partner"));
    }
    ASSERT_TRUE(store_.lock_holder(object).has_value());
    EXPECT_EQ(store_.lock_holder(object)->user_id, "partner");
  }

  test::TemporaryFolder folder_;
  std::string path_ = folder_.path("site.db");
  host::Database database_{path_};
  Store store_{database_};
};

}  // namespace

TEST_F(ProcessTest, ALockOfAnotherProcessIsRefusedWithItsHolderUntilThatEnds) {
  const tag first = saved_item();
  const tag second = saved_item();
  ChildProcess killed(partner("hold", first));
  ChildProcess ended(partner("hold", second));
  ASSERT_EQ(killed.read_line(), "held");
  ASSERT_EQ(ended.read_line(), "held");
  expect_locked_by_partner(first);
  expect_locked_by_partner(second);

  killed.kill();
  EXPECT_FALSE(store_.lock_holder(first).has_value());
  store_.lock(first);
  ended.close_input();
  EXPECT_EQ(ended.wait(), 0);
  store_.lock(second);

  ChildProcess refused(partner("hold", first));
  EXPECT_EQ(refused.read_line(), "");
  EXPECT_EQ(refused.wait(), 1);
  store_.release_locks();
  ChildProcess granted(partner("hold", first));
  EXPECT_EQ(granted.read_line(), "held");
}

TEST_F(ProcessTest, AKilledProcessLeavesWholeSaves) {
  const tag item = saved_item();
  for (const int saves : {1, 20, 57}) {
    ChildProcess saving(partner("save", item));
    std::string last_said;
    for (int i = 0; i < saves; ++i) {
      last_said = saving.read_line();
    }
    ASSERT_EQ(last_said, std::to_string(saves));
    saving.kill();

    store_.refresh(item, false);
    const std::string name = store_.text(item, "object_name");
    EXPECT_EQ(name, store_.text(item, "object_desc"));
    EXPECT_GE(std::stoi(name), saves) << "what it had saved is there";
  }
  host::Query check(database_, "PRAGMA integrity_check");
  ASSERT_TRUE(check.next());
  EXPECT_EQ(check.text(0), "ok");
}

TEST_F(ProcessTest, TwoProcessesWriteOneFileAtOnce) {
  constexpr int count = 100;
  ChildProcess partner({PARTNER_PROGRAM, "preferences", path_, "Partner_", std::to_string(count)});
  ASSERT_EQ(ork_host_open(path_.c_str()), ORK_ok);
  for (int i = 0; i < count; ++i) {
    const char* value = "set";
    ASSERT_EQ(ork_host_set_preference(("Own_" + std::to_string(i)).c_str(), 1, &value), ORK_ok);
  }
  EXPECT_EQ(partner.read_line(), "done");
  EXPECT_EQ(partner.wait(), 0);
  const std::string preferences = test::describe("preferences");
  for (int i = 0; i < count; ++i) {
    EXPECT_THAT(preferences, HasSubstr("\"Own_" + std::to_string(i) + "\""));
    EXPECT_THAT(preferences, HasSubstr("\"Partner_" + std::to_string(i) + "\""));
  }
  ork_host_close();
}
