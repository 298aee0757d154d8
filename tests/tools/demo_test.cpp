#include "tests/tools/run_program.h"

namespace {

const std::string clone_run = std::string(ZOLP_EXAMPLES) + "/clone-run";

/** Runs an example's demo, which is to show some texts and to complain of nothing. */
void expect_shown(const std::string& example, std::initializer_list<const char*> texts) {
  const test::TemporaryFolder scratch;
  const test::Run demo = test::run_program({std::string(ZOLP_EXAMPLES) + "/" + example + "/demo.sh",
                                            ZOLP_PROGRAM_FOLDER, scratch.path("")});
  EXPECT_EQ(demo.exit_code, 0);
  EXPECT_EQ(demo.err, "");
  for (const char* text : texts) {
    EXPECT_THAT(demo.out, HasSubstr(text));
  }
}

TEST(Demo, ShowsACloneRun) {
  expect_shown("clone-run", {"Alice Amsel", "└── GB-1710/A  RETAIN  Paint, RAL 7031",
                             "67 items (35 CLONE, 32 RETAIN), 69 datasets, deepest level 4",
                             "qnclone -pim=yes", "INPUT_ITEM=GB-1000", "BEGIN CLONE",
                             "->ORK_init_module", "PREF_get_char_value(...) failed with 27002",
                             "  in ZOLP_write_startbat", "The runs part in ZOLP_write_startbat"});
}

TEST(Demo, ShowsAJobWithAHandler) {
  expect_shown(
      "handler",
      {"├── target GB-1310/B-Intermediate shaft", "examine-targets has run on task Design check",
       "VELO_reference  Examination report  (Dataset)", "Release check  Started  (review)",
       "R-17  Completed", "├── status Released", "->ZOLP_isObjectOfClass"});
}

TEST(Demo, ShowsDatasetsAndAForm) {
  expect_shown("datasets",
               {"exported.txt is what was imported", "Check_report__second_shaft.txt",
                "wrote images/SH-200_A_Side_view", "UGepDate     16-Oct-2026",
                "there is no such date", "are not there", "is not whole (1 finding)", "whole: "});
}

TEST(Demo, ShowsAProductStructure) {
  expect_shown("structure", {"├── 100 -> 10  MX-110/B  Drive", "next unused: 130",
                             "Planet wheel  x3", "19 lines, packed 15", "mx110_drive_b"});
}

TEST(Demo, ReleaseListIsWhatItsPartsMake) {
  const test::Run made = test::run_program({clone_run + "/make_release_list.sh"});
  std::ifstream list(clone_run + "/release_list.txt", std::ios::binary);
  EXPECT_EQ(made.out, std::string(std::istreambuf_iterator<char>(list), {}));
}

}  // namespace
