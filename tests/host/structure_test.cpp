// Product structures: views, occurrences, revision rules and windows.

#include "child_process.h"
#include "objects_site.h"
#include "ork/access.h"
#include "ork/bomw.h"
#include "ork/config.h"
#include "ork/item.h"
#include "ork/obj.h"
#include "ork/store.h"
#include "ork/struct.h"
#include "ork/wso.h"
#include "site.h"
#include "tests/support/temporary_folder.h"

using test::last_error;
using test::take;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using Texts = std::vector<std::string>;

namespace {

constexpr const char* structures_seed = R"({
  "view_types": ["service"], "note_types": ["Torque"],
  "revision_rules": [
    {"name": "Released", "clauses": [{"status": "Released"}]},
    {"name": "Released or latest", "clauses": [{"status": "Released"}, "latest"]}],
  "items": [{"id": "500", "name": "Press", "revisions": [{"id": "A"}]}],
  "structures": [
    {"item": "500", "revision": "A", "lines": [
      {"item": "000100", "quantity": 2, "sequence": "10", "notes": {"Torque": "5 Nm"}},
      {"item": "000200", "revision": "A", "quantity": "0.5"},
      {"item": "000300"}]},
    {"item": "000100", "revision": "B", "lines": [{"item": "000300", "sequence": 1},
                                                  {"item": "000300", "sequence": 1}]}]})";

class StructureSite : public test::ObjectsSite {
 protected:
  void SetUp() override {
    ObjectsSite::SetUp();
    ASSERT_EQ(ork_host_seed(structures_seed), ORK_ok) << last_error();
  }

  static tag view_type(const char* name) {
    tag type = NULLTAG;
    EXPECT_EQ(STRUCT_find_view_type(name, &type), ORK_ok);
    return type;
  }

  static tag rule(const char* name) {
    tag found = NULLTAG;
    EXPECT_EQ(CONFIG_find(name, &found), ORK_ok);
    return found;
  }

  static tag view_revision_of(const char* item_id, const char* revision_id) {
    int count = 0;
    tag* found = nullptr;
    EXPECT_EQ(STRUCT_list_bom_view_revisions(find(item_id, revision_id), &count, &found), ORK_ok);
    return take(count, found).at(0);
  }

  static std::vector<tag> occurrences(tag view_revision) {
    int count = 0;
    tag* found = nullptr;
    EXPECT_EQ(STRUCT_list_occurrences(view_revision, &count, &found), ORK_ok) << last_error();
    return take(count, found);
  }

  tag show(const char* item_id, const char* revision_id, tag wanted_rule = NULLTAG) {
    tag top = NULLTAG;
    EXPECT_EQ(BOMW_create_window(&window), ORK_ok);
    EXPECT_EQ(
        BOMW_set_window_top_line(window, find(item_id, revision_id), NULLTAG, wanted_rule, &top),
        ORK_ok)
        << last_error();
    return top;
  }

  static std::vector<tag> children(tag line) {
    int count = 0;
    tag* found = nullptr;
    EXPECT_EQ(BOMW_line_get_child_lines(line, &count, &found), ORK_ok) << last_error();
    return take(count, found);
  }

  static std::string value(tag object, const char* attribute) {
    char* text = nullptr;
    EXPECT_EQ(OBJ_get_value_string(object, attribute, &text), ORK_ok) << last_error();
    return take(text);
  }

  static Texts values(const std::vector<tag>& lines, const char* attribute) {
    Texts found;
    for (const tag line : lines) {
      found.push_back(value(line, attribute));
    }
    return found;
  }

  tag window = NULLTAG;
};

/** The same site in a file, for what outlives a session. */
class StructureFile : public StructureSite {
 protected:
  void SetUp() override {
    ASSERT_EQ(ork_host_open(path.c_str()), ORK_ok);
    for (const char* seed : {test::demo_seed, test::objects_seed, structures_seed}) {
      ASSERT_EQ(ork_host_seed(seed), ORK_ok) << last_error();
    }
    log_in_as_designer();
  }
  void TearDown() override { ork_host_close(); }

  test::TemporaryFolder folder;
  const std::string path = folder.path("site.db");
};

}  // namespace

// -------------------------------------------------------------------------- views, occurrences

TEST_F(StructureFile, WhatIsBuiltAndSavedLasts) {
  const tag item = find("000300");
  tag revision = NULLTAG, view = NULLTAG, structure = NULLTAG, occurrence = NULLTAG, type = NULLTAG;
  ASSERT_EQ(ITEM_create_rev(item, "A", &revision), ORK_ok);
  ASSERT_EQ(OBJ_save(revision), ORK_ok);
  ASSERT_EQ(STRUCT_create_bom_view(item, view_type("service"), &view), ORK_ok);
  ASSERT_EQ(STRUCT_create_bom_view_revision(view, revision, &structure), ORK_ok);
  ASSERT_EQ(STRUCT_create_occurrence(structure, find("000400"), &occurrence), ORK_ok);
  ASSERT_EQ(STRUCT_find_note_type("Torque", &type), ORK_ok);
  EXPECT_EQ(STRUCT_set_quantity(structure, occurrence, "0.25"), ORK_ok);
  EXPECT_EQ(STRUCT_set_seq_no(structure, occurrence, "10"), ORK_ok);
  EXPECT_EQ(STRUCT_set_occurrence_note_text(structure, occurrence, type, "8 Nm"), ORK_ok);
  EXPECT_EQ(OBJ_save(structure), STORE_refers_to_unsaved);
  EXPECT_EQ(OBJ_save(view), ORK_ok);
  EXPECT_EQ(OBJ_save(structure), ORK_ok) << last_error();
  EXPECT_EQ(occurrences(structure), std::vector<tag>{occurrence}) << "the tag stays";

  ork_host_close();
  ASSERT_EQ(ork_host_open(path.c_str()), ORK_ok);
  log_in_as_designer();
  structure = view_revision_of("000300", "A");
  occurrence = occurrences(structure).at(0);
  tag child = NULLTAG;
  char* text = nullptr;
  EXPECT_EQ(STRUCT_get_child(structure, occurrence, &child), ORK_ok);
  EXPECT_EQ(child, find("000400"));
  EXPECT_EQ(STRUCT_get_quantity(structure, occurrence, &text), ORK_ok);
  EXPECT_EQ(take(text), "0.25");
  EXPECT_EQ(STRUCT_get_seq_no(structure, occurrence, &text), ORK_ok);
  EXPECT_EQ(take(text), "10");
  EXPECT_EQ(STRUCT_get_occurrence_note_text(structure, occurrence, type, &text), ORK_ok);
  EXPECT_EQ(take(text), "8 Nm");
  EXPECT_EQ(value(structure, "object_name"), "000300/A-service");
}

TEST_F(StructureSite, AViewRevisionIsOnePerRevisionAndView) {
  log_in();
  const tag item = find("500");
  tag view = NULLTAG, object = NULLTAG;
  EXPECT_EQ(STRUCT_create_bom_view(item, view_type("view"), &object), ORK_ok);
  EXPECT_EQ(OBJ_save(object), STRUCT_view_exists);
  EXPECT_EQ(OBJ_delete(object), ORK_ok);
  EXPECT_EQ(STRUCT_get_bom_view_of_bvr(view_revision_of("500", "A"), &view), ORK_ok);
  EXPECT_EQ(STRUCT_create_bom_view_revision(view, find("500", "A"), &object), ORK_ok);
  EXPECT_EQ(OBJ_save(object), STRUCT_view_revision_exists);
  EXPECT_EQ(STRUCT_create_bom_view_revision(view, find("000100", "A"), &object), STRUCT_other_item);
  EXPECT_EQ(STRUCT_create_bom_view_revision(item, find("500", "A"), &object), STRUCT_not_a_view);
  EXPECT_EQ(STRUCT_create_bom_view(item, item, &object), STRUCT_not_a_view_type);
  EXPECT_EQ(STRUCT_get_bom_view_type(item, &object), STRUCT_not_a_view);
  EXPECT_EQ(STRUCT_find_view_type("nothing", &object), STRUCT_unknown_view_type);
  EXPECT_EQ(STRUCT_get_default_view_type(&object), ORK_ok);
  EXPECT_EQ(object, NULLTAG);
  ASSERT_EQ(OBJ_lock(find("000300")), ORK_ok);
  EXPECT_EQ(OBJ_delete(find("000300")), STORE_referenced) << "it occurs in structures";
}

TEST_F(StructureSite, OccurrencesAreChangedWithTheLockOfTheirViewRevision) {
  log_in();
  const tag structure = view_revision_of("500", "A");
  const std::vector<tag> all = occurrences(structure);
  tag added = NULLTAG;
  char* text = nullptr;
  EXPECT_EQ(STRUCT_set_seq_no(structure, all[1], "7"), STORE_not_locked);
  EXPECT_EQ(STRUCT_create_occurrence(structure, find("000400"), &added), STORE_not_locked);
  ASSERT_EQ(OBJ_lock(structure), ORK_ok);
  EXPECT_EQ(STRUCT_get_seq_no(structure, all[1], &text), STRUCT_no_sequence_number);
  EXPECT_EQ(STRUCT_set_seq_no(structure, all[1], "7"), ORK_ok);
  EXPECT_EQ(STRUCT_set_seq_no(structure, all[1], std::string(33, '1').c_str()),
            STRUCT_text_too_long);
  for (const char* bad : {"-1", "1 ", "x", "nan", "1e3", "0x10"}) {
    EXPECT_EQ(STRUCT_set_quantity(structure, all[1], bad), STRUCT_bad_quantity) << bad;
  }
  EXPECT_EQ(STRUCT_create_occurrence(structure, find("000100", "A"), &added), ORK_ok);
  EXPECT_EQ(STRUCT_create_occurrence(structure, structure, &added), STRUCT_not_a_child);
  EXPECT_EQ(STRUCT_delete_occurrence(structure, all[0]), ORK_ok);
  EXPECT_EQ(STRUCT_get_seq_no(structure, all[0], &text), STRUCT_not_an_occurrence);
  logical valid = 1;
  EXPECT_EQ(STORE_is_tag_valid(all[0], &valid), ORK_ok);
  EXPECT_EQ(valid, 0);
  EXPECT_EQ(occurrences(structure).size(), 3u);
  EXPECT_EQ(STRUCT_get_seq_no(structure, all[1], &text), ORK_ok);
  EXPECT_EQ(take(text), "7");
  int count = 9;
  tag* notes = nullptr;
  EXPECT_EQ(STRUCT_list_occurrence_notes(structure, all[1], &count, &notes), ORK_ok);
  EXPECT_EQ(count, 0);

  ASSERT_EQ(OBJ_refresh(structure, 0), ORK_ok) << "which drops what was not saved";
  EXPECT_EQ(occurrences(structure).size(), 3u);
  EXPECT_EQ(STRUCT_get_seq_no(structure, all[1], &text), STRUCT_no_sequence_number);
  EXPECT_EQ(STRUCT_get_seq_no(view_revision_of("000100", "B"), all[1], &text),
            STRUCT_not_an_occurrence);
  EXPECT_EQ(STRUCT_list_occurrences(find("500"), &count, &notes), STRUCT_not_a_view_revision);
}

TEST_F(StructureSite, NothingIsBuiltThatContainsItself) {
  log_in();
  const tag inner = view_revision_of("000100", "B");
  ASSERT_EQ(OBJ_lock(inner), ORK_ok);
  tag added = NULLTAG;
  EXPECT_EQ(STRUCT_create_occurrence(inner, find("000100", "A"), &added), STRUCT_contains_itself);
  EXPECT_EQ(STRUCT_create_occurrence(inner, find("500"), &added), STRUCT_contains_itself);
  EXPECT_THAT(last_error(), HasSubstr("item 000100 is a part of item 500"));
  // 000400 gets a part that is not saved yet; that counts, too.
  tag view = NULLTAG, structure = NULLTAG, revision = NULLTAG;
  ASSERT_EQ(ITEM_create_rev(find("000400"), "A", &revision), ORK_ok);
  ASSERT_EQ(STRUCT_create_bom_view(find("000400"), view_type("view"), &view), ORK_ok);
  ASSERT_EQ(STRUCT_create_bom_view_revision(view, revision, &structure), ORK_ok);
  ASSERT_EQ(STRUCT_create_occurrence(structure, find("000100"), &added), ORK_ok);
  EXPECT_EQ(STRUCT_create_occurrence(inner, find("000400"), &added), STRUCT_contains_itself);
  ASSERT_EQ(OBJ_refresh(inner, 0), ORK_ok);
  for (const tag object : {structure, view, revision}) {
    ASSERT_EQ(OBJ_delete(object), ORK_ok);
  }
  EXPECT_EQ(ork_host_seed(R"({"structures": [{"item": "000100", "revision": "B", "lines": [
                                {"item": "000300"}, {"item": "500"}]}]})"),
            ORK_invalid_argument);
  EXPECT_THAT(last_error(), HasSubstr("/structures/0/lines: A structure must not contain itself"));
}

TEST_F(StructureSite, SeedsSayWhatIsWrongWithStructures) {
  const auto error_of = [](const std::string& seed) {
    EXPECT_EQ(ork_host_seed(seed.c_str()), ORK_invalid_argument) << seed;
    return last_error();
  };
  const auto error_of_line = [&](const std::string& line) {
    return error_of(R"({"structures": [{"item": "500", "revision": "A", "lines": [)" + line +
                    "]}]}");
  };
  EXPECT_THAT(error_of_line(R"({"item": "no"})"), HasSubstr("/lines/0/item: there is no item"));
  EXPECT_THAT(error_of_line(R"({"item": "000300", "revision": "X"})"), HasSubstr("no revision"));
  EXPECT_THAT(error_of_line(R"({"item": "000300", "quantity": "many"})"),
              HasSubstr("/lines/0: The quantity is not a number"));
  EXPECT_THAT(error_of_line(R"({"item": "000300", "notes": {"Colour": "red"}})"),
              HasSubstr("/notes/Colour: there is no note type"));
  EXPECT_THAT(error_of(R"({"revision_rules": [{"name": "R", "clauses": ["newest"]}]})"),
              HasSubstr("/revision_rules/0/clauses/0: expected \"latest\""));
  const std::string before = test::describe("structures");
  EXPECT_EQ(ork_host_seed(structures_seed), ORK_ok);
  EXPECT_EQ(test::describe("structures"), before) << "seeding twice is seeding once";
  EXPECT_THAT(before, HasSubstr("\"Torque\": \"5 Nm\""));
}

// ------------------------------------------------------------------------------ revision rules

TEST_F(StructureSite, RulesConfigureRevisions) {
  log_in();
  struct Case {
    const char* rule;
    const char* item;
    const char* revision;
    const char* explanation;
  };
  for (const Case& example :
       {Case{"Released", "000100", "A", "The latest revision with status Released"},
        Case{"Released", "000200", nullptr, "No revision satisfies the rule"},
        Case{"Released or latest", "000100", "A", "The latest revision with status Released"},
        Case{"Released or latest", "000200", "A", "The latest revision"},
        Case{"Released or latest", "000300", nullptr, "No revision satisfies the rule"}}) {
    tag revision = 17;
    char* explanation = nullptr;
    EXPECT_EQ(
        CONFIG_item_get_configured(rule(example.rule), find(example.item), &revision, &explanation),
        ORK_ok);
    EXPECT_EQ(revision,
              example.revision != nullptr ? find(example.item, example.revision) : NULLTAG);
    EXPECT_EQ(take(explanation), example.explanation);
  }
  tag revision = NULLTAG;
  char* explanation = nullptr;
  EXPECT_EQ(CONFIG_item_get_configured(rule("none"), find("500"), &revision, &explanation),
            CONFIG_not_a_rule);
  EXPECT_EQ(CONFIG_item_get_configured(find("500"), find("500"), &revision, &explanation),
            CONFIG_not_a_rule);
  EXPECT_EQ(CONFIG_item_get_configured(rule("Released"), find("500", "A"), &revision, &explanation),
            ITEM_not_an_item);
}

// ------------------------------------------------------------------------------------- windows

TEST_F(StructureSite, LinesShowWhatTheRuleConfigures) {
  log_in();
  const tag top = show("500", "A");
  const std::vector<tag> lines = children(top);
  EXPECT_THAT(values(lines, "bl_item_item_id"), ElementsAre("000100", "000200", "000300"));
  EXPECT_THAT(values(lines, "bl_rev_item_revision_id"), ElementsAre("B", "A", ""));
  EXPECT_THAT(values(lines, "bl_quantity"), ElementsAre("2", "0.5", ""));
  EXPECT_EQ(children(lines[0]).size(), 2u);
  EXPECT_THAT(children(lines[2]), IsEmpty());
  EXPECT_EQ(children(top), lines) << "tags stay";

  const std::vector<tag> released = children(show("500", "A", rule("Released")));
  EXPECT_THAT(values(released, "bl_rev_item_revision_id"), ElementsAre("A", "A", ""));
  EXPECT_THAT(children(released[0]), IsEmpty()) << "that revision has no structure";

  int attribute = 0;
  tag object = NULLTAG;
  const tag structure = view_revision_of("500", "A");
  const auto tag_value = [&](const char* name) {
    EXPECT_EQ(BOMW_line_look_up_attribute(name, &attribute), ORK_ok);
    EXPECT_EQ(BOMW_line_get_attribute_tag(lines[0], attribute, &object), ORK_ok);
    return object;
  };
  EXPECT_EQ(tag_value("bl_parent_bvr"), structure);
  EXPECT_EQ(tag_value("bl_occurrence"), occurrences(structure)[0]);
  EXPECT_EQ(BOMW_line_look_up_attribute("bl_colour", &attribute), BOMW_unknown_attribute);
  EXPECT_EQ(BOMW_line_get_attribute_tag(lines[0], attribute, &object), BOMW_unknown_attribute);
  EXPECT_EQ(BOMW_line_look_up_attribute("bl_quantity", &attribute), ORK_ok);
  EXPECT_EQ(BOMW_line_get_attribute_tag(lines[0], attribute, &object), BOMW_wrong_attribute_type);
  EXPECT_EQ(BOMW_line_get_attribute_tag(find("500"), attribute, &object), BOMW_not_a_line);
}

TEST_F(StructureSite, LinesAreObjectsUntilTheirWindowIsClosed) {
  log_in();
  const tag line = children(show("500", "A"))[0];
  tag class_id = NULLTAG;
  char* text = nullptr;
  logical valid = 0;
  int count = 0;
  tag* tags = nullptr;
  EXPECT_EQ(STORE_is_tag_valid(line, &valid), ORK_ok);
  EXPECT_EQ(valid, 1);
  EXPECT_EQ(STORE_class_of_instance(line, &class_id), ORK_ok);
  EXPECT_EQ(STORE_name_of_class(class_id, &text), ORK_ok);
  EXPECT_EQ(take(text), "BOMLine");
  EXPECT_EQ(OBJ_get_value_tags(line, "bl_item", &count, &tags), ORK_ok);
  EXPECT_EQ(take(count, tags), std::vector<tag>{find("000100")});
  EXPECT_EQ(OBJ_UIF_get_value(line, "bl_revision", &text), ORK_ok);
  EXPECT_EQ(take(text), "000100/B-Stiff bracket");
  EXPECT_EQ(OBJ_get_value_string(line, "object_name", &text), STORE_unknown_attribute);
  EXPECT_EQ(OBJ_set_value_string(line, "bl_item", "x"), STORE_wrong_value_type);
  EXPECT_EQ(OBJ_set_value_string(line, "bl_item_item_id", "x"), BOMW_not_settable);
  EXPECT_EQ(WSO_get_object_id_string(line, &text), WSO_not_a_workspace_object);
  for (const int status : {OBJ_lock(line), OBJ_save(line), OBJ_delete(line), OBJ_unload(line)}) {
    EXPECT_EQ(status, STORE_not_stored);
  }
  EXPECT_EQ(OBJ_load(line), ORK_ok);

  tag other = NULLTAG;
  EXPECT_EQ(BOMW_set_window_top_line(line, find("500", "A"), NULLTAG, NULLTAG, &other),
            BOMW_not_a_window);
  EXPECT_EQ(BOMW_set_window_top_line(window, find("500"), NULLTAG, NULLTAG, &other),
            ITEM_not_a_revision);
  EXPECT_EQ(BOMW_set_window_top_line(window, find("500", "A"), NULLTAG, find("500"), &other),
            CONFIG_not_a_rule);
  EXPECT_EQ(children(line).size(), 2u) << "what was refused changes nothing";
  EXPECT_EQ(BOMW_set_window_top_line(window, find("000100", "B"), NULLTAG, NULLTAG, &other),
            ORK_ok);
  EXPECT_EQ(BOMW_line_get_child_lines(line, &count, &tags), STORE_unknown_tag);
  EXPECT_EQ(BOMW_close_window(window), ORK_ok);
  for (const tag gone : {window, other}) {
    EXPECT_EQ(STORE_is_tag_valid(gone, &valid), ORK_ok);
    EXPECT_EQ(valid, 0);
  }
  EXPECT_EQ(BOMW_close_window(window), STORE_unknown_tag);
  EXPECT_EQ(BOMW_create_window(&window), ORK_ok);
  EXPECT_EQ(BOMW_get_window_top_line(window, &other), BOMW_no_top_line);
}

TEST_F(StructureFile, WindowsLockWhatTheyChangeAndSaveIt) {
  const tag top = show("500", "A");
  const tag structure = view_revision_of("500", "A");
  const tag line = children(top)[1];
  const auto lock = [&] {
    int held = 0;
    EXPECT_EQ(STORE_get_instance_lock(structure, &held), ORK_ok);
    return held == STORE_modify_lock;
  };
  EXPECT_FALSE(lock());
  EXPECT_EQ(OBJ_set_value_string(line, "bl_sequence_no", "70"), ORK_ok);
  EXPECT_TRUE(lock());
  EXPECT_EQ(value(children(show("500", "A"))[1], "bl_sequence_no"), "70") << "in each window";
  EXPECT_EQ(BOMW_close_window(window), ORK_ok);
  EXPECT_TRUE(lock()) << "that window had not taken it";
  EXPECT_EQ(BOMW_get_window_top_line(window, &window), STORE_unknown_tag);

  EXPECT_EQ(ORK_exit_module(0), ORK_ok);
  log_in_as_designer();
  const tag second = children(show("500", "A"))[1];
  EXPECT_EQ(value(second, "bl_sequence_no"), "") << "it was not saved";
  EXPECT_EQ(OBJ_set_value_string(second, "bl_quantity", "9"), ORK_ok);
  EXPECT_EQ(BOMW_close_window(window), ORK_ok);
  EXPECT_FALSE(lock());
  const tag third = children(show("500", "A"))[1];
  EXPECT_EQ(value(third, "bl_quantity"), "0.5") << "closing drops what was not saved";
  EXPECT_EQ(OBJ_set_value_string(third, "bl_quantity", "9"), ORK_ok);
  EXPECT_EQ(OBJ_set_value_string(children(children(show("500", "A"))[0])[0], "bl_quantity", "3"),
            ORK_ok);
  EXPECT_EQ(BOMW_save_window(window), ORK_ok);  // the second window has changed another one
  EXPECT_EQ(ORK_exit_module(0), ORK_ok);
  log_in_as_designer();
  const std::vector<tag> lines = children(show("500", "A"));
  EXPECT_EQ(value(lines[1], "bl_quantity"), "0.5");
  EXPECT_EQ(value(children(lines[0])[0], "bl_quantity"), "3");
}

TEST_F(StructureFile, AWindowMeetsTheLocksAndRightsOfOthers) {
  const tag structure = view_revision_of("500", "A");
  const tag line = children(show("500", "A"))[1];
  test::ChildProcess partner({PARTNER_PROGRAM, "hold", path, std::to_string(structure)});
  ASSERT_EQ(partner.read_line(), "held");
  EXPECT_EQ(OBJ_set_value_string(line, "bl_sequence_no", "70"), STORE_locked_by_other);
  EXPECT_EQ(value(line, "bl_sequence_no"), "");
  partner.close_input();
  partner.wait();
  EXPECT_EQ(OBJ_set_value_string(line, "bl_sequence_no", "70"), ORK_ok);
  EXPECT_EQ(BOMW_save_window(window), ORK_ok);
  EXPECT_EQ(BOMW_close_window(window), ORK_ok);
  ASSERT_EQ(ork_host_seed(R"({"access_rules": [
    {"deny": ["WRITE"], "to": "world", "on": {"class": "PSBOMViewRevision"}}]})"),
            ORK_ok);
  EXPECT_EQ(OBJ_set_value_string(children(show("500", "A"))[1], "bl_sequence_no", "80"),
            ACCESS_denied);
}

TEST_F(StructureFile, AViewRevisionThatOthersHaveChangedIsFollowed) {
  const tag structure = view_revision_of("500", "A");
  const std::vector<tag> lines = children(show("500", "A"));
  const std::vector<tag> before = occurrences(structure);
  {
    host::Database database(path);
    host::Store other(database);
    other.lock(structure);
    for (const char* list : {"occurrence_numbers", "occurrence_items", "occurrence_revisions",
                             "occurrence_quantities", "occurrence_sequences"}) {
      other.erase(structure, list, 0);
    }
    other.save(structure);
    other.refresh(structure, false);
  }
  ASSERT_EQ(OBJ_lock(structure), ORK_ok);
  EXPECT_THAT(occurrences(structure), ElementsAre(before[1], before[2]));
  char* text = nullptr;
  EXPECT_EQ(OBJ_get_value_string(lines[0], "bl_quantity", &text), STORE_deleted_tag);
  EXPECT_EQ(value(lines[1], "bl_quantity"), "0.5");
}

TEST_F(StructureSite, PackedLinesCountAsOne) {
  log_in();
  const tag top = show("000100", "B");
  const std::vector<tag> lines = children(top);
  EXPECT_EQ(BOMW_line_pack(top), ORK_ok);
  EXPECT_EQ(BOMW_line_pack(lines[1]), ORK_ok);
  EXPECT_THAT(children(top), ElementsAre(lines[1]));
  EXPECT_EQ(value(lines[1], "bl_quantity"), "2");
  EXPECT_EQ(BOMW_line_pack(lines[0]), ORK_ok) << "it is hidden";
  EXPECT_THAT(children(top), ElementsAre(lines[1]));
  EXPECT_EQ(OBJ_set_value_string(lines[1], "bl_quantity", "5"), BOMW_not_settable);
  EXPECT_EQ(OBJ_set_value_string(lines[1], "bl_sequence_no", "5"), ORK_ok);
  EXPECT_EQ(value(lines[0], "bl_sequence_no"), "5") << "the number goes to all";
  EXPECT_THAT(children(show("000100", "B")).size(), 2u) << "nothing of it is kept";
}

TEST_F(StructureSite, AWalkThroughWhatContainsItselfIsCut) {
  log_in();
  // Each of two processes may save a half of it; neither could build it alone.
  host::Store& store = host::store();
  const tag inner = view_revision_of("000100", "B");
  store.lock(inner);
  store.set_element(inner, "occurrence_items", 0, find("500"));
  store.save(inner);
  const tag again = children(children(show("500", "A"))[0])[0];
  EXPECT_EQ(value(again, "bl_item_item_id"), "500");
  int count = 9;
  tag* lines = nullptr;
  EXPECT_EQ(BOMW_line_get_child_lines(again, &count, &lines), STRUCT_contains_itself);
  EXPECT_THAT(last_error(), HasSubstr("item 500 is above itself"));
}

TEST_F(StructureSite, ManyItemsAreReadAtOnce) {
  std::string items;
  std::string lines;
  for (int i = 0; i < 300; ++i) {
    const std::string id = "M" + std::to_string(i);
    items += R"({"id": ")" + id + R"(", "name": "Part", "revisions": [{"id": "A"}, {"id": "B"}]},)";
    lines += R"({"item": ")" + id + "\"},";
  }
  items.pop_back();
  lines.pop_back();
  ASSERT_EQ(ork_host_seed((R"({"items": [)" + items +
                           R"(], "structures": [{"item": "500", "revision": "A", "lines": [)" +
                           lines + "]}]}")
                              .c_str()),
            ORK_ok);
  log_in();
  const std::vector<tag> all = children(show("500", "A"));
  EXPECT_EQ(values(all, "bl_rev_item_revision_id"), Texts(300, "B"));
  EXPECT_THAT(children(all.back()), IsEmpty());
}
