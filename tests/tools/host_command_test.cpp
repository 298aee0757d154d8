#if !defined(_WIN32)
#include <sys/stat.h>
#endif

#include <memory>

#include "tests/tools/run_program.h"

namespace {

constexpr const char* seed = R"({
  "site": {"password_cost": 1, "name": "Test", "automatic_login": "ada"},
  "groups": ["engineering"], "roles": ["designer"],
  "users": [{"id": "ada", "name": "Ada Example", "password": "ada-secret",
             "memberships": [{"group": "engineering", "role": "designer"}]}],
  "preferences": {"One": "first", "Many": ["a", "b"], "File": {"file": "x.txt"}}})";

class HostCommand : public test::ZolpTest {
 protected:
  test::Run pref(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {"host", "pref", site});
    return run_zolp(arguments);
  }
};

TEST_F(HostCommand, InitSeedAndShow) {
  make_site(seed);
  const test::Run users = run_zolp({"host", "show", site, "users", "--json"});
  ASSERT_EQ(users.json().size(), 1u);
  EXPECT_EQ(users.json()[0]["name"], "Ada Example");
  EXPECT_THAT(users.out, Not(HasSubstr("ada-secret")));

  const std::string more = folder.write("more.json", R"({"groups": ["quality"]})");
  EXPECT_EQ(run_zolp({"host", "seed", site, more, more}).exit_code, 0);
  EXPECT_EQ(run_zolp({"host", "show", site, "groups", "--json"}).json().size(), 2u);

  const std::string wrong = folder.write("wrong.json", "{\"groups\": [\"\"],\n\"roles\": [3]}");
  const test::Run faults = run_zolp({"host", "seed", site, more, wrong, "--dry-run"});
  EXPECT_EQ(faults.exit_code, 1);
  EXPECT_EQ(faults.out, wrong + ":1:13: /groups/0: must not be empty\n" + wrong +
                            ":2:11: /roles/0: expected an object, found number\n");
  EXPECT_THAT(faults.err, HasSubstr("zolp: 2 faults found: correct the seeds"));
  EXPECT_EQ(run_zolp({"host", "init", folder.path("no.db"), "--seed", more, "--dry-run"}).exit_code,
            0);
  EXPECT_FALSE(std::filesystem::exists(folder.path("no.db")));

  const test::Run all = run_zolp({"host", "show"}, {{"ORK_HOST_DB", site}});
  EXPECT_EQ(all.exit_code, 0);
  for (const char* text : {"users (1)", "Ada Example", "quality", "Many", "a, b"}) {
    EXPECT_THAT(all.out, HasSubstr(text));
  }
  const test::Run section = run_zolp({"host", "show", "roles"}, {{"ORK_HOST_DB", site}});
  EXPECT_THAT(section.out, HasSubstr("designer"));
  EXPECT_THAT(section.out, Not(HasSubstr("Ada")));
}

TEST_F(HostCommand, Preferences) {
  make_site(seed);
  EXPECT_EQ(pref({"Many"}).out, "a\nb\n");
  EXPECT_EQ(pref({"File"}).out, folder.path("x.txt") + "\n");
  EXPECT_EQ(pref({"One", "other", "-1", "[a,b]"}).exit_code, 0);
  const nlohmann::json values = {"other", "-1", "[a,b]"};
  EXPECT_EQ(pref({"One", "--json"}).json(), values);
  EXPECT_EQ(run_zolp({"host", "pref", "One", "--json"}, {{"ORK_HOST_DB", site}}).json(), values);
  EXPECT_EQ(pref({"One", "--unset"}).exit_code, 0);
  expect_refusal(pref({"One"}), 1, "preference One is not set");
  expect_refusal(pref({"Many", "c", "--unset"}), 2, "--unset");
  expect_refusal(pref({"Many", "--unsett"}), 2, "--unsett");
  EXPECT_EQ(pref({"Many"}).out, "a\nb\n");

  // A mistyped path is not the name of a preference of the site in the environment.
  expect_refusal(
      run_zolp({"host", "pref", folder.path("sitte.db"), "Many", "x"}, {{"ORK_HOST_DB", site}}), 1,
      "does not exist");
}

#if !defined(_WIN32)
// Arguments on Windows are texts, not bytes.
TEST_F(HostCommand, BytesThatAreNotUtf8MakeValidJson) {
  make_site(seed);
  EXPECT_EQ(pref({"Latin", "Getriebegeh\xE4use"}).exit_code, 0);
  EXPECT_THAT(pref({"Latin", "--json"}).json()[0].get<std::string>(), HasSubstr("Getriebegeh"));
}
#endif

TEST_F(HostCommand, FailuresLeaveNoSite) {
  expect_refusal(run_zolp({"host", "init", site, "--seed", folder.path("none.json")}), 1,
                 "none.json is not there");
  expect_refusal(
      run_zolp({"host", "init", site, "--seed", folder.write("bad.json", R"({"users": 7})")}), 1,
      "/users");
  expect_refusal(run_zolp({"host", "init", folder.path("no/site.db")}), 1, "does not exist");
  EXPECT_THAT(files_in(folder.path("")), ElementsAre("bad.json"));

  // A vault that was left behind goes with another site.
  folder.write("x.txt", "x");
  const std::string with_file = folder.write("file.json", R"({"items": [{"id": "1", "name": "n",
    "revisions": [{"id": "A", "datasets": [{"name": "d", "type": "Text",
      "files": [{"reference": "Text", "path": "x.txt"}]}]}]}]})");
  std::filesystem::create_directory(site + ".vault");
  expect_refusal(run_zolp({"host", "init", site, "--seed", with_file}), 1,
                 "site.db.vault already exists");
  EXPECT_FALSE(folder.has("site.db"));
  EXPECT_THAT(files_in(site + ".vault"), testing::IsEmpty());
  std::filesystem::remove(site + ".vault");

  make_site(seed);
  expect_refusal(run_zolp({"host", "init", site}), 1, "already exists");
  expect_refusal(run_zolp({"host", "seed", site, folder.path("bad.json")}), 1, "/users");
  EXPECT_EQ(pref({"One"}).out, "first\n");
}

TEST_F(HostCommand, InitNeverReplacesAndIsWhole) {
  // Whatever stands at one of the places of a site stays, and nothing else is left.
  for (const char* taken : {"site.db", "site.db.vault"}) {
    const test::TemporaryFolder place;
    std::filesystem::create_directory(place.path(taken));
    expect_refusal(run_zolp({"host", "init", place.path("site.db")}), 1, "already exists");
    EXPECT_THAT(files_in(place.path("")), ElementsAre(taken));
    EXPECT_TRUE(std::filesystem::is_empty(place.path(taken)));
  }

  // Of several at once one makes the site.
  const std::string path = folder.write("seed.json", seed);
  std::vector<std::unique_ptr<test::Process>> at_once;
  for (int i = 0; i < 4; ++i) {
    at_once.push_back(std::make_unique<test::Process>(
        test::Launch{{ZOLP_PROGRAM, "host", "init", site, "--seed", path},
                     test::own_environment(),
                     folder.path("out"),
                     folder.path("err")}));
  }
  std::vector<int> results;
  for (const auto& process : at_once) {
    results.push_back(process->wait());
  }
  EXPECT_THAT(results, testing::UnorderedElementsAre(0, 1, 1, 1)) << folder.read("err");
  EXPECT_THAT(files_in(folder.path("")),
              ElementsAre("err", "out", "seed.json", "site.db", "site.db.vault"));
  EXPECT_EQ(pref({"One"}).out, "first\n");
}

#if !defined(_WIN32)
TEST_F(HostCommand, AFileThatGetsTooLargeIsAFailureWithWords) {
  make_site(seed);
  const test::Run run =
      test::run_program({"/bin/sh", "-c", "ulimit -f 1; exec \"$0\" \"$@\"", ZOLP_PROGRAM, "host",
                         "pref", site, "One", std::string(100'000, 'x')});
  expect_refusal(run, 1, "cannot");
  EXPECT_EQ(pref({"One"}).out, "first\n");
}

TEST_F(HostCommand, OutputGoesToFilesOnlyAndThroughLinks) {
  ASSERT_EQ(run_zolp({"host", "init", site}).exit_code, 0);
  const std::string device = folder.path("device");
  ASSERT_EQ(mkfifo(device.c_str(), 0600), 0);  // stands for /dev/null, which root could lose
  expect_refusal(run_zolp({"host", "export", site, "--out", device}), 1,
                 "is a device, a pipe or the like");
  EXPECT_TRUE(std::filesystem::is_fifo(device));

  const std::string link = folder.path("link");
  std::filesystem::create_symlink("target", link);
  for (const char* when : {"first", "again"}) {
    ASSERT_EQ(run_zolp({"host", "export", site, "--out", link}).exit_code, 0) << when;
    EXPECT_TRUE(std::filesystem::is_symlink(link)) << when;
    EXPECT_EQ(folder.read("target"), "{}\n") << when;
  }
  std::filesystem::create_symlink("circle", folder.path("circle"));
  expect_refusal(run_zolp({"host", "export", site, "--out", folder.path("circle")}), 1,
                 "leads nowhere");
}
#endif

TEST_F(HostCommand, ControlCharactersDoNotReachTheTerminal) {
  make_site(seed);
  const std::string odd =
      "a\x1b[1mb\x7f\xc2\x9b"
      "1mc\xc3\xa9";
  EXPECT_EQ(pref({"One", odd}).exit_code, 0);
  EXPECT_EQ(pref({"One"}).out, "a?[1mb??1mc\xc3\xa9\n");
  const test::Run json = pref({"One", "--json"});
  EXPECT_THAT(json.out, HasSubstr("a\\u001b[1mb\\u007f\\u009b1mc\xc3\xa9"));
  EXPECT_EQ(json.json()[0], odd);
}

TEST_F(HostCommand, OtherFilesAndWrongUsage) {
  const std::string text = folder.write("text.db", std::string(5000, 'x'));
  expect_refusal(run_zolp({"host", "show", text}), 1, "cannot open site");
  EXPECT_EQ(folder.read("text.db"), std::string(5000, 'x'));
  expect_refusal(run_zolp({"host", "show", folder.path("none.db")}), 1, "does not exist");
  EXPECT_FALSE(folder.has("none.db"));

  expect_refusal(run_zolp({"host", "show"}), 2, "ORK_HOST_DB");
  expect_refusal(run_zolp({"host", "show", make_site(seed), "nonsense"}), 2, "nonsense");
  expect_refusal(run_zolp({"host", "init"}), 2, "FILE");
  expect_refusal(run_zolp({"host", "init", ""}), 2, "FILE");
  expect_refusal(run_zolp({"host", "polish"}), 2, "polish");
}

TEST_F(HostCommand, HelpAndVersion) {
  const test::Run version = run_zolp({"--version"});
  EXPECT_EQ(version.exit_code, 0);
  EXPECT_THAT(version.out, testing::MatchesRegex("zolp [0-9]+\\.[0-9]+\\.[0-9]+\n"));
  const std::vector<std::vector<std::string>> commands = {
      {}, {"host"}, {"host", "init"}, {"host", "pref"}, {"clone"}, {"list"}, {"list", "tree"}};
  for (std::vector<std::string> command : commands) {
    command.emplace_back("--help");
    const test::Run help = run_zolp(command);
    EXPECT_EQ(help.exit_code, 0);
    EXPECT_THAT(help.out, HasSubstr("Usage: zolp"));
    EXPECT_EQ(help.err, "");
  }
}

}  // namespace
