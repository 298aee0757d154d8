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
