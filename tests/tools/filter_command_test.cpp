#include "tests/tools/run_program.h"

namespace {

const std::string seed = test::file_text("tools/seeds/filter.json");

class FilterCommand : public test::ZolpTest {
 protected:
  FilterCommand() { make_site(seed); }

  test::Run run(std::vector<std::string> arguments) {
    return on_site("filter", std::move(arguments));
  }

  /** Ids of what is listed, without the one that cannot be read. */
  std::vector<std::string> ids(std::vector<std::string> arguments) {
    arguments.emplace_back("--json");
    std::vector<std::string> found;
    for (const auto& row : run(std::move(arguments)).json()) {
      if (row["error"].is_null()) {
        found.push_back(row["id"]);
      }
    }
    return found;
  }
};

TEST_F(FilterCommand, ListsWhatPasses) {
  const std::string item = "100-Press";
  const std::string revision = "100/A-Press";
  EXPECT_THAT(ids({}), ElementsAre(item, revision, "Pressure"));
  EXPECT_THAT(ids({"--name", "ress"}), ElementsAre(item, revision, "Pressure"));
  EXPECT_THAT(ids({"--name", "ress", "--whole"}), IsEmpty());
  EXPECT_THAT(ids({"--name", "Press", "--whole", "--status", "Pro"}), ElementsAre(revision));
  EXPECT_THAT(ids({"100/*", "--name", "Press"}), ElementsAre(revision));
  EXPECT_THAT(ids({"--type", "Item", "--status", "Rel"}), ElementsAre(revision));
  EXPECT_THAT(ids({"--type", "Item|Report"}), ElementsAre(item, revision, "Pressure"));
  EXPECT_THAT(ids({"--type", "^Item$"}), IsEmpty());
  EXPECT_THAT(ids({"--type", "^Item$", "--regex", "--name", "Pr"}), ElementsAre(item));
  EXPECT_THAT(ids({"--status", "^$", "--regex"}), ElementsAre(item, "Pressure"));
}

TEST_F(FilterCommand, TellsWhatCannotBeFiltered) {
  const test::Run filtered = run({"--name", "Press", "--whole", "--json"});
  ASSERT_EQ(filtered.json().size(), 3u);
  EXPECT_THAT(filtered.json()[2]["error"].get<std::string>(), HasSubstr("Access is denied"));
  EXPECT_EQ(filtered.exit_code, 1);
  EXPECT_THAT(filtered.err, HasSubstr("1 object cannot be read, the first is 200-Pump (Access is"));
  const test::Run found = on_site({"find", "*"});
  EXPECT_EQ(found.exit_code, 1);
  EXPECT_THAT(found.out, HasSubstr("100/A-Press"));
  expect_refusal(run({"--status", "(", "--regex"}), 2, "--status is no expression (Unmatched");
  expect_refusal(run({"--name", "(a"}), 2, "--name is no expression (Unmatched");
  // What would fill the memory, and what would overrun the stack.
  for (const std::string& costly : {std::string("(((a{1,255}){1,255}){1,255}){1,255}"),
                                    std::string(3000, '(') + "a" + std::string(3000, ')')}) {
    expect_refusal(run({"--regex", "--type", costly}), 2, "it would take too much memory or time");
  }
  expect_refusal(run({"--whole", "--regex"}), 2, "--whole excludes --regex");
  expect_refusal(run({"-u=ada"}), 2, "the login is not complete");
  expect_refusal(run_zolp({"filter"}), 2, "no site given");
}

}  // namespace
