#include "support/site.h"

namespace {

TEST(Errors, ReportTakesTheLatestEntryOfTheCodeOrTheGeneralText) {
  const test::Site site;
  test::TraceCapture trace;
  ERR_store_error_s1(ERR_severity_error, ORK_unknown_user, "first");
  ERR_store_error_s1(ERR_severity_error, ORK_unknown_user, "second");
  ERR_store_error_s1(ERR_severity_error, ORK_wrong_password, "third");
  ZOLP_ReportLastOrkError(ORK_unknown_user);
  EXPECT_THAT(trace.lines(), ElementsAre(HasSubstr("second")));
  EXPECT_THAT(trace.levels(), ElementsAre(ZOLP_LEVEL_ERROR)) << "seen by those who trace nothing";
  EXPECT_EQ(error_codes().size(), 3U) << "the stack stays";
  trace.clear();
  char* text = nullptr;
  ERR_get_error_text(ORK_unknown_group, &text);
  ZOLP_ReportLastOrkError(ORK_unknown_group);
  EXPECT_THAT(trace.lines(), ElementsAre("--" + std::string(text) + "--"));
  MEM_free(text);
  ork_host_fail_allocation(1);
  ZOLP_ReportLastOrkError(ORK_unknown_group);
  EXPECT_EQ(trace.lines().back(), "--(null)--");
  EXPECT_EQ(ork_host_block_count(), 0U);
}

TEST(Errors, ListWritesTheStackInItsOrder) {
  const test::Site site;
  test::TraceCapture trace;
  EXPECT_EQ(ZOLP_list_errors(0), ORK_ok);
  EXPECT_TRUE(trace.lines().empty());

  EXPECT_EQ(ZOLP_list_errors(1), ORK_ok);
  EXPECT_EQ(trace.lines().back(), "list_errors:");

  trace.clear();
  ERR_store_error(ERR_severity_error, 4711);
  ERR_store_error_s1(ERR_severity_warning, ORK_unknown_user, "nobody");
  EXPECT_EQ(ZOLP_list_errors(1), ORK_ok);
  ASSERT_EQ(trace.lines().size(), 6U);
  EXPECT_THAT(trace.lines()[0],
              HasSubstr(" ->ERR_get_errors(&n_ifails, &severities, &ifails, &texts) "));
  EXPECT_THAT(trace.lines()[4], testing::StartsWith("\t\"4711\":\""));
  EXPECT_THAT(trace.lines()[5], testing::MatchesRegex("\t\"20003\":\".*nobody.*\""));
}

TEST(Version, IsPrintedOnce) {
  const test::TraceCapture trace;
  ZOLP_Version();
  ZOLP_Version();
  EXPECT_THAT(trace.lines(),
              ElementsAre(testing::MatchesRegex("ZOLP ORK-Tool {22}\\(V10\\.1\\.1\\.0\\)  "
                                                "[A-Z][a-z]{2} [ 0-9][0-9] [0-9]{4} "
                                                "[0-9]{2}:[0-9]{2}:[0-9]{2}"),
                          ""));
}

TEST(Strings, CopyIsTheCallers) {
  EXPECT_EQ(ZOLP_CopyString(nullptr), nullptr);
  EXPECT_EQ(ZOLP_string_append(nullptr, "x"), nullptr);
  const char original[] = "text";
  char* copy = ZOLP_CopyString(original);
  EXPECT_NE(copy, original);
  EXPECT_EQ(ork_host_block_bytes(), sizeof original);
  EXPECT_EQ(take(copy), original);

  const test::TraceCapture trace;
  ork_host_fail_allocation(1);
  EXPECT_EQ(ZOLP_CopyString("text"), nullptr);
  EXPECT_THAT(trace.lines(), ElementsAre("ZOLP_CopyString alloc Memory"));
  EXPECT_THAT(trace.levels(), ElementsAre(ZOLP_LEVEL_ERROR));
}

TEST(Strings, AppendGrowsTheText) {
  char* text = nullptr;
  EXPECT_EQ(ZOLP_string_append(&text, "one"), text);
  EXPECT_STREQ(text, "one");
  EXPECT_EQ(ZOLP_string_append(&text, ", two"), text);
  EXPECT_STREQ(text, "one, two");
  ZOLP_string_append(&text, "");
  ZOLP_string_append(&text, nullptr);
  EXPECT_STREQ(text, "one, two");
  ZOLP_string_append(&text, text + 3);
  EXPECT_STREQ(text, "one, two, two");
  ZOLP_string_append(&text, text);
  EXPECT_STREQ(text, "one, two, twoone, two, two");
  MEM_free(text);
  EXPECT_EQ(ork_host_block_count(), 0U);
}

TEST(SmallClasses, ParamLineCopiesTheWholeRecord) {
  static_assert(sizeof(CZOLP_ParamLine) == 1026);
  CZOLP_ParamLine line{};
  CZOLP_ParamLine copy{};
  std::memset(line.text, 'x', sizeof line.text);
  EXPECT_EQ(&(copy = line), &copy);
  EXPECT_EQ(std::memcmp(copy.text, line.text, sizeof line.text), 0);
  CZOLP_String text;
  const CZOLP_String other;
  EXPECT_EQ(&(text = other), &text);
}

}  // namespace
