// Failures that the library passes over by contract: the program tells of them, and changes
// nothing.

#include "host/ork_host.h"
#include "ork/bomw.h"
#include "tests/tools/run_program.h"
#include "zolp_orktool.h"

namespace {

using test::expect_refusal;
using test::run_zolp;
using testing::HasSubstr;
using testing::MatchesRegex;

class HiddenFailures : public test::ZolpTest {
 protected:
  HiddenFailures() {
    make_site(R"({
      "site": {"automatic_login": "ada"},
      "groups": ["engineering"], "roles": ["designer"],
      "users": [{"id": "ada", "memberships": [{"group": "engineering", "role": "designer"}]}],
      "items": [{"id": "P", "name": "Press", "revisions": [{"id": "A"}]},
                {"id": "Q", "name": "Plate", "revisions": [{"id": "A"}]},
                {"id": "R", "name": "Rod", "revisions": [{"id": "A"}]}],
      "structures": [
        {"item": "P", "revision": "A", "lines": [{"item": "Q", "sequence": 5}]},
        {"item": "Q", "revision": "A", "lines": [{"item": "R", "sequence": 7}]}]})");
  }

  std::string structure() const { return on_site({"bom", "tree", "P/A", "--json"}).out; }

  /** Runs zolp on the site with calls of the platform failing. */
  test::Run with_faults(const std::string& faults, std::vector<std::string> arguments) const {
    return run_zolp(std::move(arguments), {{"ORK_HOST_DB", site}, {"ORK_HOST_FAULTS", faults}});
  }
};

TEST_F(HiddenFailures, OfNumberingLeaveTheStructureAsItWas) {
  const std::string before = structure();
  const std::vector<std::string> number = {"bom", "resequence", "P/A", "--recursive", "--save"};
  // Another process is about to number the lower assembly.
  tag revision = NULLTAG;
  tag window = NULLTAG;
  tag top = NULLTAG;
  int count = 0;
  tag* lines = nullptr;
  ASSERT_EQ(ork_host_open(site.c_str()) | ORK_auto_login() |
                ork_host_find_item("Q", "A", &revision) | BOMW_create_window(&window) |
                BOMW_set_window_top_line(window, revision, NULLTAG, NULLTAG, &top) |
                BOMW_line_get_child_lines(top, &count, &lines) | ZOLP_setSequenceNo(lines[0], "99"),
            ORK_ok);
  MEM_free(lines);
  expect_refusal(on_site(number), 1, "Q/A-view, by user ada on ");
  ASSERT_EQ(ORK_exit_module(0), ORK_ok);
  ork_host_close();
  EXPECT_EQ(structure(), before);

  run_zolp({"host", "seed", site, folder.write("rules.json", R"({"access_rules": [
    {"deny": ["WRITE"], "to": "world", "on": {"class": "PSBOMViewRevision"}}]})")});
  expect_refusal(on_site(number), 1, "ada has no WRITE access to P/A-view");
  EXPECT_EQ(structure(), before);
}

TEST_F(HiddenFailures, OfWalksAreNoSmallerStructures) {
  EXPECT_EQ(on_site({"bom", "size", "P/A"}).out, "3 lines\n");
  for (const char* command : {"size", "numbers", "export", "pack", "tree"}) {
    expect_refusal(with_faults("BOMW_line_get_child_lines:2=20001", {"bom", command, "P/A"}), 1,
                   "injected into BOMW_line_get_child_lines");
  }
  expect_refusal(with_faults("BOMW_line_get_child_lines=20001", {"bom", "find", "P/A", "Q/A"}), 1,
                 "the structure is not searched");
}

TEST_F(HiddenFailures, AreMadeAndWrittenDownFromOutside) {
  const test::Run listed = run_zolp(
      {"bom", "size", "P/A"}, {{"ORK_HOST_DB", site}, {"ORK_HOST_JOURNAL", folder.path("calls")}});
  EXPECT_EQ(listed.exit_code, 0) << listed.err;
  EXPECT_THAT(folder.read("calls"), HasSubstr("\nBOMW_line_get_child_lines 0\n"));
  EXPECT_EQ(with_faults("OBJ_save:1=1,BOMW_save_window:2=3", {"show", "P"}).exit_code, 0);
  for (const char* faults : {"WSO_get_name", "WSO_get_name=", "=1", "WSO_get_name:0=1",
                             "WSO_get_name:x=1", "OBJ_save=1,,"}) {
    expect_refusal(with_faults(faults, {"show", "P"}), 1, "is not OPERATION[:N]=STATUS");
  }
  expect_refusal(run_zolp({"show", "P"},
                          {{"ORK_HOST_DB", site}, {"ORK_HOST_JOURNAL", folder.path("none/calls")}}),
                 1, "cannot be written");
}

}  // namespace
