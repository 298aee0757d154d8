#include "support/release_list.h"
#include "tests/tools/run_program.h"

namespace {

class ListCommand : public test::ZolpTest {
 protected:
  test::Run list(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "list");
    return run_zolp(arguments);
  }

  const std::string out = folder.path("out.txt");
};

TEST_F(ListCommand, CleanDedupeAndScanWriteReducedCopies) {
  const std::string empty_block = "Where used:\n-----------\n";
  const std::string block = "Where used:\n      X-1/A keep\n      X-2/A PROTO\n-----------\n";
  const std::string top = header_row() + item_row(1, "TOP") + block;
  const std::string part = item_row(2, "PART") + row("", "", "set", "QNPART");
  const std::string in = folder.write("in.txt", top + part + empty_block + part);

  const test::Run cleaned = list({"clean", in, out});
  EXPECT_EQ(folder.read("out.txt"), top + part + part);
  EXPECT_THAT(cleaned.out, HasSubstr("10 of 12 lines"));

  EXPECT_EQ(list({"dedupe", in, out, "--force"}).exit_code, 0);
  EXPECT_EQ(folder.read("out.txt"), top + part + empty_block);

  const test::Run scanned =
      list({"scan", in, out, "--force", "--json", "--pattern", "PROTO", "--pattern", "keep"});
  EXPECT_EQ(folder.read("out.txt"), header_row() + item_row(1, "TOP") +
                                        "Where used:\n-----------\n" + part + empty_block + part);
  EXPECT_EQ(scanned.json()["lines_read"], 12);
  EXPECT_EQ(scanned.json()["lines_kept"], 10);
  EXPECT_THAT(files_in(folder.path("")), ElementsAre("in.txt", "out.txt"));
}

TEST_F(ListCommand, CopiesReplaceNothingUnasked) {
  const std::string in = folder.write("in.txt", header_row() + item_row(1, "TOP"));
  const std::string kept = folder.write("kept.txt", "kept");
  for (const char* command : {"clean", "dedupe"}) {
    expect_refusal(list({command, in, kept}), 1, "already exists");
    expect_refusal(list({command, in, in, "--force"}), 2, "same file");
    expect_refusal(list({command, folder.path("none.txt"), out}), 1, "none.txt does not exist");
    expect_refusal(list({command, in, folder.path("none/out.txt")}), 1, "none does not exist");
    expect_refusal(list({command, in}), 2, "OUT");
  }
  expect_refusal(list({"scan", in, out}), 2, "--pattern");
  expect_refusal(list({"scan", in, out, "--pattern", ""}), 2, "pattern is empty");
  EXPECT_EQ(folder.read("kept.txt"), "kept");
  EXPECT_THAT(files_in(folder.path("")), ElementsAre("in.txt", "kept.txt"));
}

TEST_F(ListCommand, Items) {
  const std::string in =
      folder.write("items.txt", "Level Item\n1     GB-1\n2     ST-1 \n2     B\xE4r\n3     GB-1\n");
  const test::Run table = list({"items", in});
  EXPECT_THAT(table.out, testing::StartsWith("level  item  count\n1      GB-1  2\n"));
  const nlohmann::json items = list({"items", in, "--json"}).json();
  ASSERT_EQ(items.size(), 4u);
  EXPECT_EQ(items[1], nlohmann::json({{"level", 2}, {"item", "ST-1"}, {"count", 1}}));
  EXPECT_EQ(items[3]["count"], 2);
  expect_refusal(list({"items", folder.write("none.txt", "no level\n")}), 1, "no item line");
}

TEST_F(ListCommand, TreeAsDrawingAndAsJson) {
  const std::string in =
      folder.write("list.txt", header_row() + item_row(1, "TOP") + row("", "", "top", "QNMASTER") +
                                   item_row(2, "LEFT") + item_row(3, "BOLT", "Released") +
                                   row("", "", "old", "QNMASTER") + row("", "", "bolt", "QNPART") +
                                   item_row(2, "RIGHT") + row("", "", "alt", "ALTREP"));
  EXPECT_EQ(list({"tree", in}).out,
            "TOP/A  CLONE -> N-TOP/B  New TOP\n"
            "├── LEFT/A  CLONE -> N-LEFT/B  New LEFT\n"
            "│   └── BOLT/A  RETAIN  New BOLT\n"
            "│       └── [QNPART] bolt\n"
            "└── RIGHT/A  CLONE -> N-RIGHT/B  New RIGHT\n"
            "    └── [ALTREP] alt\n");
  EXPECT_THAT(list({"tree", in, "--depth", "2"}).out, HasSubstr("3 records deeper"));

  EXPECT_THAT(list({"tree", in, "--depth", "1", "--dot"}).out, HasSubstr("\\n...\", shape=box"));
  const nlohmann::json tree = list({"tree", in, "--json"}).json();
  EXPECT_EQ(tree[0]["item"], "TOP");
  EXPECT_EQ(tree[0]["children"][0]["children"][0]["children"][0]["dataset"], "bolt");
  EXPECT_EQ(tree[0]["children"][1]["new_revision"], "B");
  const nlohmann::json cut = list({"tree", in, "--json", "--depth", "1"}).json();
  EXPECT_FALSE(cut[0].contains("children"));
  EXPECT_EQ(cut[0]["truncated"], true);

  expect_refusal(list({"tree", in, "--separator", "#"}), 1, "list.txt:2: the line has no \"#\"");
  expect_refusal(list({"tree", in, "--depth", "0"}), 2, "--depth");
}

TEST_F(ListCommand, TreeTellsWhereTheReaderClimbsLessThanTheList) {
  const std::string in =
      folder.write("list.txt", header_row() + item_row(1, "A") + item_row(2, "B") +
                                   item_row(3, "C") + item_row(4, "D") + item_row(2, "E"));
  const std::string drawn = list({"tree", in}).out;
  EXPECT_THAT(drawn,
              HasSubstr("1 item placed elsewhere than the level says, the first at " + in + ":6"));
}

TEST_F(ListCommand, CellsCannotSteerTheTerminal) {
  const std::string in =
      folder.write("list.txt", header_row() + row("1", "A\033[2J/A", "", "", "B/A", "Name"));
  EXPECT_THAT(list({"tree", in}).out, Not(HasSubstr("\033")));
}

}  // namespace
