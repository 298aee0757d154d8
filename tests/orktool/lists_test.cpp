#include "support/release_list.h"

namespace {

struct ItemList {
  int status = 0;
  int count = -1;
  std::vector<std::string> item_ids;
  std::vector<std::string> levels;
  std::vector<int> counts;
};

ItemList read_items(const std::string& path) {
  ItemList result;
  char** item_ids = nullptr;
  char** levels = nullptr;
  int* counts = nullptr;
  result.status = ZOLP_read_itemrevlist(path.c_str(), &result.count, &item_ids, &levels, &counts);
  for (int i = 0; i < result.count; ++i) {
    result.item_ids.emplace_back(item_ids[i]);
    result.levels.emplace_back(levels[i]);
    result.counts.push_back(counts[i]);
    std::free(item_ids[i]);
    std::free(levels[i]);
  }
  std::free(item_ids);
  std::free(levels);
  std::free(counts);
  return result;
}

TEST(ItemList, CountsItemsByTheirExactText) {
  const test::TemporaryFolder folder;
  const test::TraceCapture trace;
  const ItemList items = read_items(folder.write("list.txt",
                                                 "Level Item\n"
                                                 "     1A\n"
                                                 "2     B\n"
                                                 "     0C\n"
                                                 "    -1C\n"
                                                 "     3A\n"
                                                 "     3A \n"
                                                 "\n"
                                                 "     2A\n"
                                                 "     1A"));
  EXPECT_EQ(items.status, 0);
  EXPECT_THAT(items.item_ids, ElementsAre("A\n", "B\n", "A\n", "A \n", "A\n", "A"));
  EXPECT_THAT(items.levels,
              ElementsAre("     1", "2     ", "     3", "     3", "     2", "     1"));
  EXPECT_THAT(items.counts, ElementsAre(3, 1, 3, 1, 3, 1));
  EXPECT_EQ(trace.lines()[1], "  level 1, item_id A");
}

TEST(ItemList, CutsLongIdsAndReadsLongLinesInPieces) {
  const test::TemporaryFolder folder;
  const ItemList items =
      read_items(folder.write("list.txt", "     1" + std::string(600, '7') + "\n"));
  ASSERT_EQ(items.count, 2);  // the second piece begins with digits and so has a level
  EXPECT_EQ(items.item_ids[0], std::string(128, '7'));
  EXPECT_EQ(items.levels[1], "777777");
  EXPECT_EQ(items.item_ids[1], std::string(600 - 493 - 6, '7') + "\n");
}

TEST(ItemList, BadFiles) {
  const test::TemporaryFolder folder;
  const test::TraceCapture trace;
  EXPECT_EQ(read_items(folder.write("empty.txt", "")).count, 0);
  EXPECT_EQ(read_items(folder.write("levels0.txt", "     0A\nno list\n\0\xff\n")).count, 0);
  for (const std::string& path : {folder.path("missing.txt"), folder.path("")}) {
    const ItemList items = read_items(path);
    EXPECT_EQ(items.status, 1);
    EXPECT_EQ(items.count, -1);
    EXPECT_THAT(trace.lines()[trace.lines().size() - 2],
                testing::MatchesRegex("  Error from open file:<.*>! File:zolp_rb_utils.cpp "
                                      "\\[Line:[0-9]+\\]"));
    EXPECT_THAT(trace.lines().back(), StartsWith(" <-ERROR: ZOLP_read_itemrevlist "));
  }
}

class ListCopies : public testing::Test {
 protected:
  using CopyFunction = int (*)(const char*, const char*);

  std::string copy(CopyFunction function, const std::string& list) {
    const std::string in = folder.write("in.txt", list);
    EXPECT_EQ(function(in.c_str(), folder.path("out.txt").c_str()), 0);
    EXPECT_EQ(folder.read("in.txt"), list);
    return folder.read("out.txt");
  }

  std::string scan(const std::string& list, std::vector<const char*> patterns) {
    const std::string in = folder.write("in.txt", list);
    EXPECT_EQ(
        ZOLP_scan_usage(in.c_str(), folder.path("out.txt").c_str(),
                        static_cast<int>(patterns.size()), const_cast<char**>(patterns.data())),
        0);
    return folder.read("out.txt");
  }

  test::CloneSite site;
  const test::TemporaryFolder& folder = site.folder;
  test::TraceCapture trace;
};

TEST_F(ListCopies, CleanDropsEmptyWhereBlocks) {
  const std::string block = "Where used:\n" + item_row(2, "X") + "-----------\n";
  EXPECT_EQ(copy(ZOLP_clean_list, header_row() + "Where used:\n-----------\n" + block + "end"),
            header_row() + block + "end");
  EXPECT_EQ(trace.count("Found Where blockWhere block end found at start"), 1);
  EXPECT_EQ(trace.count("Found Where blockOther line(s) found"), 1);
  EXPECT_EQ(copy(ZOLP_clean_list, "a\n  no Where\n----x\nWhere"), "a\nWhere");
  EXPECT_EQ(copy(ZOLP_clean_list, "Where\nWhere\n----\n"), "Where\nWhere\n----\n");
}

TEST_F(ListCopies, RemoveDoublesKeepsTheFirstOfEachItem) {
  site.fix_columns();
  trace.clear();
  const std::string dataset = row("", "", "A-drawing", "QNMASTER");
  const std::string once =
      header_row() + item_row(1, "A") + dataset + item_row(2, "B") + dataset + "Where used:\n";
  EXPECT_EQ(
      copy(ZOLP_remove_doubles_from_list, once + item_row(3, "A") + dataset + item_row(1, "B") +
                                              dataset + item_row(2, "C") + dataset),
      once + item_row(2, "C") + dataset);
  // Looks at the items seen before: none, A, A, A and B, A and B.
  std::string text;
  for (const std::string& line : trace.lines()) {
    text += line + "\n";
  }
  std::size_t looks = 0;
  for (std::size_t at = text.find("IN test itemlist"); at != std::string::npos;
       at = text.find("IN test itemlist", at + 1)) {
    ++looks;
  }
  EXPECT_EQ(looks, 0U + 1U + 1U + 2U + 2U);
  EXPECT_THAT(text, testing::HasSubstr("itemlist[i] = item_id(B/A  "));
  EXPECT_THAT(text, testing::HasSubstr("In new item line output In copy bottom of item stuffwrite "
                                       "line to os_file_new"));
  EXPECT_EQ(copy(ZOLP_remove_doubles_from_list, "no item line\n"), "no item line\n");
  const std::string negative = "-1" + item_row(1, "Z").substr(2);
  EXPECT_EQ(copy(ZOLP_remove_doubles_from_list, negative + negative), negative);
}

TEST_F(ListCopies, ScanDropsLinesOfWhereBlocks) {
  const std::string list =
      "keep pattern\n"
      "Where used:\n"
      "one pattern\n"
      "other\n"
      "two text\n"
      "---- pattern\n"
      "keep pattern\n"
      "Where pattern\n"
      "last";
  EXPECT_EQ(scan(list, {}), list);
  EXPECT_EQ(scan(list, {"none", nullptr}), list);
  EXPECT_EQ(scan(list, {"pattern", "text"}),
            "keep pattern\nWhere used:\nother\n---- pattern\nkeep pattern\nlast");
}

TEST_F(ListCopies, FilesThatCannotBeOpened) {
  const std::string in = folder.write("in.txt", "contents\n");
  const std::string missing = folder.path("missing.txt");
  const std::string out = folder.path("out.txt");
  const std::string bad_out = folder.path("no-folder/out.txt");
  const auto scan_nothing = [](const char* from, const char* to) {
    return ZOLP_scan_usage(from, to, 0, nullptr);
  };
  const struct {
    CopyFunction function;
    const char* exit;
  } cases[] = {{ZOLP_clean_list, " <-ERROR: ZOLP_clean_list "},
               {ZOLP_remove_doubles_from_list, " <-ERROR: ZOLP_read_itemrevlist "},
               {scan_nothing, " <-ERROR: ZOLP_read_itemrevlist "}};
  for (const auto& [function, exit] : cases) {
    EXPECT_EQ(function(missing.c_str(), out.c_str()), 1);
    EXPECT_TRUE(trace.has("Error from open file:<" + missing + ">! File:zolp_rb_utils.cpp"));
    EXPECT_THAT(trace.lines().back(), StartsWith(exit));
    EXPECT_FALSE(folder.has("out.txt"));
    EXPECT_EQ(function(in.c_str(), bad_out.c_str()), 1);
    EXPECT_TRUE(trace.has("Error from open file:<" + bad_out + ">!"));
    // Onto itself: the list must survive.
    EXPECT_EQ(function(in.c_str(), in.c_str()), 1);
    EXPECT_EQ(folder.read("in.txt"), "contents\n");
#if !defined(_WIN32)
    // A disk that is full.
    EXPECT_EQ(function(in.c_str(), "/dev/full"), 1);
    EXPECT_TRUE(trace.has("Error from write file:</dev/full>!"));
#endif
    trace.clear();
  }
}

}  // namespace
