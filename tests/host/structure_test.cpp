// Product structures: views, occurrences, revision rules and windows.

#include "child_process.h"
#include "objects_site.h"
#include "site.h"

using Texts = std::vector<std::string>;

namespace {

const std::string structures_seed = test::file_text("host/seeds/structures.json");

class StructureSite : public test::ObjectsSite {
 protected:
  void SetUp() override {
    ObjectsSite::SetUp();
    seed(structures_seed);
  }

  static tag view_type(const char* name) { return ask(STRUCT_find_view_type, name); }

  static tag rule(const char* name) { return ask(CONFIG_find, name); }

  static tag view_revision_of(const char* item_id, const char* revision_id) {
    return list(STRUCT_list_bom_view_revisions, find(item_id, revision_id)).at(0);
  }

  static std::vector<tag> occurrences(tag view_revision) {
    return list(STRUCT_list_occurrences, view_revision);
  }

  static std::string sequence(tag structure, tag occurrence) {
    return ask(STRUCT_get_seq_no, structure, occurrence);
  }

  tag show(const char* item_id, const char* revision_id, tag wanted_rule = NULLTAG) {
    window = ask(BOMW_create_window);
    return ask(BOMW_set_window_top_line, window, find(item_id, revision_id), NULLTAG, wanted_rule);
  }

  static std::vector<tag> children(tag line) { return list(BOMW_line_get_child_lines, line); }

  static Texts values(const std::vector<tag>& lines, const char* attribute) {
    Texts found;
    for (const tag line : lines) {
      found.push_back(value_of(line, attribute));
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
    for (const char* json : {test::demo_seed, test::objects_seed, structures_seed.c_str()}) {
      seed(json);
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
  const tag revision = ask(ITEM_create_rev, item, "A");
  ASSERT_EQ(OBJ_save(revision), ORK_ok);
  const tag view = ask(STRUCT_create_bom_view, item, view_type("service"));
  tag structure = ask(STRUCT_create_bom_view_revision, view, revision);
  tag occurrence = ask(STRUCT_create_occurrence, structure, find("000400"));
  const tag type = ask(STRUCT_find_note_type, "Torque");
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
  EXPECT_EQ(ask(STRUCT_get_child, structure, occurrence), find("000400"));
  EXPECT_EQ(ask(STRUCT_get_quantity, structure, occurrence), "0.25");
  EXPECT_EQ(sequence(structure, occurrence), "10");
  EXPECT_EQ(ask(STRUCT_get_occurrence_note_text, structure, occurrence, type), "8 Nm");
  EXPECT_EQ(value_of(structure, "object_name"), "000300/A-service");
}

TEST_F(StructureSite, AViewRevisionIsOnePerRevisionAndView) {
  log_in();
  const tag item = find("500");
  tag made = ask(STRUCT_create_bom_view, item, view_type("view"));
  EXPECT_EQ(OBJ_save(made), STRUCT_view_exists);
  EXPECT_EQ(OBJ_delete(made), ORK_ok);
  const tag view = ask(STRUCT_get_bom_view_of_bvr, view_revision_of("500", "A"));
  made = ask(STRUCT_create_bom_view_revision, view, find("500", "A"));
  EXPECT_EQ(OBJ_save(made), STRUCT_view_revision_exists);
  EXPECT_EQ(refusal(STRUCT_create_bom_view_revision, view, find("000100", "A")), STRUCT_other_item);
  EXPECT_EQ(refusal(STRUCT_create_bom_view_revision, item, find("500", "A")), STRUCT_not_a_view);
  EXPECT_EQ(refusal(STRUCT_create_bom_view, item, item), STRUCT_not_a_view_type);
  EXPECT_EQ(refusal(STRUCT_find_view_type, "nothing"), STRUCT_unknown_view_type);
  EXPECT_EQ(ask(STRUCT_get_default_view_type), NULLTAG);
  ASSERT_EQ(OBJ_lock(find("000300")), ORK_ok);
  EXPECT_EQ(OBJ_delete(find("000300")), STORE_referenced) << "it occurs in structures";
}

TEST_F(StructureSite, OccurrencesAreChangedWithTheLockOfTheirViewRevision) {
  log_in();
  const tag structure = view_revision_of("500", "A");
  const std::vector<tag> all = occurrences(structure);
  const auto no_sequence = [&](tag place, tag occurrence) {
    return refusal(STRUCT_get_seq_no, place, occurrence);
  };
  EXPECT_EQ(STRUCT_set_seq_no(structure, all[1], "7"), STORE_not_locked);
  EXPECT_EQ(refusal(STRUCT_create_occurrence, structure, find("000400")), STORE_not_locked);
  ASSERT_EQ(OBJ_lock(structure), ORK_ok);
  EXPECT_EQ(no_sequence(structure, all[1]), STRUCT_no_sequence_number);
  EXPECT_EQ(STRUCT_set_seq_no(structure, all[1], "7"), ORK_ok);
  EXPECT_EQ(STRUCT_set_seq_no(structure, all[1], std::string(33, '1').c_str()),
            STRUCT_text_too_long);
  for (const char* bad : {"-1", "1 ", "x", "nan", "1e3", "0x10"}) {
    EXPECT_EQ(STRUCT_set_quantity(structure, all[1], bad), STRUCT_bad_quantity) << bad;
  }
  ask(STRUCT_create_occurrence, structure, find("000100", "A"));
  EXPECT_EQ(refusal(STRUCT_create_occurrence, structure, structure), STRUCT_not_a_child);
  EXPECT_EQ(STRUCT_delete_occurrence(structure, all[0]), ORK_ok);
  EXPECT_EQ(no_sequence(structure, all[0]), STRUCT_not_an_occurrence);
  EXPECT_FALSE(test::is_valid(all[0]));
  EXPECT_THAT(host::store().values(structure, "note_texts"), IsEmpty()) << "its notes go with it";
  EXPECT_EQ(occurrences(structure).size(), 3u);
  EXPECT_EQ(sequence(structure, all[1]), "7");
  EXPECT_THAT(list(STRUCT_list_occurrence_notes, structure, all[1]), IsEmpty());

  ASSERT_EQ(OBJ_refresh(structure, 0), ORK_ok) << "which drops what was not saved";
  EXPECT_EQ(occurrences(structure).size(), 3u);
  EXPECT_EQ(no_sequence(structure, all[1]), STRUCT_no_sequence_number);
  EXPECT_EQ(no_sequence(view_revision_of("000100", "B"), all[1]), STRUCT_not_an_occurrence);
  EXPECT_EQ(refusal(STRUCT_list_occurrences, find("500")), STRUCT_not_a_view_revision);
}

TEST_F(StructureSite, NothingIsBuiltThatContainsItself) {
  log_in();
  const tag inner = view_revision_of("000100", "B");
  ASSERT_EQ(OBJ_lock(inner), ORK_ok);
  const auto add = [inner](tag child) { return refusal(STRUCT_create_occurrence, inner, child); };
  EXPECT_EQ(add(find("000100", "A")), STRUCT_contains_itself);
  EXPECT_EQ(add(find("500")), STRUCT_contains_itself);
  EXPECT_THAT(last_error(), HasSubstr("item 000100 is a part of item 500"));
  // 000400 gets a part that is not saved yet; that counts, too.
  const tag revision = ask(ITEM_create_rev, find("000400"), "A");
  const tag view = ask(STRUCT_create_bom_view, find("000400"), view_type("view"));
  const tag structure = ask(STRUCT_create_bom_view_revision, view, revision);
  ask(STRUCT_create_occurrence, structure, find("000100"));
  EXPECT_EQ(add(find("000400")), STRUCT_contains_itself);
  ASSERT_EQ(OBJ_refresh(inner, 0), ORK_ok);
  for (const tag object : {structure, view, revision}) {
    ASSERT_EQ(OBJ_delete(object), ORK_ok);
  }
}

TEST_F(StructureSite, SeedsSayWhatIsWrongWithStructures) {
  expect_refused("refused_structures.txt", ork_host_seed);
  const std::string before = test::describe("structures");
  seed(structures_seed);
  EXPECT_EQ(test::describe("structures"), before) << "seeding twice is seeding once";
  EXPECT_THAT(before, HasSubstr("\"Torque\": \"5 Nm\""));
}

// ------------------------------------------------------------------------------ revision rules

TEST_F(StructureSite, RulesConfigureRevisions) {
  log_in();
  using Case = std::tuple<const char*, const char*, const char*, const char*>;
  for (const auto& [name, item, configured, explanation] :
       {Case{"Released", "000100", "A", "The latest revision with status Released"},
        Case{"Released", "000200", nullptr, "No revision satisfies the rule"},
        Case{"Released or latest", "000100", "A", "The latest revision with status Released"},
        Case{"Released or latest", "000200", "A", "The latest revision"},
        Case{"Released or latest", "000300", nullptr, "No revision satisfies the rule"}}) {
    tag revision = 17;
    EXPECT_EQ(ask(CONFIG_item_get_configured, rule(name), find(item), &revision), explanation);
    EXPECT_EQ(revision, configured != nullptr ? find(item, configured) : NULLTAG);
  }
  const auto refused = [](tag rule, tag item) {
    return refusal(CONFIG_item_get_configured, rule, item);
  };
  EXPECT_EQ(refused(rule("none"), find("500")), CONFIG_not_a_rule);
  EXPECT_EQ(refused(find("500"), find("500")), CONFIG_not_a_rule);
  EXPECT_EQ(refused(rule("Released"), find("500", "A")), ITEM_not_an_item);

  seed(R"({"items": [{"id": "000100", "name": "Bracket", "revisions": [
              {"id": "B", "statuses": ["Released"]}, {"id": "C"}]}]})");
  tag latest = NULLTAG;
  ask(CONFIG_item_get_configured, rule("Released"), find("000100"), &latest);
  EXPECT_EQ(latest, find("000100", "B")) << "the latest of two";
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

  const tag structure = view_revision_of("500", "A");
  const auto tag_value = [&](const char* name) {
    return ask(BOMW_line_get_attribute_tag, lines[0], ask(BOMW_line_look_up_attribute, name));
  };
  EXPECT_EQ(tag_value("bl_parent_bvr"), structure);
  EXPECT_EQ(tag_value("bl_occurrence"), occurrences(structure)[0]);
  EXPECT_EQ(refusal(BOMW_line_look_up_attribute, "bl_colour"), BOMW_unknown_attribute);
  EXPECT_EQ(refusal(BOMW_line_get_attribute_tag, lines[0], 0), BOMW_unknown_attribute);
  const int quantity = ask(BOMW_line_look_up_attribute, "bl_quantity");
  EXPECT_EQ(refusal(BOMW_line_get_attribute_tag, lines[0], quantity), BOMW_wrong_attribute_type);
  EXPECT_EQ(refusal(BOMW_line_get_attribute_tag, find("500"), quantity), BOMW_not_a_line);
}

TEST_F(StructureSite, LinesAreObjectsUntilTheirWindowIsClosed) {
  log_in();
  const tag line = children(show("500", "A"))[0];
  EXPECT_TRUE(test::is_valid(line));
  EXPECT_EQ(ask(STORE_name_of_class, ask(STORE_class_of_instance, line)), "BOMLine");
  EXPECT_THAT(list(OBJ_get_value_tags, line, "bl_item"), ElementsAre(find("000100")));
  EXPECT_EQ(ask(OBJ_UIF_get_value, line, "bl_revision"), "000100/B-Stiff bracket");
  EXPECT_EQ(refusal(OBJ_get_value_string, line, "object_name"), STORE_unknown_attribute);
  EXPECT_EQ(OBJ_set_value_string(line, "bl_item", "x"), STORE_wrong_value_type);
  EXPECT_EQ(OBJ_set_value_string(line, "bl_item_item_id", "x"), BOMW_not_settable);
  EXPECT_EQ(refusal(WSO_get_object_id_string, line), WSO_not_a_workspace_object);
  for (const int status : {OBJ_lock(line), OBJ_save(line), OBJ_delete(line), OBJ_unload(line)}) {
    EXPECT_EQ(status, STORE_not_stored);
  }
  EXPECT_EQ(OBJ_load(line), ORK_ok);

  const auto not_shown = [](tag in, tag revision, tag rule) {
    return refusal(BOMW_set_window_top_line, in, revision, NULLTAG, rule);
  };
  EXPECT_EQ(not_shown(line, find("500", "A"), NULLTAG), BOMW_not_a_window);
  EXPECT_EQ(not_shown(window, find("500"), NULLTAG), ITEM_not_a_revision);
  EXPECT_EQ(not_shown(window, find("500", "A"), find("500")), CONFIG_not_a_rule);
  EXPECT_EQ(children(line).size(), 2u) << "what was refused changes nothing";
  const tag other = ask(BOMW_set_window_top_line, window, find("000100", "B"), NULLTAG, NULLTAG);
  EXPECT_EQ(refusal(BOMW_line_get_child_lines, line), STORE_unknown_tag);
  const tag first_window = window;
  const tag of_second_window = show("500", "A");
  EXPECT_EQ(BOMW_close_window(first_window), ORK_ok);
  EXPECT_FALSE(test::is_valid(first_window));
  EXPECT_FALSE(test::is_valid(other));
  EXPECT_EQ(children(of_second_window).size(), 3u) << "a window is closed alone";
  EXPECT_EQ(BOMW_close_window(window), ORK_ok);
  EXPECT_EQ(BOMW_close_window(window), STORE_unknown_tag);
  EXPECT_EQ(refusal(BOMW_get_window_top_line, ask(BOMW_create_window)), BOMW_no_top_line);
}

TEST_F(StructureFile, WindowsLockWhatTheyChangeAndSaveIt) {
  const tag top = show("500", "A");
  const tag structure = view_revision_of("500", "A");
  const tag line = children(top)[1];
  const auto lock = [&] { return lock_of(structure) == STORE_modify_lock; };
  EXPECT_FALSE(lock());
  EXPECT_EQ(OBJ_set_value_string(line, "bl_sequence_no", "70"), ORK_ok);
  EXPECT_TRUE(lock());
  EXPECT_EQ(value_of(children(show("500", "A"))[1], "bl_sequence_no"), "70") << "in each window";
  EXPECT_EQ(BOMW_close_window(window), ORK_ok);
  EXPECT_TRUE(lock()) << "that window had not taken it";

  EXPECT_EQ(ORK_exit_module(0), ORK_ok);
  log_in_as_designer();
  const tag second = children(show("500", "A"))[1];
  EXPECT_EQ(value_of(second, "bl_sequence_no"), "") << "it was not saved";
  EXPECT_EQ(OBJ_set_value_string(second, "bl_quantity", "9"), ORK_ok);
  EXPECT_EQ(BOMW_close_window(window), ORK_ok);
  EXPECT_FALSE(lock());
  const tag third = children(show("500", "A"))[1];
  EXPECT_EQ(value_of(third, "bl_quantity"), "0.5") << "closing drops what was not saved";
  EXPECT_EQ(OBJ_set_value_string(third, "bl_quantity", "9"), ORK_ok);
  EXPECT_EQ(OBJ_set_value_string(children(children(show("500", "A"))[0])[0], "bl_quantity", "3"),
            ORK_ok);
  EXPECT_EQ(BOMW_save_window(window), ORK_ok);  // the second window has changed another one
  EXPECT_EQ(ORK_exit_module(0), ORK_ok);
  log_in_as_designer();
  const std::vector<tag> lines = children(show("500", "A"));
  EXPECT_EQ(value_of(lines[1], "bl_quantity"), "0.5");
  EXPECT_EQ(value_of(children(lines[0])[0], "bl_quantity"), "3");
}

TEST_F(StructureFile, AWindowMeetsTheLocksAndRightsOfOthers) {
  const tag structure = view_revision_of("500", "A");
  const tag line = children(show("500", "A"))[1];
  test::ChildProcess partner({PARTNER_PROGRAM, "hold", path, std::to_string(structure)});
  ASSERT_EQ(partner.read_line(), "held");
  EXPECT_EQ(OBJ_set_value_string(line, "bl_sequence_no", "70"), STORE_locked_by_other);
  EXPECT_EQ(value_of(line, "bl_sequence_no"), "");
  partner.close_input();
  partner.wait();
  EXPECT_EQ(OBJ_set_value_string(line, "bl_sequence_no", "70"), ORK_ok);
  EXPECT_EQ(BOMW_save_window(window), ORK_ok);
  EXPECT_EQ(BOMW_close_window(window), ORK_ok);
  seed(R"({"access_rules": [
    {"deny": ["WRITE"], "to": "world", "on": {"class": "PSBOMViewRevision"}}]})");
  EXPECT_EQ(OBJ_set_value_string(children(show("500", "A"))[1], "bl_sequence_no", "80"),
            ACCESS_denied);
}

TEST_F(StructureFile, AViewRevisionThatOthersHaveChangedIsFollowed) {
  const tag structure = view_revision_of("500", "A");
  const std::vector<tag> lines = children(show("500", "A"));
  const std::vector<tag> before = occurrences(structure);
  {
    host::Database database(path);
    host::Presence presence(path);
    host::Store other(database, presence);
    other.lock(structure);
    for (const char* values_of_all :
         {"occurrence_numbers", "occurrence_items", "occurrence_revisions", "occurrence_quantities",
          "occurrence_sequences"}) {
      other.erase(structure, values_of_all, 0);
    }
    other.save(structure);
    other.refresh(structure, false);
  }
  ASSERT_EQ(OBJ_lock(structure), ORK_ok);
  EXPECT_THAT(occurrences(structure), ElementsAre(before[1], before[2]));
  EXPECT_EQ(refusal(OBJ_get_value_string, lines[0], "bl_quantity"), STORE_deleted_tag);
  EXPECT_EQ(value_of(lines[1], "bl_quantity"), "0.5");
}

TEST_F(StructureSite, PackedLinesCountAsOne) {
  log_in();
  const tag top = show("000100", "B");
  const std::vector<tag> lines = children(top);
  EXPECT_EQ(BOMW_line_pack(top), ORK_ok);
  EXPECT_EQ(BOMW_line_pack(lines[1]), ORK_ok);
  EXPECT_THAT(children(top), ElementsAre(lines[1]));
  EXPECT_EQ(value_of(lines[1], "bl_quantity"), "2");
  EXPECT_EQ(BOMW_line_pack(lines[0]), ORK_ok) << "it is hidden";
  EXPECT_THAT(children(top), ElementsAre(lines[1]));
  EXPECT_EQ(OBJ_set_value_string(lines[1], "bl_quantity", "5"), BOMW_not_settable);
  EXPECT_EQ(OBJ_set_value_string(lines[1], "bl_sequence_no", "5"), ORK_ok);
  EXPECT_EQ(value_of(lines[0], "bl_sequence_no"), "5") << "the number goes to all";
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
  EXPECT_EQ(value_of(again, "bl_item_item_id"), "500");
  EXPECT_EQ(refusal(BOMW_line_get_child_lines, again), STRUCT_contains_itself);
  EXPECT_THAT(last_error(), HasSubstr("item 500 is above itself"));
}
