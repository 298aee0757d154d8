#include "support/release_list.h"

namespace {

/** A field as a reader of the list sees it: up to its padding. */
std::string shown(const char* field) {
  return std::string(field, std::strcspn(field, " ;\n"));
}

/** The tree as text: "ID(children)" and datasets in brackets, siblings separated by blanks. */
std::string drawn(const assy_entry* first) {
  std::string text;
  for (const assy_entry* entry = first; entry != nullptr; entry = entry->next) {
    const bool is_item = std::strcmp(entry->type, "ItemRev") == 0;
    text += text.empty() ? "" : " ";
    text += is_item ? shown(entry->item_id) : "[" + std::string(entry->type) + "]";
    if (entry->child != nullptr) {
      text += "(" + drawn(entry->child) + ")";
    }
  }
  return text;
}

class AssemblyTree : public testing::Test {
 protected:
  AssemblyTree() { site.fix_columns(); }

  /** Reads a list and returns the tree's root. */
  assy_entry* read(const std::string& list, int expected_status = 0) {
    EXPECT_EQ(ZOLP_read_assylist(folder.write("list.txt", list).c_str(), &last), expected_status);
    return last != nullptr ? tool::assembly_root(last) : nullptr;
  }

  std::string read_and_draw(const std::string& list) {
    last = nullptr;
    assy_entry* root = read(list);
    const std::string text = drawn(root);
    tool::free_assembly(root);
    last = nullptr;
    return text;
  }

  test::CloneSite site;
  const test::TemporaryFolder& folder = site.folder;
  assy_entry* last = nullptr;
  test::TraceCapture trace;
};

TEST_F(AssemblyTree, LinksByLevel) {
  EXPECT_EQ(read_and_draw(header_row() + item_row(1, "A") + item_row(2, "B") + item_row(3, "C") +
                          item_row(3, "D") + item_row(2, "E") + item_row(2, "F")),
            "A(B(C D) E F)");
  // A drop by two levels climbs one only.
  EXPECT_EQ(read_and_draw(item_row(1, "A") + item_row(2, "B") + item_row(5, "C") +
                          item_row(1, "D") + item_row(2, "E") + item_row(1, "F")),
            "A(B(C) D(E) F)");
  // Where there is no parent to climb to, the record stays beside the last one.
  EXPECT_EQ(read_and_draw(item_row(3, "A") + item_row(2, "B") + item_row(1, "C")), "A B C");
}

TEST_F(AssemblyTree, TakesCellsWithPaddingAndWhatFollows) {
  const std::string list = row("1", "4711/A", "", "", "N-1/B", "Motor", "Released");
  assy_entry* root = read(list + row("2", "4712/A", "", "", "unsplit", "Rotor"));
  ASSERT_NE(root, nullptr);
  EXPECT_STREQ(root->item_id, "4711");
  EXPECT_EQ(root->item_rev, list.substr(7, 128).substr(5));
  EXPECT_STREQ(root->new_item_id, "N-1");
  EXPECT_EQ(root->new_item_rev, list.substr(106, 128).substr(4));
  EXPECT_EQ(root->new_name, list.substr(139, 128));
  EXPECT_STREQ(root->dataset_name, "");
  EXPECT_STREQ(root->mode, "RETAIN");
  EXPECT_STREQ(root->child->mode, "CLONE");
  EXPECT_STREQ(root->child->new_item_rev, "----");
  EXPECT_EQ(root->child->new_item_id, "unsplit" + std::string(25, ' ') + ";Rotor" +
                                          std::string(27, ' ') + ";" + std::string(32, ' ') + ";" +
                                          std::string(29, ' '));
  EXPECT_EQ(trace.missing({"Item in RL found1     ;4711/A", "Output  Assyname:Motor "}), "");
  tool::free_assembly(root);
}

TEST_F(AssemblyTree, DatasetsBecomeChildrenOfTheirItem) {
  assy_entry* root =
      read(item_row(1, "A") + row("", "", "A-model", "QNPART", "", "A new") + item_row(1, "B") +
           row("", "", "B-alternative", "", "", "", "Released") + row("", "", "B-rep", "x ALTREP") +
           row("", "", "no", "1234567890 ALTREP"));
  EXPECT_EQ(drawn(root), "A([QNPART]) B([ALTREP])");
  const assy_entry* dataset = root->child;
  EXPECT_EQ(dataset->level, 2);
  EXPECT_EQ(dataset->parent, root);
  EXPECT_EQ(shown(dataset->dataset_name), "A-model");
  EXPECT_THAT(dataset->new_name, StartsWith("A new "));
  EXPECT_STREQ(dataset->item_id, root->item_id);
  EXPECT_STREQ(dataset->new_item_rev, root->new_item_rev);
  EXPECT_STREQ(dataset->mode, "CLONE");
  EXPECT_EQ(trace.missing({"nach malloc in QNPART", "net-type ItemRev"}), "");
  tool::free_assembly(root);
}

TEST_F(AssemblyTree, LaterDatasetsTakeTheChildLinkOrFollowADataset) {
  assy_entry* root = read(item_row(1, "A"));
  const std::string line = row("", "", "set", "QNMASTER");
  ASSERT_EQ(read_dataset_basic_data(line.c_str(), "QNMASTER", 0, root), 0);
  assy_entry* first = root->child;
  ASSERT_EQ(read_dataset_basic_data(line.c_str(), "ALTREP", 0, first), 0);
  EXPECT_EQ(drawn(root), "A([QNMASTER] [ALTREP])");
  EXPECT_EQ(first->next->prev, first);
  EXPECT_EQ(first->next->parent, root);
  EXPECT_EQ(first->next->level, 2);
  EXPECT_STREQ(first->next->new_item_id, "N-A");
  ASSERT_EQ(read_dataset_basic_data(line.c_str(), "QNPART", 0, root), 0);
  EXPECT_EQ(drawn(root), "A([QNPART])");
  tool::free_assembly(first);
  tool::free_assembly(root);
  EXPECT_EQ(read_dataset_basic_data(line.c_str(), "QNPART", 0, nullptr), 0);
}

TEST_F(AssemblyTree, EndOfFileHidesDatasetsOfTheLastLine) {
  const std::string item = item_row(1, "A");
  const auto without_line_end = [](std::string line) {
    line.pop_back();
    return line;
  };
  EXPECT_EQ(read_and_draw(item + without_line_end(row("", "", "x", "QNMASTER"))), "A");
  EXPECT_EQ(read_and_draw(item + without_line_end(row("", "", "x", "ALTREP"))), "A([ALTREP])");
  EXPECT_FALSE(trace.has("file is empty!"));
  EXPECT_EQ(read_and_draw(item + row("", "", "x", "QNMASTER")), "A([QNMASTER])");
  EXPECT_TRUE(
      trace.has("Error / Warning from reading releaselist_file, file is empty! "
                "File:zolp_rb_utils.cpp ["));
}

TEST_F(AssemblyTree, WhereUsedIsSkippedOnlyFromALineWithDashes) {
  EXPECT_EQ(read_and_draw(item_row(1, "A") + "Where used:\n" + item_row(2, "B") + "-----------\n" +
                          item_row(2, "C")),
            "A(B C)");
  EXPECT_FALSE(trace.has("Where used Section"));
  EXPECT_EQ(read_and_draw(item_row(1, "A") + "Where used: -----------\n" + "-----------\n" +
                          item_row(2, "B") + item_row(2, "C")),
            "A(C)");
  EXPECT_EQ(trace.count("Where used Section"), 2);
}

TEST_F(AssemblyTree, GoesOnFromTheCallersRecord) {
  assy_entry* root = read(item_row(1, "A") + item_row(2, "B"));
  EXPECT_EQ(shown(last->item_id), "B");
  EXPECT_EQ(read(item_row(2, "C") + item_row(1, "D")), root);
  EXPECT_EQ(drawn(root), "A(B C) D");
  const assy_entry* before = last;
  EXPECT_EQ(read(""), root);
  EXPECT_EQ(last, before);
  tool::free_assembly(root);
}

TEST_F(AssemblyTree, FailuresKeepWhatWasRead) {
  EXPECT_EQ(ZOLP_read_assylist(folder.path("missing").c_str(), &last), 1);
  EXPECT_TRUE(trace.has("Error from opening file:" + folder.path("missing") +
                        "! File:zolp_rb_utils.cpp [Line:"));
  EXPECT_THAT(trace.lines().back(), StartsWith(" <-ERROR: ZOLP_read_assylist "));

  assy_entry* root = read(item_row(1, "A") + row("2", "no separator") + item_row(3, "C"), 1);
  EXPECT_EQ(drawn(root), "A");
  EXPECT_EQ(trace.missing({"no separator </> in item revision <no separator ",
                           "Error from reading item basic informations from "}),
            "");
  tool::free_assembly(root);

  EXPECT_EQ(ork_host_block_count(), 0U);
}

TEST(AssemblyTreeWithoutColumns, TakesEveryFieldFromTheLinesStart) {
  const test::CloneSite site;
  const test::TraceCapture trace(ZOLP_LEVEL_OFF);
  assy_entry* last = nullptr;
  const std::string list = site.folder.write("list.txt", "1 A/B\n");
  ASSERT_EQ(ZOLP_read_assylist(list.c_str(), &last), 0);
  EXPECT_STREQ(last->item_id, "1 A");
  EXPECT_STREQ(last->new_item_rev, "B\n");
  EXPECT_STREQ(last->new_name, "1 A/B\n");
  tool::free_assembly(last);
}

TEST(SplitItem, LongSeparatorsAndEmptyOnes) {
  const test::CloneSite site;
  const test::TraceCapture trace(ZOLP_LEVEL_OFF);
  char id[129], rev[129], new_id[129], new_rev[129];
  EXPECT_EQ(read_item_basic_data("4711--A", "--", id, rev, new_id, new_rev), 0);
  EXPECT_EQ(std::string(id) + "|" + rev + "|" + new_id + "|" + new_rev, "4711|A|4711|A");
  EXPECT_EQ(read_item_basic_data("4711/A", "", id, rev, new_id, new_rev), 1);
  EXPECT_EQ(std::string(id) + "|" + rev + "|" + new_id + "|" + new_rev, "4711/A||4711/A|----");
}

}  // namespace
