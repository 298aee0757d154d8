// What happens between processes that use one file.

#include "child_process.h"
#include "demo_site.h"

TEST(TwoProcesses, WriteOneFileAtOnce) {
  const test::TemporaryFolder folder;
  const std::string path = folder.path("site.db");
  ASSERT_EQ(ork_host_open(path.c_str()), ORK_ok);
  constexpr int count = 100;
  test::ChildProcess partner(
      {PARTNER_PROGRAM, "preferences", path, "Partner_", std::to_string(count)});
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
