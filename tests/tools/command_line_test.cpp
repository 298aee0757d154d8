// What holds for all commands: words that are none, "-" for files, logins, failures as JSON.

#include "support/release_list.h"
#include "tests/tools/run_program.h"

namespace {

class CommandLine : public test::ZolpTest {
 protected:
  /** Runs a shell's command line, in which $zolp is the program; the site is its own. */
  test::Run shell(const std::string& line) const {
    return test::run_program({"/bin/sh", "-c", line},
                             {{"zolp", ZOLP_PROGRAM}, {"ORK_HOST_DB", site}, {"LC_ALL", "C"}});
  }

  static constexpr const char* seed = R"({
    "site": {"password_cost": 1, "automatic_login": "batch"}, "groups": ["all"], "roles": ["any"],
    "users": [{"id": "batch", "memberships": [{"group": "all", "role": "any"}]},
              {"id": "ada", "password": "s3cret", "memberships": [{"group": "all", "role": "any"}]}],
    "items": [{"id": "1", "name": "Press", "owner": "ada", "revisions": [{"id": "A"}]}],
    "access_rules": [{"grant": ["READ"], "to": "owner", "on": {"class": "Item"}},
                     {"deny": ["READ"], "to": "world", "on": {"class": "Item"}}]})";
};

TEST_F(CommandLine, WordsThatAreNoneAreNamedWithTheNearest) {
  const struct {
    std::vector<std::string> words;
    const char* told;
  } cases[] = {
      {{"lst"}, "\"lst\" is no command of \"zolp\": did you mean \"zolp list\"? see \"zolp --help"},
      {{"list", "chekc"}, "did you mean \"zolp list check\"? see \"zolp list --help\""},
      {{"resequence"}, "did you mean \"zolp bom resequence\"?"},
      {{"host", "polish"}, "\"polish\" is no command of \"zolp host\": its commands are init, "},
      {{"job"}, "\"zolp job\" needs a command: one of start, list, show"},
      {{}, "\"zolp\" needs a command: one of host, clone"},
      {{"bom", "tree", "--dept", "3", "1/A"}, "no option --dept: did you mean \"--depth\"? see"},
      {{"show", "1", "-x"}, "\"zolp show\" has no option -x: see \"zolp show --help\""},
      {{"list", "tree", "a", "b"}, "not expected: b: see \"zolp list tree --help\""},
      {{"show"}, "ID is required: see \"zolp show --help\""}};
  for (const auto& [words, told] : cases) {
    expect_refusal(run_zolp(words), 2, told);
  }
  EXPECT_EQ(run_zolp({"-V"}).out, run_zolp({"--version"}).out);
  for (const char* group : {"host", "list", "job", "handler", "bom", "dataset", "form"}) {
    EXPECT_THAT(run_zolp({group, "--help"}).out, HasSubstr("\n  zolp " + std::string(group)));
  }
}

TEST_F(CommandLine, SitesThatAreNoneAreToldApart) {
  const std::string empty = folder.write("empty.db", "");
  const std::pair<std::string, const char*> cases[] = {
      {folder.path(""), "is a folder"},
      {empty, "is empty, and no site"},
      {folder.write("text.db", "no site at all"), "file is not a database"},
      {folder.path("none.db"), "does not exist"}};
  for (const auto& [path, told] : cases) {
    expect_refusal(run_zolp({"find", "*", "--host", path}), 1, told);
    expect_refusal(run_zolp({"host", "pref", path, "One", "x"}), 1, told);
  }
  EXPECT_EQ(folder.read("empty.db"), "");
}

TEST_F(CommandLine, PasswordsNeedNotStandOnTheCommandLine) {
  make_site(seed);
  const std::string file = folder.write("password", "s3cret\nnot this");
  const std::string wrong = folder.write("wrong", "S3cret");
  const std::vector<std::string> show = {"show", "1", "-u", "ada", "-g", "all", "--host", site};
  const auto with = [&](std::vector<std::string> more, const test::Environment& settings = {}) {
    more.insert(more.begin(), show.begin(), show.end());
    return run_zolp(more, settings);
  };
  EXPECT_THAT(with({"-p", "s3cret"}).out, HasSubstr("Press"));
  EXPECT_THAT(with({"--password-file", file}).out, HasSubstr("Press"));
  EXPECT_THAT(with({}, {{"ORK_PASSWORD", "s3cret"}}).out, HasSubstr("Press"));
  EXPECT_THAT(with({"-p=s3cret"}, {{"ORK_PASSWORD", "no"}}).out, HasSubstr("Press"));
  expect_refusal(with({"--password-file", wrong}), 1, "login failed");
  expect_refusal(with({"--password-file", folder.path("none")}), 1, "cannot be read");
  expect_refusal(with({}), 2, "-p, --password-file or ORK_PASSWORD");
  expect_refusal(run_zolp({"show", "1", "-u=ada", "-p=s3cret", "--host", site}), 2, "-u, -g and");
  // The variable alone is no login.
  expect_refusal(run_zolp({"show", "1", "--host", site}, {{"ORK_PASSWORD", "s3cret"}}), 1,
                 "READ access");
}

TEST_F(CommandLine, FailuresAreJsonWhereResultsAre) {
  make_site(seed);
  const auto error = [](const test::Run& run) {
    EXPECT_EQ(run.out, "");
    return nlohmann::json::parse(run.err)["error"];
  };
  const auto denied = error(on_site({"show", "1", "--json"}));
  EXPECT_THAT(denied["message"].get<std::string>(), HasSubstr("READ access"));
  EXPECT_EQ(denied["advice"], "log in as somebody who may");
  EXPECT_EQ(denied["exit_code"], 1);
  ASSERT_GE(denied["stack"].size(), 1U);
  EXPECT_EQ(denied["stack"][0]["code"], denied["code"]);
  EXPECT_EQ(denied["stack"][0]["severity"], "error");
  const auto wrong = error(on_site({"show", "--json"}));
  EXPECT_EQ(wrong["exit_code"], 2);
  EXPECT_EQ(wrong["code"], nullptr);
  EXPECT_EQ(wrong["message"], "ID is required");
}

TEST_F(CommandLine, ListsAreCheckedWhole) {
  const std::string good = header_row() + item_row(1, "TOP") + item_row(2, "PART");
  EXPECT_EQ(run_zolp({"list", "check", folder.write("good.txt", good)}).out,
            "3 lines, 2 items, 0 datasets: a clone run takes the list\n");
  std::string moved = item_row(2, "M\xc3\xbcller");
  moved.insert(20, " ");
  std::string tab = item_row(2, "TAB");
  tab[30] = '\t';
  const std::string bad =
      folder.write("bad.txt", "\xEF\xBB\xBF" + header_row() + item_row(1, "TOP") + moved + tab +
                                  row("x", "A/A") + "2     ;short/A\n" + row("2", "no separator") +
                                  item_row(2, "B\xe4r"));
  const test::Run text = run_zolp({"list", "check", bad});
  EXPECT_EQ(text.exit_code, 1);
  EXPECT_THAT(text.err, HasSubstr("is wrong (4 errors, 3 warnings): correct its lines"));
  for (const char* line :
       {":1: \"Level\", the line begins with a byte order mark: ",
        ":3: \"Datasets\", warning: the line has no \";\" at character 40, where this column",
        ":4: \"Item Revision\", warning: the line has a tab at character 31: write blanks",
        ":5: \"Level\", the line has the level \"x\": levels are whole numbers from 1",
        ":6: \"New Name\", the line ends before the column \"New Name\"",
        ":7: \"Item Revision\", the line has no \"/\" in \"Item Revision\"",
        ":8: \"Item Revision\", warning: the line is not in UTF-8 at character 9"}) {
    EXPECT_THAT(text.out, HasSubstr(bad + line));
  }
  const auto json =
      nlohmann::json::parse(run_zolp({"list", "check", bad, "--json", "--encoding", "latin1"}).out);
  EXPECT_EQ(json["is_taken"], false);
  EXPECT_EQ(json["problems"].size(), 6U);
  EXPECT_EQ(json["problems"][0]["column"], "Level");
}

TEST_F(CommandLine, TextsOfOtherEncodingsAreShownAsText) {
  const std::string list =
      folder.write("list.txt", header_row() + row("1", "B\xe4r/A", "", "", "N/B",
                                                  "Gr\xfc\xdf"
                                                  "e"));
  EXPECT_THAT(run_zolp({"list", "tree", list}).out, HasSubstr("B\xef\xbf\xbdr/A"));
  EXPECT_THAT(run_zolp({"list", "tree", list, "--encoding", "latin1"}).out,
              HasSubstr("B\xc3\xa4r/A  CLONE -> N/B  Gr\xc3\xbc\xc3\x9f"
                        "e"));
  expect_refusal(run_zolp({"list", "tree", list, "--encoding", "ebcdic"}), 2, "--encoding");
}

#if !defined(_WIN32)

TEST_F(CommandLine, ADashIsStandardInputOrOutput) {
  make_site(seed);
  const std::string list = header_row() + item_row(1, "TOP") + "Where used:\n-----------\n";
  folder.write("list.txt", list);
  const std::string in_folder = "cd '" + folder.path("") + "' && ";
  EXPECT_EQ(shell(in_folder + "$zolp list clean - - <list.txt").out,
            header_row() + item_row(1, "TOP"));
  EXPECT_EQ(shell(in_folder + "$zolp list clean list.txt - | $zolp list tree -").out,
            "TOP/A  CLONE -> N-TOP/B  New TOP\n");
  EXPECT_THAT(shell("echo x | $zolp list tree -").err,
              HasSubstr("standard input has no item line"));
  EXPECT_EQ(shell("echo '{\"groups\": [7]}' | $zolp host seed $ORK_HOST_DB - --dry-run").out,
            "-:1:13: /groups/0: expected an object, found number\n");
  expect_refusal(shell("printf '{}\\0' | $zolp host seed $ORK_HOST_DB -"), 1, "null byte");
  EXPECT_EQ(shell("echo '{\"groups\": [\"more\"]}' | $zolp host seed $ORK_HOST_DB -").exit_code, 0);
  EXPECT_THAT(on_site({"host", "show", site, "groups"}).out, HasSubstr("more"));
  EXPECT_EQ(shell("printf 'a\\0b' | $zolp dataset import - --name note.txt --item 1 -u ada -g all "
                  "-p s3cret")
                .err,
            "");
  EXPECT_EQ(shell("$zolp dataset export note.txt --out -").out, std::string("a\0b", 3));
  expect_refusal(shell("echo x | $zolp dataset import - --item 1"), 2,
                 "standard input has no name");
}

TEST_F(CommandLine, FullDisksAndClosedOutputsAreFailures) {
  make_site(seed);
  for (const char* command :
       {"--help", "--version", "host show $ORK_HOST_DB", "completion bash", "manual"}) {
    const test::Run run = shell("$zolp " + std::string(command) + " >/dev/full");
    EXPECT_EQ(run.exit_code, 1) << command;
    EXPECT_EQ(run.err, "zolp: cannot write to standard output: check where it goes\n");
  }
}

#endif

}  // namespace
