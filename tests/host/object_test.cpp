#include "demo_site.h"
#include "ork/org.h"
#include "ork/rel.h"
#include "ork/store.h"
#include "ork/wso.h"

using test::DemoSite;
using test::last_error;
using test::take;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

tag find(const char* item_id, const char* revision_id) {
  tag object = 1;
  EXPECT_EQ(ork_host_find_item(item_id, revision_id, &object), ORK_ok);
  return object;
}

tag relation_type(const char* name) {
  tag type = NULLTAG;
  EXPECT_EQ(REL_find_relation_type(name, &type), ORK_ok);
  return type;
}

std::string id_of(tag object) {
  char* id = nullptr;
  EXPECT_EQ(WSO_get_object_id_string(object, &id), ORK_ok) << last_error();
  return take(id);
}

std::vector<std::string> secondaries(tag primary, tag type) {
  int count = -1;
  tag* objects = nullptr;
  EXPECT_EQ(REL_list_secondary_objects_only(primary, type, &count, &objects), ORK_ok);
  std::vector<std::string> ids;
  for (int i = 0; i < count; ++i) {
    ids.push_back(id_of(objects[i]));
  }
  MEM_free(objects);
  return ids;
}

}  // namespace

TEST_F(DemoSite, ObjectsShowTheIdsThatUsersKnow) {
  log_in();
  EXPECT_EQ(id_of(find("000100", nullptr)), "000100-Bracket");
  EXPECT_EQ(id_of(find("000100", "A")), "000100/A-Bracket");
  EXPECT_EQ(id_of(find("000100", "B")), "000100/B-Stiff bracket");
  EXPECT_EQ(find("000100", "C"), NULLTAG);
  EXPECT_EQ(find("000300", nullptr), NULLTAG);
  EXPECT_EQ(find("000300", "A"), NULLTAG);

  tag user = NULLTAG;
  char* id = nullptr;
  ORG_find_user("wagner", &user);
  EXPECT_EQ(WSO_get_object_id_string(user, &id), WSO_not_a_workspace_object);
  EXPECT_EQ(WSO_get_object_id_string(4'000'000'000u, &id), STORE_unknown_tag);
  EXPECT_THAT(last_error(), HasSubstr("4000000000"));
  EXPECT_EQ(WSO_get_object_id_string(NULLTAG, &id), STORE_unknown_tag);
  EXPECT_EQ(id, nullptr);
}

TEST_F(DemoSite, SecondaryObjectsComeInTheOrderInWhichTheyWereRelated) {
  log_in();
  const tag pump = find("000200", "A");
  const tag reference = relation_type("VELO_reference");
  EXPECT_THAT(secondaries(pump, NULLTAG),
              ElementsAre("000100/A-Bracket", "drawing", "000100-Bracket"));
  EXPECT_THAT(secondaries(pump, reference), ElementsAre("drawing", "000100-Bracket"));
  EXPECT_THAT(secondaries(find("000100", "B"), NULLTAG), IsEmpty());

  int count = -1;
  tag* objects = nullptr;
  EXPECT_EQ(REL_list_secondary_objects_only(pump, pump, &count, &objects), REL_not_a_relation_type);
  EXPECT_EQ(REL_list_secondary_objects_only(1, reference, &count, &objects), STORE_unknown_tag)
      << "numbers of classes are no objects";
  EXPECT_EQ(count, 0);
  EXPECT_EQ(objects, nullptr);
  EXPECT_EQ(relation_type("VELO_unknown"), NULLTAG);
  EXPECT_EQ(relation_type("Item"), NULLTAG) << "a type, but not of relations";
}

TEST_F(DemoSite, RelationsArePermanentOnceTheyAreSaved) {
  log_in();
  const tag bracket = find("000100", "B");
  const tag pump = find("000200", "A");
  const tag reference = relation_type("VELO_reference");
  tag relation = NULLTAG;
  ASSERT_EQ(REL_create_relation(bracket, pump, reference, NULLTAG, &relation), ORK_ok);
  EXPECT_THAT(secondaries(bracket, NULLTAG), ElementsAre("000200/A-Pump")) << "for its maker";
  EXPECT_THAT(test::describe("relations"), Not(HasSubstr("000100/B"))) << "for nobody else";
  tag twin = 1;
  EXPECT_EQ(REL_create_relation(bracket, pump, reference, NULLTAG, &twin), REL_exists);
  EXPECT_EQ(REL_save_relation(relation), ORK_ok) << last_error();
  EXPECT_THAT(test::describe("relations"), HasSubstr("000100/B"));
  EXPECT_EQ(REL_create_relation(bracket, pump, reference, NULLTAG, &twin), REL_exists);
  EXPECT_EQ(twin, NULLTAG);
  EXPECT_EQ(REL_create_relation(bracket, pump, bracket, NULLTAG, &twin), REL_not_a_relation_type);
  EXPECT_EQ(REL_create_relation(bracket, 4711, reference, NULLTAG, &twin), STORE_unknown_tag);
  EXPECT_EQ(REL_save_relation(bracket), ORK_invalid_argument);
}

TEST_F(DemoSite, SeedingIsRefusedWhileChangesAreUnsaved) {
  log_in();
  tag relation = NULLTAG;
  REL_create_relation(find("000100", "B"), find("000200", "A"), relation_type("VELO_based_on"),
                      NULLTAG, &relation);
  EXPECT_EQ(ork_host_seed(R"({"groups": ["new"]})"), ORK_invalid_argument);
  EXPECT_THAT(last_error(), HasSubstr("unsaved changes"));
  EXPECT_EQ(REL_save_relation(relation), ORK_ok);
  EXPECT_EQ(ork_host_seed(R"({"groups": ["new"]})"), ORK_ok);
}

TEST_F(DemoSite, TheEndOfASessionKeepsOrDropsWhatWasNotSaved) {
  for (const logical keep_changes : {logical{0}, logical{1}}) {
    log_in();
    tag relation = NULLTAG;
    ASSERT_EQ(REL_create_relation(find("000100", "B"), find("000200", "A"),
                                  relation_type("VELO_based_on"), NULLTAG, &relation),
              ORK_ok);
    EXPECT_EQ(ORK_exit_module(keep_changes), ORK_ok);
    log_in();
    EXPECT_EQ(secondaries(find("000100", "B"), NULLTAG).size(), keep_changes);
    ORK_exit_module(1);
  }
}
