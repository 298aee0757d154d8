// View types, and the occurrences of view revisions.

#include "support/structure_site.h"

namespace {

class Occurrences : public test::TestOn<test::StructureSite> {
 protected:
  Occurrences() {
    site.seed(test::file_text("orktool/seeds/occurrences.json"));
    view = ask(STRUCT_find_view_type, "view");
    service = ask(STRUCT_find_view_type, "service");
    rule = ask(CONFIG_find, "Released");
    bvr = list(STRUCT_list_bom_view_revisions, site.find("T", "A")).at(0);
    bv = ask(STRUCT_get_bom_view_of_bvr, bvr);
    const std::vector<tag> occurrences = list(STRUCT_list_occurrences, bvr);
    first = occurrences.at(0);
    second = occurrences.at(1);
    EXPECT_EQ(ERR_clear_errors(), ORK_ok);
  }

  tag view = NULLTAG, service = NULLTAG, rule = NULLTAG;
  tag bv = NULLTAG, bvr = NULLTAG, first = NULLTAG, second = NULLTAG;
};

// ---------------------------------------------------------------------------------- view types

TEST_F(Occurrences, ViewTypesAreTested) {
  struct Case {
    tag object, type;
    bool verdict;
    int status;
  };
  for (const Case& example : {
           Case{bv, service, true, 0},
           Case{bvr, service, true, 0},
           Case{bv, view, false, 0},
           Case{bv, NULLTAG, false, 0},
           Case{NULLTAG, service, false, STORE_unknown_tag},
           Case{site.find("T"), service, false, STRUCT_not_a_view_revision},
       }) {
    bool verdict = !example.verdict;
    EXPECT_EQ(ZOLP_IsViewOfType(example.object, example.type, &verdict), example.status);
    EXPECT_EQ(verdict, example.verdict);
  }
  // A failed class test takes the view for a revision of one.
  bool verdict = true;
  ork_host_fail_call("STORE_is_descendant", 1, failure);
  EXPECT_EQ(ZOLP_IsViewOfType(bv, service, &verdict), STRUCT_not_a_view_revision);
  EXPECT_FALSE(verdict);
}

TEST_F(Occurrences, ViewTypesAreTestedByName) {
  const auto is_of_type = [this](const char* name, int status = ORK_ok) {
    bool verdict = false;
    EXPECT_EQ(ZOLP_IsViewOfType(bvr, name, &verdict), status);
    return verdict;
  };
  trace.clear();
  EXPECT_TRUE(is_of_type("service"));
  EXPECT_TRUE(trace.has("Searching for view type service"));
  EXPECT_EQ(trace.count("->ZOLP_IsViewOfType(tBVOrBVR, tViewType, p_lVerdict) "), 1);
  EXPECT_FALSE(is_of_type("nothing", STRUCT_unknown_view_type));
  EXPECT_FALSE(is_of_type(nullptr));  // the type "view", as the site has no default
  EXPECT_TRUE(trace.has("->STRUCT_find_view_type(\"view\", &tViewType )"));
  site.seed(R"({"view_types": [{"name": "service", "default": true}]})");
  EXPECT_TRUE(is_of_type(nullptr));
}

// --------------------------------------------------------------------------------- occurrences

TEST_F(Occurrences, ChildrenAreResolvedToItemAndRevision) {
  const tag item = site.find("S");
  const tag a = site.find("S", "A");
  const tag b = site.find("S", "B");
  struct Case {
    tag child, rule, item, revision;
    int status;
    std::string type;
  };
  constexpr tag untouched = 17;
  for (const Case& example : {
           Case{item, rule, item, a, 0, "Screw"},
           Case{b, rule, item, b, 0, "ItemRevision"},  // rules leave revisions alone
           Case{b, NULLTAG, item, b, 0, "ItemRevision"},
           Case{item, NULLTAG, untouched, untouched, 2010, "Screw"},
           Case{item, bv, item, NULLTAG, CONFIG_not_a_rule, "Screw"},
           Case{bv, rule, untouched, untouched, 2010, "PSBOMView"},
           Case{NULLTAG, rule, untouched, untouched, 2010, ""},
       }) {
    tag found_item = untouched;
    tag found_revision = untouched;
    char* type = nullptr;
    trace.clear();
    EXPECT_EQ(ZOLP_GetItemAndRevFromOccObj(example.child, example.rule, &found_item,
                                           &found_revision, &type),
              example.status);
    EXPECT_EQ(found_item, example.item);
    EXPECT_EQ(found_revision, example.revision);
    EXPECT_EQ(take(type), example.type);
    EXPECT_TRUE(trace.has("Type is " + example.type));
  }
  EXPECT_EQ(test::error_stack().back().severity, 3);
  EXPECT_THAT(test::error_stack().back().text,
              testing::HasSubstr("Revision rule either not specified or not found"));
}

TEST_F(Occurrences, RulesAreFoundByName) {
  tag item = NULLTAG;
  tag revision = NULLTAG;
  char* type = nullptr;
  EXPECT_EQ(ZOLP_GetItemAndRevFromOccObj(site.find("S"), "Released", &item, &revision, &type), 0);
  EXPECT_EQ(revision, site.find("S", "A"));
  EXPECT_EQ(take(type), "Screw");
  EXPECT_EQ(ZOLP_GetItemAndRevFromOccObj(site.find("S"), "Wanted", &item, &revision, &type), 2010);
  MEM_free(type);
  EXPECT_THAT(error_codes(), ElementsAre(710041, 2010));
  EXPECT_TRUE(trace.has("unknown revision rule Wanted"));
  EXPECT_EQ(ERR_clear_errors(), ORK_ok);
  EXPECT_EQ(ZOLP_GetItemAndRevFromOccObj(site.find("S", "B"), "Wanted", &item, &revision, &type),
            0);
  MEM_free(type);
  EXPECT_EQ(revision, site.find("S", "B"));
  EXPECT_THAT(error_codes(), ElementsAre(710041));
}

TEST_F(Occurrences, ItemsOfChildren) {
  constexpr tag untouched = 17;
  for (const auto& [child, expected] :
       {std::pair{site.find("S"), site.find("S")}, {bv, untouched}}) {
    tag found = untouched;
    char* name = nullptr;
    EXPECT_EQ(ZOLP_GetItemFromOccObj(child, &found, &name), ORK_ok);
    EXPECT_EQ(found, expected);
    MEM_free(name);
  }
}

TEST_F(Occurrences, AMissingSequenceNumberIsNoFailure) {
  char* text = nullptr;
  EXPECT_EQ(GetSeqNo(bvr, first, &text), 0);
  EXPECT_EQ(take(text), "10");
  EXPECT_TRUE(trace.has("Seq No. is [10] "));
  EXPECT_EQ(ERR_store_error(3, failure), ORK_ok);
  EXPECT_EQ(GetSeqNo(bvr, second, &text), 0);
  EXPECT_EQ(text, nullptr);
  EXPECT_THAT(error_codes(), ElementsAre(failure));  // what was there before stays
  EXPECT_EQ(GetSeqNo(bvr, bv, &text), STRUCT_not_an_occurrence);
  EXPECT_THAT(error_codes(), ElementsAre(failure, STRUCT_not_an_occurrence));
  EXPECT_EQ(ERR_clear_errors(), ORK_ok);
  EXPECT_THAT(error_codes(), IsEmpty());  // the mark is gone
}

TEST_F(Occurrences, NotesAreListedOnce) {
  tag* notes = nullptr;
  int count = 0;
  char* text = nullptr;
  ork_host_start_journal();
  EXPECT_EQ(ZOLP_GetOccNoteText(bvr, first, "Torque", &notes, &count, &text), 0);
  EXPECT_EQ(take(text), "12 Nm");
  EXPECT_TRUE(trace.has("\tFound Value=12 Nm"));
  EXPECT_EQ(ZOLP_GetOccNoteText(bvr, first, "Remark", &notes, &count, &text), 0);
  EXPECT_EQ(take(text), "Locked");
  EXPECT_THAT(test::Site::journal(),
              ElementsAre("STRUCT_list_occurrence_notes", "STRUCT_get_note_type_name",
                          "STRUCT_get_note_type_name", "STRUCT_get_occurrence_note_text",
                          "STRUCT_get_note_type_name", "STRUCT_get_occurrence_note_text"));
  EXPECT_EQ(ZOLP_GetOccNoteText(bvr, first, "remark", &notes, &count, &text), 0);
  EXPECT_EQ(text, nullptr);
  MEM_free(notes);

  notes = nullptr;
  count = 9;
  EXPECT_EQ(ZOLP_GetOccNoteText(bvr, second, "Remark", &notes, &count, &text), 0);
  EXPECT_EQ(count, 0);
}

}  // namespace
