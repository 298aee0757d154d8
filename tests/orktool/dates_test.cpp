#include <gmock/gmock.h>

#include <chrono>
#include <cstdlib>
#include <string>

#include "ork/date.h"
#include "ork/mem.h"
#include "support/fixed_time.h"
#include "support/site.h"

namespace {

/** What a function has handed out and its status: "0:text". */
template <typename Function>
std::string told(Function function) {
  char untouched = '?';
  char* text = &untouched;
  const int status = function(&text);
  const std::string all = std::to_string(status) + ":" + (text != nullptr ? text : "(null)");
  MEM_free(text);
  return all;
}

std::string normalised(const char* input) {
  return told([input](char** text) { return ZOLP_DateStringVELODateString(input, text); });
}

std::string as_text(const date_s& date) {
  return told([&](char** text) { return ZOLP_DateDateToString(date, text); });
}

/** Status and parts, the month as it is. */
std::string told(int status, const date_s& date) {
  std::string all = std::to_string(status) + ":";
  for (const int part : {int{date.year}, int{date.month}, int{date.day}, int{date.hour},
                         int{date.minute}, int{date.second}}) {
    all += " " + std::to_string(part);
  }
  return all;
}

std::string record(const char* input, const char* format = nullptr) {
  date_s date{1, 1, 1, 1, 1, 1};
  const int status = ZOLP_UTIL_DateStringToVELODate(input, &date, format);
  return told(status, date);
}

class DateConversions : public test::TestOn<> {
 protected:
  DateConversions() { unsetenv("STORE_DATE_FORMAT"); }
  ~DateConversions() override { unsetenv("STORE_DATE_FORMAT"); }

  test::FixedTime fixed_time;
};

TEST_F(DateConversions, CurrentDate) {
  date_s date{};
  const int status = ZOLP_DateAskCurrentDate(&date);
  EXPECT_EQ(told(status, date), "0: 2013 2 14 9 5 7");
  ork_host_start_journal();
  EXPECT_EQ(told(ZOLP_DateAskCurrentDateTimeAsString), "0:14.03.2013 09:05");
  EXPECT_THAT(test::Site::journal(), testing::IsEmpty());
  EXPECT_EQ(told(ZOLP_DateAskCurrentDateAsString), "0:14-Mar-2013 09:05");
  EXPECT_THAT(test::Site::journal(), ElementsAre("TEXT_lookup", "DATE_date_to_string"));
  EXPECT_TRUE(trace.has("  ->ZOLP_DateAskCurrentDate(&date) "));
  EXPECT_EQ(record(nullptr), "0: 2013 2 14 9 5 7");
  EXPECT_EQ(record("", "%q"), "0: 2013 2 14 9 5 7");
  EXPECT_EQ(normalised(nullptr), "0:14-Mar-2013 09:05");
  EXPECT_EQ(normalised(""), "0:14-Mar-2013 09:05");
}

TEST_F(DateConversions, FormatsStayAsTheyWereFirstFound) {
  setenv("STORE_DATE_FORMAT", "%d.%m.%Y", 1);
  EXPECT_EQ(as_text({2026, 11, 31, 23, 59, 0}), "0:31.12.2026");
  setenv("STORE_DATE_FORMAT", "%Y/%m/%d", 1);
  ASSERT_EQ(ork_host_seed(R"({"texts": {"en": {"DefaultDateFormat": "%b %d, %Y"}}})"), ORK_ok);
  EXPECT_EQ(told(ZOLP_DateAskCurrentDateAsString), "0:14.03.2013");
  EXPECT_EQ(told(ZOLP_DateAskCurrentDateAsVELOString), "0:14-Mar-2013 09:05");
  EXPECT_EQ(normalised("31.12.2026"), "0:31-Dec-2026 00:00");
  // Records have formats of their own, which are looked up only now.
  EXPECT_EQ(record("2026/12/31"), "0: 2026 11 31 0 0 0");
  EXPECT_EQ(record("Dec 31, 2026"), "0: 2026 11 31 0 0 0");
  unsetenv("STORE_DATE_FORMAT");
  EXPECT_EQ(record("2026/12/31"), "0: 2026 11 31 0 0 0");
  EXPECT_EQ(as_text({}), "0:");
}

TEST_F(DateConversions, TheSecondFormatIsTriedAfterTheFirst) {
  setenv("STORE_DATE_FORMAT", "%d.%m.%Y", 1);
  normalised("");
  trace.clear();
  ork_host_start_journal();
  EXPECT_EQ(normalised("01-Feb-2026 12:34"), "0:01-Feb-2026 12:34");
  EXPECT_THAT(test::Site::journal(),
              ElementsAre("DATE_string_to_date", "DATE_string_to_date", "DATE_date_to_string"));
  EXPECT_EQ(trace.count("->DATE_string_to_date"), 1) << "the first failure is silent";
  EXPECT_FALSE(trace.has("returned"));
  EXPECT_EQ(normalised("31.02.2026"), std::to_string(DATE_wrong_text) + ":(null)");
  EXPECT_TRUE(trace.has(" returned 37003 "));

  EXPECT_EQ(record("01-Feb-2026 12:34"), "0: 2026 1 1 12 34 0");
  trace.clear();
  EXPECT_EQ(record("1/2/26"), "37003: 0 0 0 0 0 0");
  EXPECT_TRUE(trace.has("  ZOLP_UTIL_DateStringToVELODate-E-inputDateString=1/2/26"));
  EXPECT_THAT(trace.lines().back(), StartsWith(" <-ZOLP_UTIL_DateStringToVELODate "));
  EXPECT_EQ(record("1/2/26", "%d/%m/%y"), "0: 2026 1 1 0 0 0");
  ork_host_start_journal();
  EXPECT_EQ(record("31/2/26", "%d/%m/%y"), "37001: 0 0 0 0 0 0");
  EXPECT_THAT(test::Site::journal(), ElementsAre("DATE_string_to_date"));
}

TEST(LocalTime, FollowsTheTimeZoneOfTheProcess) {
  using namespace std::chrono;
  const auto moment = [](const char* zone, auto ask) {
    setenv("TZ", zone, 1);
    date_s date{};
    ask(&date);
    return sys_days(year(date.year) / (date.month + 1) / date.day) + hours(date.hour);
  };
  for (int round = 0; round < 2; ++round) {
    const auto of_date =
        moment("AAA-12", ZOLP_DateAskCurrentDate) - moment("BBB12", ZOLP_DateAskCurrentDate);
    const auto of_time = moment("AAA-12", ZOLP_GetTime) - moment("BBB12", ZOLP_GetTime);
    // An hour more where one ends in between.
    EXPECT_TRUE(of_date == hours(24) || of_date == hours(23)) << of_date.count();
    EXPECT_TRUE(of_time == hours(24) || of_time == hours(23)) << of_time.count();
  }
  unsetenv("TZ");
}

TEST_F(DateConversions, ADateMayHaveNoText) {
  ork_host_fail_call("DATE_date_to_string", 1, ORK_ok);  // it succeeds and gives no text
  EXPECT_EQ(as_text({2026, 0, 1, 0, 0, 0}), "0:(null)");
  EXPECT_EQ(as_text({2026, 12, 1, 0, 0, 0}), std::to_string(DATE_invalid_date) + ":(null)");
}

}  // namespace
