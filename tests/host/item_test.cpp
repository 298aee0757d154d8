// Items, their types, classes, statuses, sites and relations.

#include "objects_site.h"

namespace {

tag class_named(const char* name) {
  return ask(STORE_class_id_of_class, name);
}

std::vector<tag> find_items(const char* id) {
  const char* name = "item_id";
  return list(ITEM_find_items_by_key_attributes, 1, &name, &id);
}

std::vector<tag> find_revisions(const char* item_id, const char* revision_id) {
  const char* name = "item_id";
  return list(ITEM_find_item_revs_by_key_attributes, 1, &name, &item_id, revision_id);
}

std::vector<tag> find_by_name(const char* pattern) {
  return list(WSO_find, pattern);
}

std::vector<tag> relations(tag primary, tag secondary, tag type, tag user_data) {
  return list(REL_list_relations, primary, secondary, type, user_data);
}

int state_of(tag object) {
  return ask(STORE_get_instance_state, object);
}

}  // namespace

TEST_F(ObjectsSite, ItemsAreFoundByTheirKeyAndKnowTheirIds) {
  log_in_as_designer();
  EXPECT_THAT(find_items("000300"), ElementsAre(find("000300")));
  EXPECT_THAT(find_items("000999"), IsEmpty());
  EXPECT_THAT(find_revisions("000100", "B"), ElementsAre(find("000100", "B")));
  EXPECT_THAT(find_revisions("000100", "Z"), IsEmpty());
  EXPECT_THAT(find_revisions("000999", "A"), IsEmpty());
  const char* names[] = {"item_id", "object_name"};
  const char* values[] = {"000100", "Bracket"};
  EXPECT_EQ(refusal(ITEM_find_items_by_key_attributes, 2, names, values), ITEM_unknown_attribute);
  EXPECT_EQ(last_error(), "Items have no such key attribute: object_name");
  EXPECT_EQ(refusal(ITEM_find_items_by_key_attributes, 0, names, values), ORK_invalid_argument);

  const tag revision = find("000100", "B");
  const tag item = ask(ITEM_get_item_of_rev, revision);
  EXPECT_EQ(item, find("000100"));
  EXPECT_EQ(ask(ITEM_get_id, item), "000100");
  EXPECT_EQ(ask(ITEM_get_rev_id, revision), "B");
  EXPECT_EQ(refusal(ITEM_get_id, revision), ITEM_not_an_item);
  EXPECT_EQ(refusal(ITEM_get_rev_id, item), ITEM_not_a_revision);
}

TEST_F(ObjectsSite, NewItemsAreTheirMakersUntilTheyAreSaved) {
  log_in_as_designer();
  tag item = NULLTAG;
  tag revision = NULLTAG;
  ASSERT_EQ(ITEM_create_item("000900", "Cover", "Turned", "A", &item, &revision), ORK_ok);
  EXPECT_EQ(state_of(item), STORE_instance_new);
  EXPECT_THAT(find_items("000900"), IsEmpty());
  const tag based_on = relation_type("VELO_based_on");
  const tag origin = ask(REL_create_relation, item, find("000100"), based_on, NULLTAG);
  EXPECT_THAT(relations(item, NULLTAG, based_on, NULLTAG), ElementsAre(origin))
      << "how else to tell a copy from an item made from scratch?";
  EXPECT_EQ(REL_save_relation(origin), STORE_refers_to_unsaved);
  EXPECT_EQ(OBJ_save(revision), STORE_refers_to_unsaved);
  EXPECT_EQ(OBJ_save(item) | OBJ_save(revision) | REL_save_relation(origin), ORK_ok)
      << last_error();
  EXPECT_EQ(state_of(item), STORE_instance_loaded);
  EXPECT_THAT(find_items("000900"), ElementsAre(item));
  EXPECT_THAT(relations(item, NULLTAG, NULLTAG, NULLTAG), ElementsAre(origin)) << "once";
  EXPECT_EQ(ask(OBJ_get_owner, item), user_named("wagner"));

  revision = ask(ITEM_create_rev, item, "A");
  EXPECT_EQ(OBJ_save(revision), STORE_key_taken);
  EXPECT_THAT(last_error(), HasSubstr(", A"));
  EXPECT_EQ(OBJ_delete(revision), ORK_ok);
  EXPECT_EQ(refusal(ITEM_create_rev, revision, "B"), STORE_unknown_tag);
  EXPECT_EQ(refusal(ITEM_create_item, "1", "n", "Dataset", "A"), TYPE_unknown_type);
  EXPECT_EQ(refusal(ITEM_create_item, "1", "n", "", std::string(200, 'r').c_str()),
            STORE_value_too_long);
  EXPECT_EQ(refusal(ITEM_create_item, "", "n", "", "A"), ORK_invalid_argument);
  EXPECT_EQ(ORK_exit_module(1), ORK_ok);
  log_in_as_designer();
  EXPECT_THAT(find_items("1"), IsEmpty()) << "refused ones leave nothing to save";
}

TEST_F(ObjectsSite, ObjectsAreFoundByNameOrIdWithWildcards) {
  log_in_as_designer();
  const tag bracket = find("000100");
  const tag bracket_a = find("000100", "A");
  const tag bracket_b = find("000100", "B");
  EXPECT_THAT(find_by_name("000100*"), ElementsAre(bracket, bracket_a, bracket_b));
  EXPECT_THAT(find_by_name("*bracket"), ElementsAre(bracket, bracket_a, bracket_b));
  EXPECT_THAT(find_by_name("BRACKET"), ElementsAre(bracket, bracket_a));
  EXPECT_THAT(find_by_name("000100/?-*"), ElementsAre(bracket_a, bracket_b));
  EXPECT_THAT(find_by_name("5*_*t"), ElementsAre(find("000300")));
  EXPECT_THAT(find_by_name("50%%shaft"), IsEmpty()) << "only * and ? are wildcards";
  EXPECT_THAT(find_by_name("\\*"), IsEmpty());
  EXPECT_THAT(find_by_name(""), IsEmpty());
  EXPECT_THAT(find_by_name("Released"), IsEmpty()) << "statuses are seen with their objects";
  EXPECT_EQ(state_of(find("000400")), STORE_instance_not_loaded) << "nothing is loaded for it";
  EXPECT_GT(find_by_name("*").size(), 5u);
}

TEST_F(ObjectsSite, TypesAndClassesDescendFromOneAnother) {
  log_in_as_designer();
  const tag part = type_named("Part");
  const tag turned = type_named("Turned");
  EXPECT_EQ(type_named("Turned", "Machined"), turned);
  EXPECT_EQ(refusal(TYPE_find_type, "Turned", "Item"), TYPE_unknown_type);
  EXPECT_EQ(refusal(TYPE_find_type, "Lathe", nullptr), TYPE_unknown_type);
  EXPECT_EQ(last_error(), "There is no such type: Lathe");
  EXPECT_EQ(ask(TYPE_get_object_type, find("000300")), turned);
  EXPECT_EQ(ask(TYPE_get_name2, turned), "Turned");
  EXPECT_TRUE(ask(TYPE_is_type_of, turned, part));
  EXPECT_TRUE(ask(TYPE_is_type_of, turned, type_named("Item")));
  EXPECT_TRUE(ask(TYPE_is_type_of, part, part));
  EXPECT_FALSE(ask(TYPE_is_type_of, part, turned));
  EXPECT_EQ(refusal(TYPE_is_type_of, turned, find("000300")), TYPE_not_a_type);
  EXPECT_EQ(refusal(TYPE_get_name2, find("000300")), TYPE_not_a_type);
  EXPECT_EQ(refusal(TYPE_get_object_type, user_named("wagner")), TYPE_unknown_type);
  EXPECT_THAT(last_error(), HasSubstr("class User has none"));

  const tag machined = class_named("Machined");
  EXPECT_EQ(ask(STORE_class_of_instance, find("000300")), machined);
  EXPECT_TRUE(ask(STORE_is_descendant, class_named("WorkspaceObject"), machined));
  EXPECT_FALSE(ask(STORE_is_descendant, machined, class_named("Item")));
  EXPECT_FALSE(ask(STORE_is_descendant, machined, machined));
  EXPECT_EQ(refusal(STORE_class_id_of_class, "Lathe"), STORE_unknown_class);
  EXPECT_EQ(refusal(STORE_is_descendant, machined, find("000300")), STORE_unknown_class);
}

TEST_F(ObjectsSite, RelationsAreListedFromBothEndsWithAllOfTheirParts) {
  log_in_as_designer();
  const tag pump = find("000200", "A");
  const tag bracket = find("000100", "A");
  const tag reference = relation_type("VELO_reference");
  const tag based_on = relation_type("VELO_based_on");
  const tag kept = ask(REL_create_relation, bracket, bracket, reference, find("000300"));
  ASSERT_EQ(REL_save_relation(kept), ORK_ok) << last_error();

  const auto primaries = list(REL_list_primary_objects, bracket, based_on);
  ASSERT_EQ(primaries.size(), 1u);
  EXPECT_EQ(primaries[0].primary, pump);
  EXPECT_EQ(primaries[0].secondary, bracket);
  EXPECT_EQ(primaries[0].relation_type, based_on);
  EXPECT_EQ(primaries[0].user_data, NULLTAG);
  EXPECT_EQ(ask(TYPE_get_object_type, primaries[0].relation), based_on);

  const auto all = list(REL_list_all_related_objects, bracket);
  ASSERT_EQ(all.size(), 4u) << "two datasets, the pump, and itself once";
  EXPECT_TRUE(std::is_sorted(all.begin(), all.end(), [](const auto& left, const auto& right) {
    return left.relation < right.relation;
  }));
  EXPECT_EQ(all.back().relation, kept);
  EXPECT_EQ(all.back().user_data, find("000300"));

  EXPECT_THAT(relations(NULLTAG, NULLTAG, NULLTAG, find("000300")), ElementsAre(kept));
  EXPECT_THAT(relations(bracket, bracket, NULLTAG, NULLTAG), ElementsAre(kept));
  EXPECT_THAT(relations(bracket, bracket, based_on, NULLTAG), IsEmpty());
  EXPECT_EQ(relations(NULLTAG, NULLTAG, reference, NULLTAG).size(), 5u);
  EXPECT_EQ(relations(NULLTAG, NULLTAG, NULLTAG, NULLTAG).size(), 6u);
  EXPECT_EQ(refusal(REL_list_relations, bracket, NULLTAG, bracket, NULLTAG),
            REL_not_a_relation_type);
  EXPECT_EQ(refusal(REL_list_relations, bracket, 4'000'000, NULLTAG, NULLTAG), STORE_unknown_tag);
  EXPECT_EQ(refusal(REL_list_all_related_objects, NULLTAG), STORE_unknown_tag);
}

TEST_F(ObjectsSite, StatusesComeInTheOrderInWhichTheyWereAttachedAndFreezeTheirObject) {
  log_in_as_designer();
  const auto statuses = [] {
    return list(OBJ_get_value_tags, find("000100", "A"), "release_status_list");
  };
  const auto date_of = [](tag status) {
    return fields(ask(OBJ_get_value_date, status, "date_released"));
  };
  const std::vector<tag> attached = statuses();
  ASSERT_EQ(attached.size(), 3u);
  EXPECT_EQ(value_of(attached[0], "name"), "Prototype");
  EXPECT_THAT(date_of(attached[0]), ElementsAre(2026, 2, 31, 12, 30, 59));
  EXPECT_EQ(value_of(attached[1], "name"), "Released");
  EXPECT_THAT(date_of(attached[1]), ElementsAre(2025, 0, 2, 0, 0, 0));
  EXPECT_EQ(value_of(attached[2], "name"), "Archived");
  EXPECT_THAT(date_of(attached[2]), ElementsAre(0, 0, 0, 0, 0, 0));
  EXPECT_EQ(RSV_assert_object_modifiable(find("000100", "A")), RSV_not_modifiable);
  EXPECT_EQ(last_error(),
            "The object may not be changed now: 000100/A-Bracket is frozen by its status Archived");

  ORK_exit_module(0);
  seed(R"({"items": [{"id": "000100", "name": "Bracket", "revisions": [
              {"id": "A", "statuses": ["Prototype", "Obsolete"]}]}]})");
  log_in_as_designer();
  ASSERT_EQ(statuses().size(), 2u);
  EXPECT_EQ(statuses()[0], attached[0]) << "what stays in its place is kept";
  EXPECT_EQ(value_of(statuses()[1], "name"), "Obsolete");
  EXPECT_FALSE(test::is_valid(attached[2]));
}

TEST_F(ObjectsSite, ReplicasAndCheckOutsAreKnownByTheirSiteAndUser) {
  log_in_as_designer();
  EXPECT_EQ(ask(STORE_site_id), 100);
  const tag foreign = ask(STORE_lookup_imc, 200);
  EXPECT_EQ(ask(STORE_location_of_instance, find("000100")), ask(STORE_lookup_imc, 100));
  EXPECT_EQ(ask(STORE_location_of_instance, find("000200")), foreign);
  EXPECT_EQ(ask(STORE_lookup_imc, 300), NULLTAG);
  EXPECT_EQ(value_of(foreign, "site_name"), "Pump works");
  EXPECT_EQ(RSV_assert_object_modifiable(find("000200")), RSV_not_modifiable);
  EXPECT_THAT(last_error(), HasSubstr("is a replica of site Pump works"));
  EXPECT_EQ(RSV_assert_object_modifiable(find("000300")), ORK_ok);

  const tag held = find("000100", "B");
  const tag maurer = user_named("maurer");
  EXPECT_EQ(RSV_assert_object_modifiable(held), ORK_ok);
  EXPECT_TRUE(ask(RSV_is_checked_out, held));
  EXPECT_EQ(ask(RSV_get_checkout_user, held), maurer);
  EXPECT_THAT(fields(ask(OBJ_get_value_date, held, "checked_out_date")),
              ElementsAre(2026, 3, 1, 0, 0, 0));
  for (const tag object : {find("000100"), maurer}) {
    EXPECT_FALSE(ask(RSV_is_checked_out, object));
    EXPECT_EQ(ask(RSV_get_checkout_user, object), NULLTAG);
  }

  seed(R"({"items": [
              {"id": "000100", "name": "Bracket", "revisions": [{"id": "B", "checked_out_by": null}]},
              {"id": "000200", "name": "Pump", "owning_site": 100}]})");
  EXPECT_EQ(OBJ_refresh(find("000200"), 0), ORK_ok);
  EXPECT_EQ(RSV_assert_object_modifiable(find("000200")), ORK_ok) << last_error();
  EXPECT_FALSE(ask(RSV_is_checked_out, held));
}

TEST_F(ObjectsSite, NamesAndOwnersAreTextsOfTheirSize) {
  log_in_as_designer();
  const tag item = find("000400");
  const tag owner = ask(OBJ_get_owner, item);
  const tag group = ask(OBJ_get_group, item);
  EXPECT_EQ(ask(ORG_get_user_identifier, owner), "maurer");
  EXPECT_EQ(ask(ORG_get_group_name, group), "quality");
  EXPECT_EQ(ask(WSO_get_object_type, find("000300")), "Turned");
  EXPECT_EQ(refusal(ORG_get_user_identifier, group), ORG_not_a_user);
  EXPECT_EQ(refusal(ORG_get_group_name, owner), ORG_not_a_group);
  EXPECT_EQ(refusal(WSO_get_name, owner), WSO_not_a_workspace_object);

  const std::string longest(WSO_name_size, 'n');
  ASSERT_EQ(OBJ_lock(item), ORK_ok);
  EXPECT_EQ(OBJ_set_value_string(item, "object_name", longest.c_str()), ORK_ok);
  char name[WSO_name_size + 1];
  EXPECT_EQ(WSO_get_name(item, name), ORK_ok);
  EXPECT_EQ(name, longest);
}
