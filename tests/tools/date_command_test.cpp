#include "tests/tools/run_program.h"

namespace {

TEST(DateCommand, ConvertsDates) {
  EXPECT_EQ(run_zolp({"date", "31.12.2026", "1.2.2026", "--format", "%d.%m.%Y"}).out,
            "31-Dec-2026 00:00\n01-Feb-2026 00:00\n");
  const auto json =
      run_zolp({"date", "31-Dec-2026 23:59", "--to", "%Y-%m-%d %H:%M:%S", "--json"}).json();
  EXPECT_EQ(json[0]["text"], "2026-12-31 23:59:00");
  EXPECT_EQ(json[0]["date"]["month"], 12);
  EXPECT_EQ(run_zolp({"date", "05.03.26", "05-Mar-2026 10:00", "--to-site"},
                     {{"STORE_DATE_FORMAT", "%d.%m.%y"}})
                .out,
            "05.03.26\n05.03.26\n");
  EXPECT_EQ(run_zolp({"date", "05-Mar-2026 10:00"}, {{"ORK_LANGUAGE", "de"}}).out,
            "05-M\u00e4r-2026 10:00\n");
  const auto now = run_zolp({"date", "--now", "--json"}).json();
  EXPECT_EQ(now[0]["input"], nullptr);
  EXPECT_GE(now[0]["date"]["year"], 2026);

  const test::TemporaryFolder folder;
  const std::string site = folder.path("site.db");
  const std::string seed =
      folder.write("seed.json", R"({"texts": {"en": {"DefaultDateFormat": "%m/%d/%y"}}})");
  ASSERT_EQ(run_zolp({"host", "init", site, "--seed", seed}).exit_code, 0);
  EXPECT_EQ(run_zolp({"date", "31.12.2026", "--format", "%d.%m.%Y", "--host", site}).out,
            "12/31/26\n");
}

TEST(DateCommand, RefusesWhatIsWrong) {
  expect_refusal(run_zolp({"date"}), 2, "expected dates, or --now");
  expect_refusal(run_zolp({"date", "--now", "31.12.2026"}), 2, "expected dates, or --now");
  expect_refusal(run_zolp({"date", ""}), 2, "a date is empty");
  expect_refusal(run_zolp({"date", "31.02.2026", "--format", "%d.%m.%Y"}), 1,
                 "There is no such date: \"31.02.2026\"");
  expect_refusal(run_zolp({"date", "31.02.2026"}), 1, "character 3");
  expect_refusal(run_zolp({"date", "--now", "--to", "%q"}), 1, "The date format is not valid");
  expect_refusal(run_zolp({"date", "--now", "--host", "none.db"}), 1, "none.db does not exist");
}

}  // namespace
