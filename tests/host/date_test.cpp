#include "demo_site.h"

namespace {

std::string text_of(const date_s& date, const char* format) {
  char* text = nullptr;
  const int status = DATE_date_to_string(date, format, &text);
  return status == ORK_ok ? test::take(text) : std::to_string(status);
}

/** The parts as "year-month-day hour:minute:second" with the month as it is, or the status. */
std::string parts_of(const char* text, const char* format) {
  std::array<int, 6> part;
  part.fill(99);
  auto& [month, day, year, hour, minute, second] = part;
  const int status =
      DATE_string_to_date(text, format, &month, &day, &year, &hour, &minute, &second);
  if (status != ORK_ok) {
    EXPECT_EQ(month + day + year + hour + minute + second, 0);
    return std::to_string(status);
  }
  std::string all;
  for (const int number : {year, month, day, hour, minute, second}) {
    all += (all.empty() ? "" : " ") + std::to_string(number);
  }
  return all;
}

constexpr date_s evening = {2026, 2, 5, 23, 59, 7};

}  // namespace

TEST(Dates, AreWrittenInTheFormat) {
  EXPECT_EQ(text_of(evening, "%d-%b-%Y %H:%M:%S"), "05-Mar-2026 23:59:07");
  EXPECT_EQ(text_of(evening, "100%% on %m/%y"), "100% on 03/26");
  EXPECT_EQ(text_of({2024, 1, 29, 0, 0, 0}, "%Y"), "2024");
  EXPECT_EQ(text_of({7, 0, 1, 0, 0, 0}, "%Y"), "0007");
  EXPECT_EQ(text_of(evening, ""), "");
  EXPECT_EQ(text_of({}, "%d.%m.%Y"), "") << "the null date";
  for (const char* format : {"%", "%d %q", "%d%"}) {
    EXPECT_EQ(text_of(evening, format), std::to_string(DATE_invalid_format));
    EXPECT_EQ(text_of({}, format), std::to_string(DATE_invalid_format));
    EXPECT_THAT(test::last_error(), HasSubstr(format));
  }
  const date_s no_dates[] = {{2026, 1, 29, 0, 0, 0},  {2026, 12, 1, 0, 0, 0},
                             {2026, 255, 1, 0, 0, 0}, {2026, 0, 0, 0, 0, 0},
                             {2026, 0, 1, 24, 0, 0},  {2026, 0, 1, 0, 60, 0},
                             {2026, 0, 1, 0, 0, 60},  {0, 0, 1, 0, 0, 0},
                             {10'000, 0, 1, 0, 0, 0}, {-1, 0, 1, 0, 0, 0}};
  for (const date_s& date : no_dates) {
    EXPECT_EQ(text_of(date, "%b"), std::to_string(DATE_invalid_date));
  }
  EXPECT_EQ(DATE_date_to_string(evening, "%d", nullptr), ORK_invalid_argument);
  EXPECT_EQ(text_of(evening, nullptr), std::to_string(ORK_invalid_argument));
}

TEST(Dates, AreReadStrictly) {
  EXPECT_EQ(parts_of("05-Mar-2026 23:59:07", "%d-%b-%Y %H:%M:%S"), "2026 2 5 23 59 7");
  EXPECT_EQ(parts_of("5-mAR-2026", "%d-%b-%Y"), "2026 2 5 0 0 0");
  EXPECT_EQ(parts_of("29.2.24", "%d.%m.%y"), "2024 1 29 0 0 0");
  EXPECT_EQ(parts_of("680101", "%y%m%d"), "2068 0 1 0 0 0");
  EXPECT_EQ(parts_of("690101", "%y%m%d"), "1969 0 1 0 0 0");
  EXPECT_EQ(parts_of("1%31122026", "1%%%d%m%Y"), "2026 11 31 0 0 0");

  const std::tuple<const char*, const char*, int, const char*> cases[] = {
      {"31-Feb-2026", "%d-%b-%Y", DATE_invalid_date, "\"31-Feb-2026\""},
      {"29.02.2026", "%d.%m.%Y", DATE_invalid_date, ""},
      {"01.00.2026", "%d.%m.%Y", DATE_invalid_date, ""},
      {"01.13.2026", "%d.%m.%Y", DATE_invalid_date, ""},
      {"01.01.0000", "%d.%m.%Y", DATE_invalid_date, ""},
      {"01.01.2026 24:00", "%d.%m.%Y %H:%M", DATE_invalid_date, ""},
      {"01.01.2026 ", "%d.%m.%Y", DATE_wrong_text,
       "character 11: format \"%d.%m.%Y\" expects the end, found \" \""},
      {"01.01.", "%d.%m.%Y", DATE_wrong_text,
       "character 7: format \"%d.%m.%Y\" expects a year in four digits, it ends there"},
      {"01.01.226", "%d.%m.%Y", DATE_wrong_text, "character 7"},
      {"01-Foo-2026", "%d-%b-%Y", DATE_wrong_text, "abbreviated name of a month, found \"Foo-20"},
      {"01/01/2026", "%d.%m.%Y", DATE_wrong_text, "character 3"},
      {" 1.01.2026", "%d.%m.%Y", DATE_wrong_text, "character 1"},
      {"-1.01.2026", "%d.%m.%Y", DATE_wrong_text, "character 1"},
      {"", "%d.%m.%Y", DATE_wrong_text, "expects a day"},
      {"01.2026", "%m.%Y", DATE_invalid_format, "lacks day"},
      {"01.01.2026 26", "%d.%m.%Y %y", DATE_invalid_format, "has the year twice"},
      {"01.01.2026", "%d.%m.%E", DATE_invalid_format, "character 7"},
      {nullptr, "%d", ORK_invalid_argument, ""},
      {"01", nullptr, ORK_invalid_argument, ""},
  };
  for (const auto& [text, format, status, reason] : cases) {
    EXPECT_EQ(parts_of(text, format), std::to_string(status));
    EXPECT_THAT(test::last_error(), HasSubstr(reason));
  }
  int part = 0;
  EXPECT_EQ(
      DATE_string_to_date("01.01.2026", "%d.%m.%Y", &part, &part, &part, &part, &part, nullptr),
      ORK_invalid_argument);
}

TEST_F(DemoSite, NamesOfMonthsAreThoseOfTheLanguage) {
  setenv("ORK_LANGUAGE", "de", 1);
  log_in();
  EXPECT_EQ(text_of(evening, "%d. %b %Y"), "05. M\u00e4r 2026");
  for (int month = 0; month < 12; ++month) {
    const date_s date = {2026, static_cast<uint8_t>(month), 1, 0, 0, 0};
    EXPECT_EQ(parts_of(text_of(date, "%d %b %Y").c_str(), "%d %b %Y"),
              "2026 " + std::to_string(month) + " 1 0 0 0");
  }
  EXPECT_EQ(parts_of("01 May 2026", "%d %b %Y"), "2026 4 1 0 0 0");
  ORK_exit_module(0);
  unsetenv("ORK_LANGUAGE");
  log_in();
  EXPECT_EQ(text_of(evening, "%b"), "Mar");
  EXPECT_EQ(parts_of("01 M\u00e4r 2026", "%d %b %Y"), "2026 2 1 0 0 0");
}
