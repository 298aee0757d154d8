#include "objects_site.h"
#include "ork/item.h"

namespace {

class AccessTest : public ObjectsSite {
 protected:
  static void rules(const std::string& list) { seed("{\"access_rules\": [" + list + "]}"); }
  static bool may(const char* privilege, tag object) {
    return ask(ACCESS_check_privilege, object, privilege);
  }
  static bool may(const std::vector<tag>& accessors, const char* privilege, tag object) {
    return ask(ACCESS_check_accessors_privilege, static_cast<int>(accessors.size()),
               accessors.data(), object, privilege);
  }
  /** Whether wagner (group design, role Designer) may write two items under a list of rules. */
  static std::vector<bool> may_write(const std::string& list) {
    rules(list);
    return {may("WRITE", find("000100")), may("WRITE", find("000300"))};
  }
  static tag group(const char* name) { return ask(ORG_find_group, name); }
};

}  // namespace

TEST_F(AccessTest, TheFirstRuleThatIsAboutUserObjectAndPrivilegeDecides) {
  log_in_as_designer();
  const std::string deny_all = R"({"deny": ["WRITE"], "to": "world", "on": {"class": "Object"}})";
  const auto grant = [&](const std::string& to, const std::string& on) {
    return may_write(R"({"grant": ["WRITE"], "to": )" + to + R"(, "on": )" + on + "}, " + deny_all);
  };
  const std::string all = R"({"class": "Object"})";
  EXPECT_THAT(may_write(""), ElementsAre(true, true)) << "where no rule decides";
  EXPECT_THAT(may_write(deny_all), ElementsAre(false, false));
  EXPECT_TRUE(may("READ", find("000100"))) << "another privilege";
  EXPECT_THAT(may_write(deny_all + R"(, {"grant": ["WRITE"], "to": "world", "on": )" + all + "}"),
              ElementsAre(false, false))
      << "the order counts";

  EXPECT_THAT(grant("\"owner\"", all), ElementsAre(false, true));
  EXPECT_THAT(grant("\"owning_group\"", all), ElementsAre(true, true));
  EXPECT_THAT(grant(R"({"user": "wagner"})", all), ElementsAre(true, true));
  EXPECT_THAT(grant(R"({"user": "build"})", all), ElementsAre(false, false));
  EXPECT_THAT(grant(R"({"group": "design"})", all), ElementsAre(true, true));
  EXPECT_THAT(grant(R"({"group": "dba"})", all), ElementsAre(false, false));
  EXPECT_THAT(grant(R"({"role": "Designer"})", all), ElementsAre(true, true));
  EXPECT_THAT(grant(R"({"role": "Administrator"})", all), ElementsAre(false, false));

  EXPECT_THAT(grant("\"world\"", R"({"class": "Machined"})"), ElementsAre(false, true));
  EXPECT_THAT(grant("\"world\"", R"({"class": "Item"})"), ElementsAre(true, true));
  EXPECT_THAT(grant("\"world\"", R"({"type": "Part"})"), ElementsAre(false, true))
      << "with its subtypes";
  EXPECT_THAT(grant("\"world\"", R"({"item": "000100"})"), ElementsAre(true, false));
  EXPECT_FALSE(may("WRITE", find("000100", "A"))) << "a rule for the item alone";
  EXPECT_THAT(grant("\"world\"", R"({"item": "000100", "revision": "A"})"),
              ElementsAre(false, false));
  EXPECT_TRUE(may("WRITE", find("000100", "A")));
}

TEST_F(AccessTest, ChangesAreRefusedWithUserObjectAndRule) {
  rules(R"({"grant": ["WRITE"], "to": "owner", "on": {"type": "Item"}},
           {"deny": ["WRITE", "DELETE"], "to": "world", "on": {"type": "Item"}},
           {"deny": ["READ"], "to": "world", "on": {"item": "000200"}})");
  log_in_as_designer();
  const tag bracket = find("000100");
  EXPECT_EQ(OBJ_lock(bracket), ACCESS_denied);
  EXPECT_EQ(
      last_error(),
      "Access is denied: user wagner has no WRITE access to 000100-Bracket, by access rule 2");
  EXPECT_EQ(OBJ_refresh(bracket, 1), ACCESS_denied);
  EXPECT_EQ(OBJ_save(bracket), ACCESS_denied);
  EXPECT_EQ(OBJ_delete(bracket), ACCESS_denied);
  EXPECT_THAT(last_error(), HasSubstr("no DELETE access"));
  EXPECT_EQ(test::lock_of(bracket), STORE_no_lock);
  EXPECT_EQ(OBJ_refresh(bracket, 0), ORK_ok) << "no change";

  EXPECT_EQ(OBJ_set_value_string(bracket, "object_name", "x"), STORE_not_locked);
  EXPECT_THAT(last_error(),
              HasSubstr("wagner has no WRITE access to 000100-Bracket, by access rule 2"))
      << "also for those that ask for the change alone";

  const tag own = find("000300");
  EXPECT_EQ(OBJ_lock(own), ORK_ok) << last_error();
  EXPECT_EQ(OBJ_set_value_string(own, "object_name", "Axle"), ORK_ok);
  EXPECT_EQ(OBJ_save(own), ORK_ok) << last_error();
  EXPECT_EQ(OBJ_delete(own), ACCESS_denied);

  EXPECT_EQ(OBJ_load(find("000200")), ACCESS_denied);
  EXPECT_EQ(refusal(OBJ_get_value_string, find("000200"), "object_name"), ACCESS_denied);
}

TEST_F(AccessTest, ALogoutSavesNothingThatIsDenied) {
  rules(R"({"deny": ["WRITE"], "to": "world", "on": {"type": "Item"}})");
  log_in_as_designer();
  tag item = NULLTAG;
  tag revision = NULLTAG;
  ASSERT_EQ(ITEM_create_item("000900", "New", nullptr, "A", &item, &revision), ORK_ok);
  EXPECT_EQ(OBJ_save(item), ACCESS_denied);
  EXPECT_EQ(ORK_exit_module(1), ACCESS_denied);
  EXPECT_THAT(last_error(), HasSubstr("unsaved changes were lost"));
  EXPECT_EQ(ask(ork_host_find_item, "000900", static_cast<const char*>(nullptr)), NULLTAG);
}

TEST_F(AccessTest, OnlyAdministratorsChangeWhoMayDoWhatUnlessARuleNamesThat) {
  rules(R"({"grant": ["WRITE", "DELETE"], "to": "world", "on": {"class": "Object"}})");
  log_in_as_designer();
  const tag self = user_named("wagner");
  const tag administered[] = {self, group("design"), ask(ORG_get_current_role),
                              test::type_named("Part"), test::relation_type("VELO_reference")};
  for (const tag object : administered) {
    EXPECT_EQ(OBJ_lock(object), ACCESS_denied);
    EXPECT_THAT(last_error(), HasSubstr("only administrators change objects of class "));
    EXPECT_EQ(OBJ_refresh(object, 1), ACCESS_denied);
    EXPECT_EQ(STORE_refresh_instances(1, &object, NULLTAG, STORE_modify_lock), ACCESS_denied);
    EXPECT_EQ(OBJ_delete(object), ACCESS_denied);
    EXPECT_FALSE(may("WRITE", object));
    EXPECT_TRUE(may("READ", object));
    EXPECT_TRUE(may({user_named("build")}, "WRITE", object)) << "an administrator";
  }
  EXPECT_EQ(OBJ_lock(find("000100")), ORK_ok) << last_error();

  rules(R"({"grant": ["WRITE"], "to": {"group": "design"}, "on": {"class": "Group"}})");
  EXPECT_EQ(OBJ_lock(group("quality")), ORK_ok) << last_error();
  EXPECT_EQ(OBJ_lock(self), ACCESS_denied);
  ASSERT_EQ(ORK_exit_module(0), ORK_ok);
  log_in();
  EXPECT_EQ(OBJ_lock(self), ORK_ok) << last_error();
}

TEST_F(AccessTest, BypassIsForTheSessionsUserAlone) {
  rules(R"({"deny": ["WRITE"], "to": "world", "on": {"class": "Object"}})");
  log_in();
  const tag item = find("000100");
  EXPECT_EQ(OBJ_lock(item), ACCESS_denied) << "rules hold for administrators too";
  ASSERT_EQ(ORK_set_bypass(1), ORK_ok);
  EXPECT_TRUE(may("WRITE", item));
  EXPECT_TRUE(may({user_named("build"), group("dba")}, "WRITE", item));
  EXPECT_FALSE(may({user_named("wagner"), group("design")}, "WRITE", item));
  EXPECT_EQ(OBJ_lock(item), ORK_ok);
  ASSERT_EQ(ORK_set_bypass(0), ORK_ok);
  EXPECT_EQ(OBJ_save(item), ACCESS_denied) << "also for what was locked with it";
  ASSERT_EQ(ORK_set_bypass(1) | ORK_exit_module(0), ORK_ok);
  log_in();
  EXPECT_FALSE(ask(ORK_get_bypass)) << "bypass belongs to a session";
  ORK_exit_module(0);
  log_in_as_designer();
  EXPECT_EQ(ORK_set_bypass(1), ORK_bypass_not_allowed);
  EXPECT_EQ(ORK_set_bypass(0), ORK_ok);
}

TEST_F(AccessTest, AccessorsCountTogetherAndInPlaceOfTheSession) {
  rules(R"({"grant": ["WRITE"], "to": {"group": "quality"}, "on": {"class": "Object"}},
           {"grant": ["WRITE"], "to": "owner", "on": {"class": "Object"}},
           {"deny": ["WRITE"], "to": "world", "on": {"class": "Object"}})");
  log_in_as("maurer", "open");
  const tag item = find("000300");
  EXPECT_TRUE(may("WRITE", item));
  EXPECT_FALSE(may({user_named("maurer")}, "WRITE", item)) << "without the group";
  EXPECT_TRUE(may({user_named("wagner"), group("design")}, "WRITE", item)) << "the owner";
  EXPECT_TRUE(may({user_named("build"), group("quality")}, "WRITE", item));
  EXPECT_FALSE(may({user_named("build"), group("design")}, "WRITE", item));

  const tag accessors[] = {user_named("wagner"), item};
  for (const int count : {2, 0}) {
    EXPECT_EQ(refusal(ACCESS_check_accessors_privilege, count, accessors, item, "WRITE"),
              ORK_invalid_argument);
  }
  EXPECT_EQ(refusal(ACCESS_check_privilege, item, "PAINT"), ACCESS_unknown_privilege);
  EXPECT_EQ(last_error(), "There is no such privilege: PAINT");
}

TEST_F(AccessTest, ASeedReplacesTheRulesAlsoUnderASession) {
  const char* two = R"({"deny": ["WRITE"], "to": "world", "on": {"item": "000100"}},
                       {"deny": ["READ", "WRITE"], "to": {"user": "wagner"}, "on": {"type": "Part"}})";
  rules(two);
  log_in_as_designer();
  EXPECT_FALSE(may("WRITE", find("000100")));
  EXPECT_FALSE(may("READ", find("000300")));
  const std::string before = test::describe("access_rules");
  EXPECT_THAT(before,
              testing::AllOf(HasSubstr(R"("user": "wagner")"), HasSubstr(R"("type": "Part")"),
                             HasSubstr(R"("item": "000100")")));
  rules(two);
  EXPECT_EQ(test::describe("access_rules"), before);
  rules(R"({"deny": ["DELETE"], "to": "owner", "on": {"class": "Item"}})");
  EXPECT_TRUE(may("WRITE", find("000100")));
  EXPECT_TRUE(may("READ", find("000300")));
  EXPECT_FALSE(may("DELETE", find("000300")));
  EXPECT_EQ(ork_host_seed(R"({"groups": ["unrelated"]})"), ORK_ok);
  EXPECT_FALSE(may("DELETE", find("000300"))) << "a seed without rules leaves them";
}
