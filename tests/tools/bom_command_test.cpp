#include "tests/tools/run_program.h"

namespace {

class BomCommands : public test::ZolpTest {
 protected:
  BomCommands() {
    EXPECT_EQ(run_zolp({"host", "init", site, "--seed",
                        std::string(ZOLP_EXAMPLES) + "/structure/site.json"})
                  .exit_code,
              0);
  }

  test::Run bom(std::vector<std::string> arguments) { return on_site("bom", std::move(arguments)); }

  std::string number_of_drive() {
    return bom({"tree", "MX-100/B", "--json"}).json()["lines"][0]["sequence"];
  }
};

TEST_F(BomCommands, TreeIsThatOfTheRule) {
  const test::Run tree = bom({"tree", "MX-100/B"});
  EXPECT_EQ(tree.exit_code, 0) << tree.err;
  EXPECT_THAT(tree.out, HasSubstr("├── 100  MX-110/B  Drive  x1\n"));
  EXPECT_THAT(tree.out, HasSubstr("│   └── 35  SC-M6x20/A  Screw M6 x 20  x2  [Released]\n"));
  EXPECT_THAT(tree.out, HasSubstr("├── MX-140/A  Tool head  x1\n"));
  EXPECT_THAT(bom({"tree", "MX-100/B", "--rule", "Released"}).out, HasSubstr("100  MX-110/A"));
  EXPECT_THAT(bom({"tree", "MX-100/B", "--depth", "1"}).out,
              HasSubstr("├── 100  MX-110/B  Drive  x1  ...\n├── 40"));
  EXPECT_EQ(bom({"tree", "MX-100/B", "--view", "service"}).out,
            "MX-100/B  Planetary mixer, 20 l\n");
  const std::string picture = bom({"tree", "MX-100/B", "--depth", "1", "--mermaid"}).out;
  EXPECT_THAT(picture, HasSubstr("n1[\"MX-110/B<br>Drive<br>...\"]\n"));
  EXPECT_THAT(picture, HasSubstr("n0 -->|\"100: x1\"| n1\n"));
  const auto json = bom({"tree", "MX-100/B", "--json"}).json();
  EXPECT_EQ(json["lines"].size(), 5u);
  EXPECT_EQ(json["lines"][1]["statuses"][0], "Released");
  EXPECT_EQ(bom({"size", "MX-100/B", "--json"}).json()["lines"], 19);
}

TEST_F(BomCommands, NumbersAreSavedWhenToldTo) {
  const test::Run shown = bom({"resequence", "MX-100/B", "--recursive"});
  EXPECT_EQ(shown.exit_code, 0) << shown.err;
  EXPECT_THAT(shown.out, HasSubstr("├── 100 -> 10  MX-110/B"));
  EXPECT_THAT(shown.out, HasSubstr("none -> 40  MX-140/A"));
  EXPECT_THAT(shown.out, HasSubstr("nothing is saved"));
  bom({"resequence", "MX-100/B", "--dry-run"});
  EXPECT_EQ(number_of_drive(), "100");
  const auto json =
      bom({"resequence", "MX-100/B", "--start", "5", "--increment", "5", "--save", "--json"})
          .json();
  EXPECT_EQ(json["structure"]["lines"][0]["sequence_before"], "100");
  EXPECT_EQ(json["saved"], true);
  EXPECT_EQ(number_of_drive(), "5");
  EXPECT_EQ(bom({"tree", "MX-110/B", "--json"}).json()["lines"][0]["sequence"], "10");

  const auto numbers = bom({"numbers", "MX-110/B", "--json"}).json();
  EXPECT_EQ(numbers["numbers"].size(), 11u);
  EXPECT_EQ(numbers["next_unused"], 40);
  EXPECT_THAT(bom({"numbers", "MX-140/A"}).out, HasSubstr("ends at a line without a number"));
}

/** Each of 10 levels has two lines of the next one: too much for what is kept in memory. */
TEST_F(BomCommands, ALongListOfNumbersIsPrintedWhole) {
  constexpr int levels = 10;
  nlohmann::json seed;
  for (int i = 0; i <= levels; ++i) {
    const auto id = [](int level) { return "L" + std::to_string(level); };
    seed["items"].push_back({{"id", id(i)}, {"name", "Part"}, {"revisions", {{{"id", "A"}}}}});
    if (i < levels) {
      const nlohmann::json line = {{"item", id(i + 1)}};
      seed["structures"].push_back({{"item", id(i)}, {"revision", "A"}, {"lines", {line, line}}});
    }
  }
  std::ofstream(folder.path("seed.json")) << seed;
  ASSERT_EQ(on_site("host", {"seed", site, folder.path("seed.json")}).exit_code, 0);
  const auto json = bom({"resequence", "L0/A", "--recursive", "--save", "--json"}).json();
  int lines = 0;
  const std::function<void(const nlohmann::json&)> count = [&](const nlohmann::json& line) {
    lines += line["sequence_before"] == "" && line["sequence"] != "" ? 1 : 0;
    for (const auto& below : line["lines"]) {
      count(below);
    }
  };
  count(json["structure"]);
  EXPECT_EQ(lines, (2 << levels) - 2) << "all but the top one";
}

TEST_F(BomCommands, PackFindAndExportShowWhatTheLibraryFinds) {
  const auto packed = bom({"pack", "MX-120/A", "--json"}).json();
  EXPECT_EQ(packed["lines"], packed["packed_lines"]) << "their numbers differ";
  bom({"resequence", "MX-120/A", "--save"});
  const test::Run shown = bom({"pack", "MX-120/A"});
  EXPECT_THAT(shown.out, HasSubstr("20  MX-122/A  Planet wheel  x3"));
  EXPECT_THAT(shown.out, HasSubstr("7 lines, packed 5\n"));
  EXPECT_EQ(bom({"size", "MX-120/A"}).out, "7 lines\n") << "nothing of it is saved";

  EXPECT_EQ(bom({"find", "MX-100/B", "MX-110/B"}).out, "MX-110/B is right below MX-100/B\n");
  EXPECT_EQ(bom({"find", "MX-100/B", "MX-120/A", "--json"}).json()["found"], false);
  EXPECT_EQ(bom({"export", "MX-100/B", "--class", "Dataset", "--json"}).json().size(), 3u);
  EXPECT_THAT(bom({"export", "MX-100/B"}).out, HasSubstr("MX-140/A-Tool head"));
  EXPECT_THAT(run_zolp({"host", "show", site, "structures"}).out,
              testing::AllOf(HasSubstr("MX-110/B  view"), HasSubstr("├── 10  MX-121  x1")));
  const auto cut = bom({"tree", "MX-100/B", "--depth", "0", "--json"}).json();
  EXPECT_EQ(cut["truncated"], true);
  EXPECT_FALSE(bom({"tree", "MX-100/B", "--json"}).json().contains("truncated"));
}

TEST_F(BomCommands, RefuseWhatIsWrong) {
  expect_refusal(bom({"tree", "nothing/A"}), 1, "there is no item or revision nothing/A");
  expect_refusal(bom({"tree", "MX-100"}), 1, "is an item: name one of its revisions");
  expect_refusal(bom({"tree", "MX-100/B", "--rule", "x"}), 1, "there is no revision rule x");
  expect_refusal(bom({"tree", "MX-100/B", "--view", "x"}), 1, "there is no view type x");
  expect_refusal(bom({"resequence", "MX-100/B", "--save", "--dry-run"}), 2, "excludes");
  expect_refusal(bom({"numbers", "MX-110/B", "--increment", "0"}), 2, "--increment is 0");
  expect_refusal(bom({"export", "MX-100/B", "--class", "Form"}), 2, "--class");
  expect_refusal(bom({"tree"}), 2, "REVISION");
  expect_refusal(bom({}), 2, "needs a command");
}

}  // namespace
