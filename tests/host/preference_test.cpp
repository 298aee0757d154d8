#include "demo_site.h"
#include "ork/pref.h"

using test::DemoSite;
using test::take;

namespace {

int value_count(const char* name) {
  int count = -1;
  EXPECT_EQ(PREF_get_value_count(name, &count), ORK_ok);
  return count;
}

std::string value(const char* name, int index) {
  char* text = nullptr;
  PREF_get_char_value(name, index, &text);
  return take(text);
}

void set(const char* name, const std::vector<const char*>& values) {
  EXPECT_EQ(ork_host_set_preference(name, static_cast<int>(values.size()), values.data()), ORK_ok);
}

}  // namespace

TEST_F(DemoSite, PreferencesHaveAnyNumberOfValues) {
  log_in();
  ASSERT_EQ(PREF_initialize(), ORK_ok);
  EXPECT_EQ(value_count("Separator"), 1);
  EXPECT_EQ(value_count("Receivers"), 3);
  EXPECT_EQ(value_count("separator"), 0);
  EXPECT_EQ(value("Separator", 0), "/");
  EXPECT_EQ(value("Receivers", 1), "build");
  EXPECT_EQ(value("Receivers", 2), "");

  char* text = nullptr;
  EXPECT_EQ(PREF_get_char_value("Receivers", 3, &text), PREF_value_not_found);
  EXPECT_EQ(PREF_get_char_value("Receivers", -1, &text), PREF_value_not_found);
  EXPECT_EQ(PREF_get_char_value("separator", 0, &text), PREF_value_not_found);
  EXPECT_EQ(text, nullptr);
  EXPECT_EQ(PREF_get_char_value(nullptr, 0, &text), ORK_invalid_argument);

  int count = -1;
  char** values = nullptr;
  ASSERT_EQ(PREF_get_char_values("Receivers", &count, &values), ORK_ok);
  EXPECT_THAT(std::vector<std::string>(values, values + count),
              testing::ElementsAre("wagner", "build", ""));
  MEM_free(values);  // all of it in one block: the fixture counts
  EXPECT_EQ(PREF_get_char_values("Unknown", &count, &values), ORK_ok);
  EXPECT_EQ(count, 0);
  EXPECT_EQ(values, nullptr);
}

TEST_F(DemoSite, LogicalPreferencesTakeTheUsualWords) {
  log_in();
  PREF_initialize();
  logical value = 7;
  EXPECT_EQ(PREF_get_logical_value("Mail", 0, &value), ORK_ok);
  EXPECT_EQ(value, 1);
  set("Words", {"TRUE", "Yes", "on", "1", "False", "NO", "off", "0", "ja", ""});
  for (int i = 0; i < 8; ++i) {
    EXPECT_EQ(PREF_get_logical_value("Words", i, &value), ORK_ok);
    EXPECT_EQ(value, i < 4 ? 1 : 0) << i;
  }
  value = 7;
  EXPECT_EQ(PREF_get_logical_value("Words", 8, &value), PREF_value_not_logical);
  EXPECT_EQ(PREF_get_logical_value("Words", 9, &value), PREF_value_not_logical);
  EXPECT_EQ(PREF_get_logical_value("Words", 10, &value), PREF_value_not_found);
  EXPECT_EQ(value, 7) << "untouched on failure";
}

TEST_F(DemoSite, PreferencesAreReadOncePerSessionAndFollowTheControlInterface) {
  int count = -1;
  EXPECT_EQ(PREF_initialize(), ORK_not_logged_in);
  EXPECT_EQ(PREF_get_value_count("Separator", &count), ORK_not_logged_in);
  EXPECT_EQ(count, 0);
  log_in();
  EXPECT_EQ(PREF_get_value_count("Separator", &count), ORK_ok);
  set("Separator", {"-", "_"});
  EXPECT_EQ(value("Separator", 1), "_");
  set("Separator", {});
  EXPECT_EQ(value_count("Separator"), 0);
  ASSERT_EQ(ork_host_seed(R"({"preferences": {"Separator": "#"}})"), ORK_ok);
  EXPECT_EQ(PREF_initialize(), ORK_ok);
  EXPECT_EQ(value("Separator", 0), "#");
  ORK_exit_module(1);

  log_in();
  EXPECT_EQ(value("Separator", 0), "#");

  const char* missing = nullptr;
  EXPECT_EQ(ork_host_set_preference("Separator", 1, &missing), ORK_invalid_argument);
  EXPECT_EQ(ork_host_set_preference("", 0, nullptr), ORK_invalid_argument);
  EXPECT_EQ(value("Separator", 0), "#");
}
