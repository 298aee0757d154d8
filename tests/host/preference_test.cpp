#include "demo_site.h"

namespace {

int value_count(const char* name) {
  return ask(PREF_get_value_count, name);
}

std::string value(const char* name, int index) {
  return ask(PREF_get_char_value, name, index);
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
  EXPECT_EQ(value("Receivers", 2), "");
  EXPECT_EQ(refusal(PREF_get_char_value, "Receivers", 3), PREF_value_not_found);
  EXPECT_EQ(refusal(PREF_get_char_value, "Receivers", -1), PREF_value_not_found);
  EXPECT_EQ(refusal(PREF_get_char_value, "separator", 0), PREF_value_not_found);
  EXPECT_EQ(refusal(PREF_get_char_value, nullptr, 0), ORK_invalid_argument);
  EXPECT_THAT(test::list(PREF_get_char_values, "Receivers"),
              testing::ElementsAre("wagner", "build", ""));
  EXPECT_THAT(test::list(PREF_get_char_values, "Unknown"), testing::IsEmpty());
}

TEST_F(DemoSite, LogicalPreferencesTakeTheUsualWords) {
  log_in();
  PREF_initialize();
  EXPECT_TRUE(ask(PREF_get_logical_value, "Mail", 0));
  set("Words", {"TRUE", "Yes", "on", "1", "False", "NO", "off", "0", "ja", ""});
  for (int i = 0; i < 8; ++i) {
    EXPECT_EQ(ask(PREF_get_logical_value, "Words", i), i < 4) << i;
  }
  logical value = 7;
  EXPECT_EQ(PREF_get_logical_value("Words", 8, &value), PREF_value_not_logical);
  EXPECT_EQ(PREF_get_logical_value("Words", 9, &value), PREF_value_not_logical);
  EXPECT_EQ(PREF_get_logical_value("Words", 10, &value), PREF_value_not_found);
  EXPECT_EQ(value, 7) << "untouched on failure";
}

TEST_F(DemoSite, PreferencesAreReadOncePerSessionAndFollowTheControlInterface) {
  EXPECT_EQ(PREF_initialize(), ORK_not_logged_in);
  EXPECT_EQ(refusal(PREF_get_value_count, "Separator"), ORK_not_logged_in);
  log_in();
  EXPECT_EQ(value_count("Separator"), 1);
  set("Separator", {"-", "_"});
  EXPECT_EQ(value("Separator", 1), "_");
  set("Separator", {});
  EXPECT_EQ(value_count("Separator"), 0);
  seed(R"({"preferences": {"Separator": "#"}})");
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
