#include "demo_site.h"

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
  expect_refused("refused.txt", ork_host_seed);
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

TEST_F(DemoSite, ACheckTellsAllFaultsOfASeedAndTheirPlaces) {
  const std::string before = describe(nullptr);
  std::string told;
  const auto see = [](const char* pointer, int line, int column, const char* why, void* context) {
    *static_cast<std::string*>(context) += std::to_string(line) + ":" + std::to_string(column) +
                                           " " + pointer + " " + std::string(why).substr(0, 25) +
                                           "\n";
  };
  EXPECT_EQ(
      ork_host_check_seed(R"({"users": [{"id": "x", "x": 1, "memberships": [{"group": "no"}]}],
 "items": [{"id": "1", "name": "a", "owner": "nobody", "revisions": [{"id": "A", "name": 1}]},
  {"id": "2", "name": "b", "type": "no", "na\u006de": "c"}, {"id": "3", "name": "c"}],
 "relations": [{"primary": {"item": "2"}, "type": "VELO_reference", "secondary": {"item": "3"}}]})",
                          see, &told),
      ORK_invalid_argument);
  EXPECT_EQ(told,
            "3:44 /items/1/name is given twice\n"
            "1:28 /users/0/x is not known here\n"
            "1:57 /users/0/memberships/0/group there is no group \"no\"\n"
            "2:46 /items/0/owner there is no user \"nobody\"\n"
            "2:90 /items/0/revisions/0/name expected a string, found \n"
            "3:36 /items/1/type there is no type \"no\"\n");
  EXPECT_EQ(describe(nullptr), before);
  EXPECT_EQ(ork_host_check_seed(R"({"groups": ["right"]})", see, &told), ORK_ok);
  EXPECT_EQ(describe(nullptr), before);

  const auto stop = [](const char*, size_t done, size_t, void*) -> logical { return done < 2; };
  ork_host_set_seed_progress(stop, nullptr);
  EXPECT_EQ(ork_host_seed(R"({"items": [{"id": "1", "name": "a"}, {"id": "2", "name": "b"}]})"),
            ORK_interrupted);
  ork_host_set_seed_progress(nullptr, nullptr);
  EXPECT_EQ(describe(nullptr), before);
}

TEST_F(DemoSite, TheOrderOfStructuresDoesNotMatter) {
  const auto of = [](const char* item, const char* part) {
    return std::string(R"({"item": ")") + item + R"(", "revision": "A", "lines": [{"item": ")" +
           part + R"("}]})";
  };
  const auto take = [](const std::string& structures) {
    return ork_host_seed((R"({"structures": [)" + structures + "]}").c_str());
  };
  seed(R"({"items": [{"id": "a", "name": "a", "revisions": [{"id": "A"}]},
                     {"id": "b", "name": "b", "revisions": [{"id": "A"}]},
                     {"id": "c", "name": "c", "revisions": [{"id": "A"}]}]})");
  EXPECT_EQ(take(of("a", "b") + "," + of("b", "c")), ORK_ok) << last_error();
  EXPECT_EQ(take(of("c", "a")), ORK_invalid_argument);
  EXPECT_THAT(last_error(), HasSubstr("/structures/0/lines: A structure must not contain itself"));
  // What turns a structure round is right when all of it is there.
  EXPECT_EQ(take(of("c", "b") + "," + of("b", "a") + "," + of("a", "000100")), ORK_ok)
      << last_error();
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
