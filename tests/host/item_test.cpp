// Items, their types, classes, statuses, sites and relations.

#include "ork/item.h"

#include <algorithm>

#include "objects_site.h"
#include "ork/obj.h"
#include "ork/org.h"
#include "ork/rel.h"
#include "ork/rsv.h"
#include "ork/store.h"
#include "ork/type.h"
#include "ork/wso.h"

using test::fields;
using test::last_error;
using test::ObjectsSite;
using test::take;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

tag type_named(const char* name, const char* class_name = nullptr) {
  tag type = NULLTAG;
  TYPE_find_type(name, class_name, &type);
  return type;
}

tag class_named(const char* name) {
  tag class_id = NULLTAG;
  STORE_class_id_of_class(name, &class_id);
  return class_id;
}

std::vector<tag> find_items(const char* name, const char* value) {
  int count = -1;
  tag* items = nullptr;
  EXPECT_EQ(ITEM_find_items_by_key_attributes(1, &name, &value, &count, &items), ORK_ok);
  return take(count, items);
}

std::vector<tag> find_revisions(const char* item_id, const char* revision_id) {
  const char* name = "item_id";
  int count = -1;
  tag* revisions = nullptr;
  EXPECT_EQ(
      ITEM_find_item_revs_by_key_attributes(1, &name, &item_id, revision_id, &count, &revisions),
      ORK_ok);
  return take(count, revisions);
}

std::vector<tag> find_by_name(const char* pattern) {
  int count = -1;
  tag* objects = nullptr;
  EXPECT_EQ(WSO_find(pattern, &count, &objects), ORK_ok) << last_error();
  return take(count, objects);
}

std::vector<tag> relations(tag primary, tag secondary, tag type, tag user_data) {
  int count = -1;
  tag* found = nullptr;
  EXPECT_EQ(REL_list_relations(primary, secondary, type, user_data, &count, &found), ORK_ok);
  return take(count, found);
}

tag relation_type(const char* name) {
  tag type = NULLTAG;
  REL_find_relation_type(name, &type);
  return type;
}

int state_of(tag object) {
  int state = 0;
  EXPECT_EQ(STORE_get_instance_state(object, &state), ORK_ok);
  return state;
}

}  // namespace

TEST_F(ObjectsSite, ItemsAreFoundByTheirKeyAndKnowTheirIds) {
  log_in_as_designer();
  EXPECT_THAT(find_items("item_id", "000300"), ElementsAre(find("000300")));
  EXPECT_THAT(find_items("item_id", "000999"), IsEmpty());
  EXPECT_THAT(find_revisions("000100", "B"), ElementsAre(find("000100", "B")));
  EXPECT_THAT(find_revisions("000100", "Z"), IsEmpty());
  EXPECT_THAT(find_revisions("000999", "A"), IsEmpty());
  int count = -1;
  tag* items = nullptr;
  const char* names[] = {"item_id", "object_name"};
  const char* values[] = {"000100", "Bracket"};
  EXPECT_EQ(ITEM_find_items_by_key_attributes(2, names, values, &count, &items),
            ITEM_unknown_attribute);
  EXPECT_EQ(last_error(), "Items have no such key attribute: object_name");
  EXPECT_EQ(count, 0);
  EXPECT_EQ(ITEM_find_items_by_key_attributes(0, names, values, &count, &items),
            ORK_invalid_argument);

  const tag revision = find("000100", "B");
  tag item = NULLTAG;
  char id[ITEM_id_size + 1] = "x";
  EXPECT_EQ(ITEM_get_item_of_rev(revision, &item), ORK_ok);
  EXPECT_EQ(item, find("000100"));
  EXPECT_EQ(ITEM_get_id(item, id), ORK_ok);
  EXPECT_STREQ(id, "000100");
  EXPECT_EQ(ITEM_get_rev_id(revision, id), ORK_ok);
  EXPECT_STREQ(id, "B");
  EXPECT_EQ(ITEM_get_id(revision, id), ITEM_not_an_item);
  EXPECT_STREQ(id, "");
  EXPECT_EQ(ITEM_get_rev_id(item, id), ITEM_not_a_revision);
  EXPECT_EQ(ITEM_get_item_of_rev(item, &item), ITEM_not_a_revision);
  EXPECT_EQ(ITEM_get_item_of_rev(NULLTAG, &item), STORE_unknown_tag);
}

TEST_F(ObjectsSite, NewItemsAreTheirMakersUntilTheyAreSaved) {
  log_in_as_designer();
  tag item = NULLTAG;
  tag revision = NULLTAG;
  ASSERT_EQ(ITEM_create_item("000900", "Cover", "Turned", "A", &item, &revision), ORK_ok);
  EXPECT_EQ(state_of(item), STORE_instance_new);
  EXPECT_THAT(find_items("item_id", "000900"), IsEmpty());
  tag origin = NULLTAG;
  const tag based_on = relation_type("VELO_based_on");
  ASSERT_EQ(REL_create_relation(item, find("000100"), based_on, NULLTAG, &origin), ORK_ok);
  EXPECT_THAT(relations(item, NULLTAG, based_on, NULLTAG), ElementsAre(origin))
      << "how else to tell a copy from an item made from scratch?";
  EXPECT_EQ(REL_save_relation(origin), STORE_refers_to_unsaved);
  EXPECT_EQ(OBJ_save(revision), STORE_refers_to_unsaved);
  EXPECT_EQ(OBJ_save(item), ORK_ok) << last_error();
  EXPECT_EQ(OBJ_save(revision), ORK_ok) << last_error();
  EXPECT_EQ(REL_save_relation(origin), ORK_ok) << last_error();
  EXPECT_EQ(state_of(item), STORE_instance_loaded);
  EXPECT_THAT(find_items("item_id", "000900"), ElementsAre(item));
  EXPECT_THAT(relations(item, NULLTAG, NULLTAG, NULLTAG), ElementsAre(origin)) << "once";
  tag owner = NULLTAG;
  char user_id[ORG_name_size + 1];
  EXPECT_EQ(OBJ_get_owner(item, &owner) | ORG_get_user_identifier(owner, user_id), ORK_ok);
  EXPECT_STREQ(user_id, "wagner");

  ASSERT_EQ(ITEM_create_rev(item, "A", &revision), ORK_ok);
  EXPECT_EQ(OBJ_save(revision), STORE_key_taken);
  EXPECT_THAT(last_error(), HasSubstr(", A"));
  EXPECT_EQ(OBJ_delete(revision), ORK_ok);
  EXPECT_EQ(ITEM_create_rev(revision, "B", &revision), STORE_unknown_tag);
  EXPECT_EQ(ITEM_create_item("1", "n", "Dataset", "A", &item, &revision), TYPE_unknown_type);
  EXPECT_EQ(ITEM_create_item("1", "n", "", std::string(200, 'r').c_str(), &item, &revision),
            STORE_value_too_long);
  EXPECT_EQ(item, NULLTAG);
  EXPECT_EQ(ITEM_create_item("", "n", "", "A", &item, &revision), ORK_invalid_argument);
  EXPECT_EQ(ORK_exit_module(1), ORK_ok) << "refused ones leave nothing to save";
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
  EXPECT_THAT(find_by_name("50%_shaft"), ElementsAre(find("000300")));
  EXPECT_THAT(find_by_name("50%%shaft"), IsEmpty()) << "only * and ? are wildcards";
  EXPECT_THAT(find_by_name("5*_*t"), ElementsAre(find("000300")));
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
  ASSERT_NE(part, NULLTAG);
  EXPECT_EQ(type_named("Turned", "Machined"), turned);
  EXPECT_EQ(type_named("Turned", "Item"), NULLTAG);
  tag type = 1;
  EXPECT_EQ(TYPE_find_type("Lathe", nullptr, &type), TYPE_unknown_type);
  EXPECT_EQ(last_error(), "There is no such type: Lathe");
  EXPECT_EQ(type, NULLTAG);
  EXPECT_EQ(TYPE_get_object_type(find("000300"), &type), ORK_ok);
  EXPECT_EQ(type, turned);
  char* name = nullptr;
  EXPECT_EQ(TYPE_get_name2(turned, &name), ORK_ok);
  EXPECT_EQ(take(name), "Turned");
  const auto is_type_of = [](tag below, tag above) {
    logical verdict = 2;
    EXPECT_EQ(TYPE_is_type_of(below, above, &verdict), ORK_ok);
    return verdict == 1;
  };
  EXPECT_TRUE(is_type_of(turned, part));
  EXPECT_TRUE(is_type_of(turned, type_named("Item")));
  EXPECT_TRUE(is_type_of(part, part));
  EXPECT_FALSE(is_type_of(part, turned));
  EXPECT_FALSE(is_type_of(turned, type_named("Dataset")));
  logical verdict = 2;
  EXPECT_EQ(TYPE_is_type_of(turned, find("000300"), &verdict), TYPE_not_a_type);
  EXPECT_EQ(TYPE_get_name2(find("000300"), &name), TYPE_not_a_type);
  tag user = NULLTAG;
  ORG_find_user("wagner", &user);
  EXPECT_EQ(TYPE_get_object_type(user, &type), TYPE_unknown_type);
  EXPECT_THAT(last_error(), HasSubstr("class User has none"));

  tag class_id = NULLTAG;
  EXPECT_EQ(STORE_class_of_instance(find("000300"), &class_id), ORK_ok);
  EXPECT_EQ(class_id, class_named("Machined"));
  const auto descends = [](const char* above, const char* below) {
    logical answer = 2;
    EXPECT_EQ(STORE_is_descendant(class_named(above), class_named(below), &answer), ORK_ok);
    return answer == 1;
  };
  EXPECT_TRUE(descends("WorkspaceObject", "Machined"));
  EXPECT_FALSE(descends("Machined", "Item"));
  EXPECT_FALSE(descends("Item", "Item"));
  EXPECT_EQ(STORE_class_id_of_class("Lathe", &class_id), STORE_unknown_class);
  EXPECT_EQ(STORE_is_descendant(class_named("Item"), find("000300"), &verdict),
            STORE_unknown_class);
}

TEST_F(ObjectsSite, ClassesListTheirOwnAttributesUpToTheRoot) {
  log_in_as_designer();
  std::vector<std::size_t> own_counts;
  std::string applications;
  std::vector<int> descriptors;
  for (tag class_id = class_named("Machined"); class_id != NULLTAG;) {
    char* application = nullptr;
    int descriptor = -1;
    int count = -1;
    tag* found = nullptr;
    ASSERT_EQ(STORE_describe_class(class_id, 0, nullptr, &application, &descriptor, &count, &found),
              ORK_ok);
    own_counts.push_back(take(count, found).size());
    applications += take(application) + " ";
    descriptors.push_back(descriptor);
    ASSERT_EQ(STORE_superclasses_of_class(class_id, &count, &found), ORK_ok);
    const std::vector<tag> parents = take(count, found);
    class_id = parents.empty() ? NULLTAG : parents.front();
  }
  ASSERT_EQ(own_counts.size(), 4u) << "Machined, Item, WorkspaceObject, Object";
  EXPECT_EQ(own_counts[0], 2u);
  EXPECT_GT(own_counts[2], 5u);
  EXPECT_EQ(applications, "SITE ORK ORK ORK ");
  EXPECT_THAT(descriptors, ElementsAre(0, 0, 1, 1));
}

TEST_F(ObjectsSite, RelationsAreListedFromBothEndsWithAllOfTheirParts) {
  log_in_as_designer();
  const tag pump = find("000200", "A");
  const tag bracket = find("000100", "A");
  const tag reference = relation_type("VELO_reference");
  const tag based_on = relation_type("VELO_based_on");
  tag kept = NULLTAG;
  ASSERT_EQ(REL_create_relation(bracket, bracket, reference, find("000300"), &kept), ORK_ok);
  ASSERT_EQ(REL_save_relation(kept), ORK_ok) << last_error();

  int count = -1;
  REL_record_s* found = nullptr;
  ASSERT_EQ(REL_list_primary_objects(bracket, based_on, &count, &found), ORK_ok);
  const std::vector<REL_record_s> primaries = take(count, found);
  ASSERT_EQ(primaries.size(), 1u);
  EXPECT_EQ(primaries[0].primary, pump);
  EXPECT_EQ(primaries[0].secondary, bracket);
  EXPECT_EQ(primaries[0].relation_type, based_on);
  EXPECT_EQ(primaries[0].user_data, NULLTAG);
  tag type = NULLTAG;
  EXPECT_EQ(TYPE_get_object_type(primaries[0].relation, &type), ORK_ok);
  EXPECT_EQ(type, based_on);

  ASSERT_EQ(REL_list_all_related_objects(bracket, &count, &found), ORK_ok);
  const std::vector<REL_record_s> all = take(count, found);
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
  tag* tags = nullptr;
  EXPECT_EQ(REL_list_relations(bracket, NULLTAG, bracket, NULLTAG, &count, &tags),
            REL_not_a_relation_type);
  EXPECT_EQ(REL_list_relations(bracket, 4'000'000, NULLTAG, NULLTAG, &count, &tags),
            STORE_unknown_tag);
  EXPECT_EQ(REL_list_all_related_objects(NULLTAG, &count, &found), STORE_unknown_tag);
}

TEST_F(ObjectsSite, StatusesComeInTheOrderInWhichTheyWereAttachedAndFreezeTheirObject) {
  log_in_as_designer();
  const auto statuses = [] {
    int count = -1;
    tag* found = nullptr;
    EXPECT_EQ(OBJ_get_value_tags(find("000100", "A"), "release_status_list", &count, &found),
              ORK_ok);
    return take(count, found);
  };
  const auto name_of = [](tag status) {
    char* name = nullptr;
    EXPECT_EQ(OBJ_get_value_string(status, "name", &name), ORK_ok);
    return take(name);
  };
  const auto date_of = [](tag status) {
    date_s date{};
    EXPECT_EQ(OBJ_get_value_date(status, "date_released", &date), ORK_ok);
    return fields(date);
  };
  const std::vector<tag> attached = statuses();
  ASSERT_EQ(attached.size(), 3u);
  EXPECT_EQ(name_of(attached[0]), "Prototype");
  EXPECT_THAT(date_of(attached[0]), ElementsAre(2026, 2, 31, 12, 30, 59));
  EXPECT_EQ(name_of(attached[1]), "Released");
  EXPECT_THAT(date_of(attached[1]), ElementsAre(2025, 0, 2, 0, 0, 0));
  EXPECT_EQ(name_of(attached[2]), "Archived");
  EXPECT_THAT(date_of(attached[2]), ElementsAre(0, 0, 0, 0, 0, 0));
  EXPECT_EQ(RSV_assert_object_modifiable(find("000100", "A")), RSV_not_modifiable);
  EXPECT_EQ(last_error(),
            "The object may not be changed now: 000100/A-Bracket is frozen by its status Archived");

  ORK_exit_module(0);
  ASSERT_EQ(ork_host_seed(R"({"items": [{"id": "000100", "name": "Bracket", "revisions": [
              {"id": "A", "statuses": ["Prototype", "Obsolete"]}]}]})"),
            ORK_ok)
      << last_error();
  log_in_as_designer();
  ASSERT_EQ(statuses().size(), 2u);
  EXPECT_EQ(statuses()[0], attached[0]) << "what stays in its place is kept";
  EXPECT_EQ(name_of(statuses()[1]), "Obsolete");
  logical valid = 1;
  EXPECT_EQ(STORE_is_tag_valid(attached[2], &valid), ORK_ok);
  EXPECT_EQ(valid, 0);
}

TEST_F(ObjectsSite, ReplicasAndCheckOutsAreKnownByTheirSiteAndUser) {
  log_in_as_designer();
  int number = 0;
  tag local = NULLTAG;
  tag foreign = NULLTAG;
  tag site = NULLTAG;
  EXPECT_EQ(STORE_site_id(&number), ORK_ok);
  EXPECT_EQ(number, 100);
  EXPECT_EQ(STORE_lookup_imc(100, &local), ORK_ok);
  EXPECT_EQ(STORE_lookup_imc(200, &foreign), ORK_ok);
  EXPECT_NE(local, foreign);
  EXPECT_EQ(STORE_location_of_instance(find("000100"), &site), ORK_ok);
  EXPECT_EQ(site, local);
  EXPECT_EQ(STORE_location_of_instance(find("000200"), &site), ORK_ok);
  EXPECT_EQ(site, foreign);
  EXPECT_EQ(STORE_lookup_imc(300, &site), ORK_ok);
  EXPECT_EQ(site, NULLTAG);
  char* name = nullptr;
  EXPECT_EQ(OBJ_get_value_string(foreign, "site_name", &name), ORK_ok);
  EXPECT_EQ(take(name), "Pump works");
  EXPECT_EQ(RSV_assert_object_modifiable(find("000200")), RSV_not_modifiable);
  EXPECT_THAT(last_error(), HasSubstr("is a replica of site Pump works"));
  EXPECT_EQ(RSV_assert_object_modifiable(find("000300")), ORK_ok);

  tag user = NULLTAG;
  tag maurer = NULLTAG;
  logical checked_out = 2;
  ORG_find_user("maurer", &maurer);
  EXPECT_EQ(RSV_assert_object_modifiable(find("000100", "B")), ORK_ok);
  EXPECT_EQ(RSV_is_checked_out(find("000100", "B"), &checked_out), ORK_ok);
  EXPECT_EQ(checked_out, 1);
  EXPECT_EQ(RSV_get_checkout_user(find("000100", "B"), &user), ORK_ok);
  EXPECT_EQ(user, maurer);
  date_s since{};
  EXPECT_EQ(OBJ_get_value_date(find("000100", "B"), "checked_out_date", &since), ORK_ok);
  EXPECT_THAT(fields(since), ElementsAre(2026, 3, 1, 0, 0, 0));
  for (const tag object : {find("000100"), maurer}) {
    EXPECT_EQ(RSV_is_checked_out(object, &checked_out), ORK_ok);
    EXPECT_EQ(checked_out, 0);
    EXPECT_EQ(RSV_get_checkout_user(object, &user), ORK_ok);
    EXPECT_EQ(user, NULLTAG);
  }

  ASSERT_EQ(ork_host_seed(R"({"items": [
              {"id": "000100", "name": "Bracket", "revisions": [{"id": "B", "checked_out_by": null}]},
              {"id": "000200", "name": "Pump", "owning_site": 100}]})"),
            ORK_ok)
      << last_error();
  EXPECT_EQ(OBJ_refresh(find("000200"), 0), ORK_ok);
  EXPECT_EQ(RSV_assert_object_modifiable(find("000200")), ORK_ok) << last_error();
  EXPECT_EQ(RSV_is_checked_out(find("000100", "B"), &checked_out), ORK_ok);
  EXPECT_EQ(checked_out, 0);
}

TEST_F(ObjectsSite, NamesAndOwnersAreTextsOfTheirSize) {
  log_in_as_designer();
  char name[WSO_name_size + 1];
  char type[WSO_name_size + 1];
  EXPECT_EQ(WSO_get_name(find("000300"), name), ORK_ok);
  EXPECT_STREQ(name, "50%_Shaft");
  EXPECT_EQ(WSO_get_object_type(find("000300"), type), ORK_ok);
  EXPECT_STREQ(type, "Turned");
  tag owner = NULLTAG;
  tag group = NULLTAG;
  char user_id[ORG_name_size + 1];
  char group_name[ORG_name_size + 1];
  EXPECT_EQ(OBJ_get_owner(find("000400"), &owner) | OBJ_get_group(find("000400"), &group), ORK_ok);
  EXPECT_EQ(ORG_get_user_identifier(owner, user_id), ORK_ok);
  EXPECT_STREQ(user_id, "maurer");
  EXPECT_EQ(ORG_get_group_name(group, group_name), ORK_ok);
  EXPECT_STREQ(group_name, "quality");
  EXPECT_EQ(ORG_get_user_identifier(group, user_id), ORG_not_a_user);
  EXPECT_STREQ(user_id, "");
  EXPECT_EQ(ORG_get_group_name(owner, group_name), ORG_not_a_group);
  EXPECT_EQ(WSO_get_name(owner, name), WSO_not_a_workspace_object);
  EXPECT_EQ(WSO_get_object_type(owner, type), WSO_not_a_workspace_object);

  const std::string longest(WSO_name_size, 'n');
  const tag item = find("000400");
  ASSERT_EQ(OBJ_lock(item), ORK_ok);
  EXPECT_EQ(OBJ_set_value_string(item, "object_name", longest.c_str()), ORK_ok);
  EXPECT_EQ(WSO_get_name(item, name), ORK_ok);
  EXPECT_EQ(name, longest);
}
