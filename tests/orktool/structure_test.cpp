// Values of BOM lines, and the walks over the lines below one.

#include "support/structure_site.h"

namespace {

using Texts = std::vector<std::string>;

class Lines : public test::TestOn<test::StructureSite> {
 protected:
  /** Trace texts without indentation and places, those of the platform's calls left out. */
  Texts remarks() const {
    Texts found;
    for (std::string line : trace.lines()) {
      line.erase(0, line.find_first_not_of(' '));
      const bool is_call = line.rfind("->", 0) == 0 || line.rfind("<-", 0) == 0;
      if (!is_call && line.rfind("File:", 0) != 0) {
        found.push_back(line);
      }
    }
    return found;
  }

  static std::string number(tag line) { return std::to_string(line); }
};

// ----------------------------------------------------------------------------- values of a line

TEST_F(Lines, ValuesAreTraced) {
  const tag line = site.child(site.show("T: A=10"), 0);
  char* text = nullptr;
  trace.clear();
  EXPECT_EQ(ZOLP_getSequenceNo(line, &text), ORK_ok);
  EXPECT_EQ(take(text), "10");
  EXPECT_THAT(trace.lines()[0], HasSubstr(" ->ZOLP_getSequenceNo zolp_ps_utils.cpp:"));
  EXPECT_THAT(remarks(), ElementsAre("seqno <10>"));
  EXPECT_THAT(trace.lines().back(), HasSubstr(" <-ZOLP_getSequenceNo zolp_ps_utils.cpp:"));

  trace.clear();
  const tag revision = test::ask(ZOLP_get_bomline_revtag, line);
  EXPECT_THAT(remarks(), ElementsAre("Found for BOMLine <" + number(line) + "> rev tag <" +
                                     number(revision) + ">"));
  char* revision_id = nullptr;
  trace.clear();
  EXPECT_EQ(ZOLP_get_bomline_item_and_rev(line, &text, &revision_id), ORK_ok);
  EXPECT_EQ(take(text) + take(revision_id), "AA");
  EXPECT_THAT(remarks(), ElementsAre("Found for BOMLine <" + number(line) + "> item <A> rev <A>"));
}

TEST_F(Lines, ValuesThatCannotBeReadAreReportedAndEmpty) {
  const tag top = site.show("T: A=10");
  char* text = nullptr;
  tag object = 17;
  const tag no_line = site.find("A");
  EXPECT_EQ(ZOLP_getSequenceNo(no_line, &text), STORE_unknown_attribute);
  EXPECT_EQ(text, nullptr);
  EXPECT_EQ(ZOLP_getQuantity(4000000000U, &text), STORE_unknown_tag);
  EXPECT_EQ(ZOLP_setQuantity(site.child(top, 0), "many"), STRUCT_bad_quantity);
  EXPECT_EQ(ZOLP_setSequenceNo(top, "10"), BOMW_not_settable);
  EXPECT_EQ(ZOLP_get_bomline_itemtag(no_line, &object), BOMW_not_a_line);
  EXPECT_EQ(object, NULLTAG);
  EXPECT_TRUE(trace.has("The object is not a line of an open BOM window"));
}

// --------------------------------------------------------------------------------- resequencing

class Resequence : public Lines {
 protected:
  int resequence(tag line, std::vector<tag> not_desired = {}, logical recursive = 0) {
    trace.clear();
    return ZOLP_resequence_bom(line, &start, &increment, recursive, 0, nullptr, not_desired.data(),
                               static_cast<int>(not_desired.size()));
  }

  int start = 10;
  int increment = 10;
};

TEST_F(Resequence, LinesOfOneRevisionShareANumber) {
  const tag top = site.show("T: A B A C");
  EXPECT_EQ(resequence(top), 0);
  EXPECT_EQ(start, 10);
  const std::vector<tag> lines = site.children(top);
  const std::string a = number(site.find("A", "A"));
  EXPECT_THAT(
      remarks(),
      ElementsAre("count_of_not_desired_bomlines:0",
                  "local_current_seq_no:10: local_seqno_incr:10:", "Count of children:4 ",
                  "Found for BOMLine <" + number(lines[0]) + "> rev tag <" + a + ">",
                  "bei j=i, i=0, Seq=10 ", HasSubstr("Found for BOMLine"), "bei j=i, i=1, Seq=20 ",
                  "Found for BOMLine <" + number(lines[2]) + "> rev tag <" + a + ">", "seqno <>",
                  testing::StartsWith("i=2 mit Seq=  ->ZOLP_getSequenceNo "), "seqno <10>",
                  "j=0 mit Seq=10 ", HasSubstr("Found for BOMLine"), "bei j=i, i=3, Seq=30 "));
}

TEST_F(Resequence, NotDesiredLinesKeepTheirNumbers) {
  // A line that is passed over is still the first of its revision for those behind it.
  const tag top = site.show("T: A X=7 X B");
  const std::vector<tag> lines = site.children(top);
  EXPECT_EQ(resequence(top, {lines[1]}), 0);
  EXPECT_THAT(site.sequences(top), ElementsAre("10", "7", "7", "20"));
  EXPECT_TRUE(trace.has("of_not_desired_bomlines[0]:" + number(lines[1]) +
                        ": children:" + number(lines[3])));
}

// -------------------------------------------------------------------------------------- packing

TEST_F(Lines, PackingOneLevelLeavesThoseBelow) {
  const tag top = site.show("T: A*2 A B A=5; A: D D");
  EXPECT_EQ(ZOLP_pack_bom(top, 0), ORK_ok);
  EXPECT_THAT(site.values_below(top, "bl_quantity"), ElementsAre("3", "", ""));
  EXPECT_EQ(site.children(site.child(top, 0)).size(), 2u);
}

TEST_F(Lines, PackingAgainIsACallInsideTheCall) {
  const tag top = site.show("T: A A B B C");
  trace.clear();
  ork_host_start_journal();
  EXPECT_EQ(ZOLP_pack_bom(top, 1), ORK_ok);
  Texts calls;
  for (const std::string& line : trace.lines()) {
    const std::size_t end = line.find(" zolp_ps_utils.cpp");
    if (line.find("ZOLP_pack_bom") != std::string::npos) {
      calls.push_back(line.substr(0, end));
    }
  }
  // A merges: again. A is packed and entered, B merges: again. Then all three are entered.
  EXPECT_THAT(calls, ElementsAre(" ->ZOLP_pack_bom", "   ->ZOLP_pack_bom", "     ->ZOLP_pack_bom",
                                 "     <-ZOLP_pack_bom", "     ->ZOLP_pack_bom",
                                 "       ->ZOLP_pack_bom", "       <-ZOLP_pack_bom",
                                 "       ->ZOLP_pack_bom", "       <-ZOLP_pack_bom",
                                 "       ->ZOLP_pack_bom", "       <-ZOLP_pack_bom",
                                 "     <-ZOLP_pack_bom", "   <-ZOLP_pack_bom", " <-ZOLP_pack_bom"));
  const Texts journal = test::Site::journal();
  EXPECT_EQ(std::count(journal.begin(), journal.end(), "BOMW_line_pack"), 1 + 2 + 3);
}

// ------------------------------------------------------------------------------- depth and size

TEST_F(Lines, MaximumDepthIsThatOfTheFirstLevel) {
  const tag top = site.show("T: A; A: B");
  int depth = 0;
  trace.clear();
  EXPECT_EQ(ZOLP_get_max_depth_of_ps(top, 0, &depth), 0);
  EXPECT_THAT(remarks(), ElementsAre("maximale-depth:3", "maximale-depth:2", "maximale-depth:1"));
}

TEST_F(Lines, SizeIsTracedAndItsFailurePrinted) {
  const tag top = site.show("T: A B; A: C D");
  int size = 0;
  EXPECT_EQ(ZOLP_getSizeOfPS(top, 0, nullptr, &size), 0);
  EXPECT_TRUE(trace.has("size:5"));
  size = 0;
  fail("BOMW_line_get_child_lines", 2);
  testing::internal::CaptureStdout();
  EXPECT_EQ(ZOLP_getSizeOfPS(top, 0, nullptr, &size), 0);  // A fails, and B is not reached
  EXPECT_EQ(size, 2);
  EXPECT_THAT(testing::internal::GetCapturedStdout(),
              testing::MatchesRegex("ERROR: File:zolp_ps_utils.cpp .line:[0-9]+. .ifail 4711.\n"));
}

// ------------------------------------------------------------------------- collecting and finding

TEST_F(Lines, SequenceNumbersAreTheDigitsInFront) {
  const tag top = site.show("T: A=10 B=20x C=10; A: D=30");
  List numbers;
  int counter = 0;
  EXPECT_EQ(ZOLP_getSeqNoListOfBom(top, 0, &counter, &numbers.count, &numbers.array), 0);
  EXPECT_THAT(numbers.tags(), ElementsAre(10u, 30u, 20u));
  List bounded;
  EXPECT_EQ(ZOLP_getSeqNoListOfBom(top, -1, &counter, &bounded.count, &bounded.array), 0);
  EXPECT_THAT(bounded.tags(), ElementsAre(10u, 20u));
}

TEST_F(Lines, UnusedNumberIsTheNextOneNotInTheList) {
  tag used[] = {10, 20};
  int number = 10;
  trace.clear();
  EXPECT_EQ(ZOLP_getUnusedSeqNo(&number, 10, 2, used), 0);
  EXPECT_EQ(number, 30);
  EXPECT_EQ(trace.count(" ->ZOLP_getUnusedSeqNo "), 3);
  EXPECT_EQ(trace.count(" <-ZOLP_getUnusedSeqNo "), 2);  // the innermost one has no exit line
  EXPECT_EQ(ZOLP_getUnusedSeqNo(&number, 0, 2, used), 0);
  EXPECT_EQ(number, 30);
  EXPECT_EQ(ZOLP_getUnusedSeqNo(&number, 10, 0, nullptr), 0);
  number = 10;
  testing::internal::CaptureStdout();
  EXPECT_EQ(ZOLP_getUnusedSeqNo(&number, 0, 2, used), 1);  // it would never end
  tag circle[] = {10, 0x8000000A};
  EXPECT_EQ(ZOLP_getUnusedSeqNo(&number, std::numeric_limits<int>::min(), 2, circle), 1);
  EXPECT_THAT(testing::internal::GetCapturedStdout(), HasSubstr("(ifail 1)"));
}

class Export : public Lines {
 protected:
  Export() {
    site.seed(test::structure_seed("T: A A; A: B; B: "));
    site.seed(R"({"types": [{"name": "Drawing", "parent": "Dataset"}], "items": [
      {"id": "A", "name": "Part", "revisions": [{"id": "A", "datasets": [
        {"name": "drawing", "type": "Drawing"}, {"name": "notes"}]}]}],
      "relations": [{"primary": {"item": "A", "revision": "A"}, "type": "VELO_reference",
                     "secondary": {"item": "B"}}]})");
    top = site.open("T");
  }

  int collect(const char* class_name, List& list) {
    return ZOLP_exportObjectsFromBom(top, class_name, nullptr, 0, &list.count, &list.array);
  }

  tag top = NULLTAG;
};

TEST_F(Export, CollectsFromLinesWithChildren) {
  List datasets, none;
  EXPECT_EQ(collect("Dataset", datasets), 0);
  Texts names;
  for (const tag dataset : datasets.tags()) {
    names.push_back(site.value(dataset, "object_name"));
  }
  EXPECT_THAT(names, ElementsAre("drawing", "notes"));
  EXPECT_EQ(collect("item", none), 0);
  EXPECT_EQ(ZOLP_exportObjectsFromBom(NULLTAG, "Item", nullptr, 0, &none.count, &none.array), 1);
  top = site.open("B");
  EXPECT_EQ(collect("Item", none), 0);
  EXPECT_EQ(none.count, 0);
}

}  // namespace
