#include "tests/tools/run_program.h"
#include "zolp_orktool.h"

namespace {

const std::string seed = test::file_text("tools/seeds/object.json");

class ObjectCommands : public test::ZolpTest {
 protected:
  ObjectCommands() { make_site(seed); }
};

TEST_F(ObjectCommands, ShowPrintsACard) {
  const test::Run card = on_site({"show", "100/A"});
  EXPECT_EQ(card.exit_code, 0) << card.err;
  for (const char* text : {"100/A-Press\n", "ItemRevision", "owner        ada", "engineering",
                           "checked out  by ada", "Released  2024-02-19 10:12", "Frozen", "local",
                           "related to   Documents  report  (Dataset)"}) {
    EXPECT_THAT(card.out, HasSubstr(text));
  }
  const auto json = on_site({"show", "100/A", "--json"}).json();
  EXPECT_EQ(json["checked_out_by"], "ada");
  EXPECT_EQ(json["locked"], nullptr);
  EXPECT_EQ(json["statuses"].size(), 2u);
  EXPECT_EQ(json["relations"]["to"][0]["id"], "report");
  EXPECT_EQ(json["item"], "100");
  EXPECT_EQ(json["revision"], "A");
  EXPECT_EQ(json["datasets"][0]["type"], "Report");
  const auto item = on_site({"show", "100", "--json"}).json();
  EXPECT_EQ(item["revisions"].size(), 1U);
  EXPECT_EQ(item["revisions"][0]["id"], "100/A-Press");
  EXPECT_EQ(item["revision"], nullptr);
  EXPECT_THAT(on_site({"show", "100"}).out, HasSubstr("revisions    100/A-Press\n"));

  const test::Run replica = on_site({"show", "2/00"});
  EXPECT_THAT(replica.out, HasSubstr("replica of Elsewhere"));
  EXPECT_THAT(replica.out, Not(HasSubstr("\x1b"))) << "data must not steer the terminal";
}

TEST_F(ObjectCommands, ShowSeesTheLockOfAnotherProcess) {
  const auto lock = [this] { return on_site({"show", "100/A", "--json"}).json()["locked"]; };
  tag revision = NULLTAG;
  ASSERT_EQ(ork_host_open(site.c_str()), ORK_ok);
  ASSERT_EQ(ORK_auto_login(), ORK_ok);
  ASSERT_EQ(ZOLP_ITEM_find_rev("100", "A", &revision), ORK_ok);
  EXPECT_EQ(lock(), nullptr);
  EXPECT_EQ(ZOLP_verify_state_and_lock_of_object(revision), ORK_ok);
  EXPECT_EQ(lock()["user"], "ada");
  EXPECT_NE(lock()["since"], "");
  EXPECT_EQ(OBJ_refresh(revision, 0), ORK_ok);
  EXPECT_EQ(lock(), nullptr);
  ork_host_close();
}

TEST_F(ObjectCommands, FindListsByPattern) {
  EXPECT_EQ(on_site({"find", "*", "--json"}).json().size(), 4u);
  const auto found = on_site({"find", "press", "--json"}).json();
  ASSERT_EQ(found.size(), 2u);  // the item and its revision have this name
  EXPECT_EQ(found[1]["status"], "Frozen");
  EXPECT_THAT(on_site({"find", "2/00*"}).out, HasSubstr("2/00-Slashed?[31m"));
  EXPECT_EQ(on_site({"find", "nothing"}).exit_code, 0);
  EXPECT_EQ(on_site({"find", "nothing", "--json"}).out, "[]\n");
}

TEST_F(ObjectCommands, RefuseWhatIsWrong) {
  expect_refusal(on_site({"show", "nothing/A"}), 1, "there is no item or revision nothing/A");
  expect_refusal(on_site({"show", "/"}), 1, "there is no item or revision /");
  expect_refusal(run_zolp({"show", "100"}), 2, "no site given");
  expect_refusal(run_zolp({"find", "*", "--host", folder.path("none.db")}), 1, "does not exist");
  expect_refusal(on_site({"show"}), 2, "ID");
  expect_refusal(on_site({"show", "100", "-u=ada"}), 2, "the login is not complete");
  expect_refusal(on_site({"show", "100", "-u=ada", "-p=no", "-g=engineering"}), 1, "password");
}

}  // namespace
