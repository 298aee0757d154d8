#include "demo_site.h"

TEST(ErrorStack, KeepsEntriesInOrderWithTheirDetails) {
  ERR_clear_errors();
  EXPECT_EQ(ERR_store_error_s1(ERR_severity_error, 919246, "Drawing"), ORK_ok);
  EXPECT_EQ(ERR_store_error(ERR_severity_warning, 2002), ORK_ok);
  EXPECT_EQ(ERR_store_error_s1(ERR_severity_information, 4711, nullptr), ORK_ok);
  EXPECT_EQ(PREF_initialize(), ORK_not_logged_in);

  int count = 0;
  const int* severities = nullptr;
  const int* codes = nullptr;
  const char** texts = nullptr;
  ASSERT_EQ(ERR_get_errors(&count, &severities, &codes, &texts), ORK_ok);
  ASSERT_EQ(count, 4);
  EXPECT_THAT(std::vector<int>(severities, severities + count), ElementsAre(3, 2, 1, 3));
  EXPECT_THAT(std::vector<int>(codes, codes + count),
              ElementsAre(919246, 2002, 4711, ORK_not_logged_in));
  EXPECT_STREQ(texts[0], "The dataset type cannot be found: Drawing");
  EXPECT_STREQ(texts[1], "Memory is exhausted");
  EXPECT_STREQ(texts[2], "Unknown error code 4711");

  EXPECT_EQ(ERR_clear_errors(), ORK_ok);
  EXPECT_THAT(test::error_texts(), IsEmpty());
}

TEST(ErrorStack, KeepsTheMostRecentEntries) {
  constexpr int stored = ERR_stack_size + 3;
  for (int i = 0; i < stored; ++i) {
    ERR_store_error_s1(ERR_severity_error, 1, std::to_string(i).c_str());
  }
  const std::vector<std::string> texts = test::error_texts();
  ASSERT_EQ(texts.size(), static_cast<size_t>(ERR_stack_size));
  EXPECT_THAT(texts.front(), testing::EndsWith(": 3"));
  EXPECT_THAT(texts.back(), testing::EndsWith(": " + std::to_string(stored - 1)));
}

TEST(ErrorStack, AMarkKeepsToItsEntriesWhenTheOldestGo) {
  ERR_clear_errors();
  ERR_store_error(ERR_severity_error, 1);
  ERR_store_error(ERR_severity_error, 2);
  ERR_set_protect_mark();
  for (int i = 1; i < ERR_stack_size; ++i) {
    ERR_store_error(ERR_severity_error, 3);
  }
  ERR_clear_errors();
  EXPECT_THAT(error_codes(), ElementsAre(2));
  ERR_clear_protect_mark();
  ERR_clear_errors();
}

TEST(ErrorStack, RefusesWhatIsNoSeverityAndNullArguments) {
  EXPECT_EQ(ERR_store_error(0, 1), ORK_invalid_argument);
  EXPECT_EQ(ERR_store_error(4, 1), ORK_invalid_argument);
  EXPECT_EQ(ERR_get_errors(nullptr, nullptr, nullptr, nullptr), ORK_invalid_argument);
  EXPECT_EQ(ERR_get_error_text(1, nullptr), ORK_invalid_argument);
}
