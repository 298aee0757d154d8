#include <filesystem>

#include "demo_site.h"
#include "ork/pref.h"
#include "tests/support/temporary_folder.h"

using test::DemoSite;
using test::describe;
using test::last_error;
using testing::HasSubstr;
using testing::Not;

TEST_F(DemoSite, SeedingChangesWhatExists) {
  seed(R"({
    "site": {"automatic_login": "wagner"},
    "groups": [{"name": "design", "description": "Design office"}],
    "users": [{"id": "wagner", "name": "Petra Wagner-Beck", "password": "new one"}],
    "items": [{"id": "000100", "name": "Holder", "owner": "wagner",
               "revisions": [{"id": "C"}]}]})");
  EXPECT_EQ(ORK_init_module("wagner", "let me in", nullptr), ORK_wrong_password);
  EXPECT_EQ(ORK_init_module("wagner", "new one", nullptr), ORK_ok) << "still a member";
  EXPECT_THAT(describe("users"), HasSubstr("Wagner-Beck"));
  EXPECT_THAT(describe("groups"), HasSubstr("Design office"));
  EXPECT_THAT(describe("objects"),
              testing::AllOf(HasSubstr("000100-Holder"), HasSubstr("000100/A-Bracket"),
                             HasSubstr("000100/C-Holder")));
}

TEST_F(DemoSite, ARefusedSeedNamesThePlaceAndChangesNothing) {
  const std::pair<const char*, const char*> cases[] = {
      {R"({"groups": ["x"], )", "line 1"},
      {R"({"groups": [{"name": "x", "name": "y"}]})", "/groups/0/name: is given twice"},
      {R"({"preferences": {"a": 1e400}})", "number overflow"},
      {R"([])", "the seed: expected an object, found array"},
      {R"({"group": []})", "/group: is not known here"},
      {R"({"groups": {}})", "/groups: expected an array, found object"},
      {R"({"groups": ["new", 3]})", "/groups/1: expected an object"},
      {R"({"groups": [""]})", "/groups/0: must not be empty"},
      {R"({"groups": ["a\u0000b"]})", "/groups/0: must not contain a NUL"},
      {R"({"groups": ["a group's name of more than 32 bytes"]})", "/groups/0: The text is longer"},
      {R"({"users": [{"id": "x", "administrator": "yes"}]})",
       "/users/0/administrator: expected true or false, found string"},
      {R"({"users": [{"id": "wagner", "password": ""}]})", "/users/0/password: must not be empty"},
      {R"({"users": [{"id": "x", "memberships": [{"group": "desing", "role": "Designer"}]}]})",
       "/users/0/memberships/0/group: there is no group \"desing\""},
      {R"({"users": [{"id": "wagner", "default_group": "dba"}]})",
       "/users/0/default_group: the user is not a member"},
      {R"({"groups": ["new"], "site": {"automatic_login": "nobody"}})",
       "/site/automatic_login: there is no user \"nobody\""},
      {R"({"classes": [{"name": "C", "parent": "Itme"}]})", "/classes/0/parent: there is no class"},
      {R"({"classes": [{"name": "Item", "parent": "Object"}]})", "/classes/0/parent: the class"},
      {R"({"classes": [{"name": "C", "parent": "Item", "attributes": [
          {"name": "a", "kind": "number"}]}]})",
       "/classes/0/attributes/0/kind: expected text, integer"},
      {R"({"classes": [{"name": "C", "parent": "Item", "attributes": [
          {"name": "a", "kind": "text", "length": 0}]}]})",
       "/classes/0/attributes/0/length: expected a number from 1"},
      {R"({"types": [{"name": "T", "parent": "Item"}, {"name": "Item", "parent": "T"}]})",
       "/types/1/name: the type exists"},
      {R"({"types": [{"name": "T", "parent": "Item", "class": "Dataset"}]})",
       "/types/0/class: expected a class at or below Item"},
      {R"({"preferences": {"a/b": 3}})", "/preferences/a~1b: expected a string"},
      {R"({"preferences": {"Separator": "x", "b": {"path": "x"}}})", "/preferences/b/path: is not"},
      {R"({"items": [{"id": "1", "name": "n", "type": "Dataset"}]})",
       "/items/0/type: expected a type of class Item"},
      {R"({"items": [{"id": "000100", "name": "n", "revisions": [{"id": "A",
          "datasets": [{"name": "d", "relation": "VELO_x"}]}]}]})",
       "/items/0/revisions/0/datasets/0/relation: there is no relation type \"VELO_x\""},
      {R"({"site": {"id": 0}})", "/site/id: expected a number from 1"},
      {R"({"site": {"password_cost": 21}})", "/site/password_cost: expected a number from 1 to 20"},
      {R"({"site": {"id": 5}, "sites": [{"id": 5, "name": "n"}]})",
       "/sites/0/id: is the number of the local site"},
      {R"({"items": [{"id": "000100", "name": "n", "owning_site": 7}]})",
       "/items/0/owning_site: there is no site"},
      {R"({"items": [{"id": "000100", "name": "n", "statuses": [{"name": "R",
          "date": "2026-02-29"}]}]})",
       "/items/0/statuses/0/date: expected a date"},
      {R"({"items": [{"id": "000100", "name": "n", "checked_out_since": "2026-01-01"}]})",
       "/items/0/checked_out_since: the object is not checked out"},
      {R"({"access_rules": [{"to": "world", "on": {"class": "Item"}}]})",
       "/access_rules/0: expected either \"grant\" or \"deny\""},
      {R"({"access_rules": [{"grant": ["PAINT"], "to": "world", "on": {"class": "Item"}}]})",
       "/access_rules/0/grant/0: there is no privilege \"PAINT\""},
      {R"({"access_rules": [{"grant": [], "to": "world", "on": {"class": "Item"}}]})",
       "/access_rules/0/grant: expected at least one"},
      {R"({"access_rules": [{"deny": ["READ"], "to": "everybody", "on": {"class": "Item"}}]})",
       "/access_rules/0/to: expected owner"},
      {R"({"access_rules": [{"deny": ["READ"], "to": {}, "on": {"class": "Item"}}]})",
       "/access_rules/0/to: expected one member"},
      {R"({"access_rules": [{"deny": ["READ"], "to": "world", "on": {"class": "Itme"}}]})",
       "/access_rules/0/on/class: there is no class"},
      {R"({"relations": [{"type": "VELO_reference", "primary": {"item": "000100"},
          "secondary": {"item": "000100", "revision": "Z"}}]})",
       "/relations/0/secondary/revision: the item has no revision \"Z\""},
  };
  const std::string before = describe(nullptr);
  for (const auto& [seed, text] : cases) {
    EXPECT_EQ(ork_host_seed(seed), ORK_invalid_argument) << seed;
    EXPECT_THAT(last_error(), HasSubstr(text));
    EXPECT_EQ(describe(nullptr), before) << seed;
  }
  EXPECT_EQ(ork_host_seed(nullptr), ORK_invalid_argument);
  const std::string huge(5'000'000, 'x');
  for (const std::string& seed :
       {R"({")" + huge + R"(": 1})", R"({"groups": [{"name": ")" + huge + R"("}]})",
        R"({"groups": ")" + huge,
        R"({"users": [{"id": "a", "memberships": [{"group": ")" + huge + R"(", "role": ""}]}]})"}) {
    EXPECT_EQ(ork_host_seed(seed.c_str()), ORK_invalid_argument);
    EXPECT_LT(last_error().size(), 1200U);
  }
  EXPECT_EQ(ORK_init_module("wagner", "let me in", nullptr), ORK_ok);
}

TEST(Seed, FilesOfPreferencesAreRelativeToTheSeedFile) {
  const test::TemporaryFolder folder;
  const auto as_json = [](const std::filesystem::path& path) {
    std::string text;
    for (const char letter : path.string()) {
      text += letter == '\\' ? "\\\\" : std::string(1, letter);
    }
    return '"' + text + '"';
  };
  const std::filesystem::path absolute = std::filesystem::temp_directory_path() / "a";
  std::filesystem::create_directory(folder.path("seeds"));
  const std::string path = folder.write("seeds/site.json", R"({"preferences": {
    "Template": {"file": "../templates/head.txt"},
    "Several": [{"file": )" + as_json(absolute) + R"(}, "b"]}})");
  ASSERT_EQ(ork_host_open(":memory:"), ORK_ok);
  ASSERT_EQ(ork_host_seed_file(path.c_str()), ORK_ok) << last_error();
  EXPECT_THAT(describe("preferences"), HasSubstr(as_json(folder.path("templates/head.txt"))));
  EXPECT_THAT(describe("preferences"), HasSubstr(as_json(absolute)));
  EXPECT_EQ(ork_host_seed_file(folder.path("none.json").c_str()), ORK_invalid_argument);
  EXPECT_THAT(last_error(), HasSubstr("none.json"));
  ork_host_close();
}

TEST(Seed, PasswordsAreNowhereInTheFiles) {
  const test::TemporaryFolder folder;
  const auto files = [&] { return folder.read("site.db") + folder.read("site.db-wal"); };
  ASSERT_EQ(ork_host_open(folder.path("site.db").c_str()), ORK_ok);
  ASSERT_EQ(ork_host_seed(test::demo_seed), ORK_ok);
  EXPECT_THAT(files(), testing::AllOf(HasSubstr("Petra Wagner"), HasSubstr("scrypt$2$1$"),
                                      Not(HasSubstr("let me in"))));
  EXPECT_THAT(describe(nullptr), Not(HasSubstr("scrypt")));

  // A hash keeps its cost until its password is seeded again.
  const auto log_in = [](const char* user, const char* password) {
    return ORK_init_module(user, password, nullptr) | ORK_exit_module(0);
  };
  ASSERT_EQ(ork_host_seed(R"({"site": {"password_cost": 12}})"), ORK_ok);
  EXPECT_EQ(log_in("wagner", "let me in"), ORK_ok);
  EXPECT_THAT(files(), Not(HasSubstr("scrypt$4096$1$")));
  ASSERT_EQ(ork_host_seed(R"({"users": [{"id": "wagner", "password": "let me in"}]})"), ORK_ok);
  EXPECT_THAT(files(), HasSubstr("scrypt$4096$1$"));
  EXPECT_EQ(log_in("wagner", "let me in"), ORK_ok);
  EXPECT_EQ(log_in("build", "at night"), ORK_ok);
  ork_host_close();
}
