#include "objects_site.h"

namespace {

std::string id_of(tag object) {
  return ask(WSO_get_object_id_string, object);
}

std::vector<std::string> secondaries(tag primary, tag type) {
  std::vector<std::string> ids;
  for (const tag object : list(REL_list_secondary_objects_only, primary, type)) {
    ids.push_back(id_of(object));
  }
  return ids;
}

}  // namespace

TEST_F(DemoSite, ObjectsShowTheIdsThatUsersKnow) {
  log_in();
  EXPECT_EQ(id_of(find("000100")), "000100-Bracket");
  EXPECT_EQ(id_of(find("000100", "A")), "000100/A-Bracket");
  EXPECT_EQ(id_of(find("000100", "B")), "000100/B-Stiff bracket");
  for (const auto& [item, revision] :
       {std::pair{"000100", "C"}, std::pair<const char*, const char*>{"000300", nullptr}}) {
    EXPECT_EQ(ask(ork_host_find_item, item, revision), NULLTAG);
  }
  EXPECT_EQ(refusal(WSO_get_object_id_string, test::user_named("wagner")),
            WSO_not_a_workspace_object);
  EXPECT_EQ(refusal(WSO_get_object_id_string, 4'000'000'000u), STORE_unknown_tag);
  EXPECT_THAT(last_error(), HasSubstr("4000000000"));
  EXPECT_EQ(refusal(WSO_get_object_id_string, NULLTAG), STORE_unknown_tag);
}

TEST_F(DemoSite, SecondaryObjectsComeInTheOrderInWhichTheyWereRelated) {
  log_in();
  const tag pump = find("000200", "A");
  const tag reference = relation_type("VELO_reference");
  EXPECT_THAT(secondaries(pump, NULLTAG),
              ElementsAre("000100/A-Bracket", "drawing", "000100-Bracket"));
  EXPECT_THAT(secondaries(pump, reference), ElementsAre("drawing", "000100-Bracket"));
  EXPECT_THAT(secondaries(find("000100", "B"), NULLTAG), IsEmpty());

  EXPECT_EQ(refusal(REL_list_secondary_objects_only, pump, pump), REL_not_a_relation_type);
  EXPECT_EQ(refusal(REL_list_secondary_objects_only, 1, reference), STORE_unknown_tag)
      << "numbers of classes are no objects";
  EXPECT_EQ(relation_type("VELO_unknown"), NULLTAG);
  EXPECT_EQ(relation_type("Item"), NULLTAG) << "a type, but not of relations";
}

TEST_F(DemoSite, RelationsArePermanentOnceTheyAreSaved) {
  log_in();
  const tag bracket = find("000100", "B");
  const tag pump = find("000200", "A");
  const tag reference = relation_type("VELO_reference");
  const tag relation = ask(REL_create_relation, bracket, pump, reference, NULLTAG);
  const auto refused = [&](tag secondary, tag type) {
    return refusal(REL_create_relation, bracket, secondary, type, NULLTAG);
  };
  EXPECT_THAT(secondaries(bracket, NULLTAG), ElementsAre("000200/A-Pump")) << "for its maker";
  EXPECT_THAT(test::describe("relations"), Not(HasSubstr(R"("revision": "B")")))
      << "for nobody else";
  EXPECT_EQ(refused(pump, reference), REL_exists);
  EXPECT_EQ(REL_save_relation(relation), ORK_ok) << last_error();
  EXPECT_THAT(test::describe("relations"), HasSubstr(R"("revision": "B")"));
  EXPECT_EQ(refused(pump, reference), REL_exists);
  EXPECT_EQ(refused(pump, bracket), REL_not_a_relation_type);
  EXPECT_EQ(refused(4711, reference), STORE_unknown_tag);
  EXPECT_EQ(REL_save_relation(bracket), ORK_invalid_argument);
  EXPECT_EQ(OBJ_lock(relation) | OBJ_delete(relation), ORK_ok) << last_error();
  EXPECT_THAT(secondaries(bracket, NULLTAG), IsEmpty());
  EXPECT_TRUE(is_valid(pump)) << "a relation goes alone";
  EXPECT_EQ(OBJ_delete(ask(REL_create_relation, bracket, pump, reference, NULLTAG)), ORK_ok);
}

TEST_F(DemoSite, WhoSavesLastIsKnownBesideTheOwner) {
  log_in_as_designer();
  const tag bracket = find("000100", "B");
  WSO_description_s before{};
  WSO_description_s after{};
  ASSERT_EQ(WSO_describe(bracket, &before) | OBJ_lock(bracket), ORK_ok) << last_error();
  ASSERT_EQ(OBJ_set_value_string(bracket, "object_desc", "by wagner") | OBJ_save(bracket), ORK_ok);
  ASSERT_EQ(OBJ_refresh(bracket, 0) | WSO_describe(bracket, &after), ORK_ok);
  EXPECT_STREQ(after.last_modifying_user, "wagner");
  EXPECT_STREQ(after.owners_name, before.owners_name);
  EXPECT_STRNE(after.owners_name, "wagner");
}

TEST_F(DemoSite, TheEndOfASessionKeepsOrDropsWhatWasNotSaved) {
  for (const logical keep_changes : {logical{0}, logical{1}}) {
    log_in();
    ask(REL_create_relation, find("000100", "B"), find("000200", "A"),
        relation_type("VELO_based_on"), NULLTAG);
    EXPECT_EQ(ORK_exit_module(keep_changes), ORK_ok);
    log_in();
    EXPECT_EQ(secondaries(find("000100", "B"), NULLTAG).size(), keep_changes);
    ORK_exit_module(1);
  }
}
