#include <sys/stat.h>

#include "support/release_list.h"
#include "tests/tools/run_program.h"
#include "tools/error.h"
#include "tools/output_files.h"

namespace {

const std::string seed = test::file_text("tools/seeds/clone.json");

class CloneCommand : public test::ZolpTest {
 protected:
  CloneCommand() {
    folder.write("header.txt", "%%DEFAULT_CONTAINER%% %%OUTPUTASSY_ID%%\n");
    folder.write("clone.txt", "C %%ITEM_ID%% %%NEW_ID%%\n");
    folder.write("retain.txt", "R %%ITEM_ID%%\n");
    folder.write("pre.txt", "before\n");
    folder.write("post.txt", "after\n");
    make_site(seed);
    std::filesystem::create_directory(out);
  }

  test::Run clone(const std::string& list, const std::vector<std::string>& more = {}) {
    std::vector<std::string> arguments = {"clone", list, "--host", site, "--out", out};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return run_zolp(arguments);
  }
  void set_preference(const std::string& name, const std::string& value) {
    EXPECT_EQ(run_zolp({"host", "pref", site, name, value}).exit_code, 0);
  }
  std::string write_good_list() {
    return folder.write("list.txt", header_row() + item_row(1, "TOP") +
                                        row("", "", "a", "QNMASTER") + row("", "", "b", "QNPART") +
                                        item_row(2, "KEPT", "Released") + item_row(2, "NEW"));
  }

  const std::string out = folder.path("out");
};

const std::vector<std::string> login = {"-u=ada", "-p=ada-secret", "-g=engineering"};

TEST_F(CloneCommand, WritesLogBatchAndEntries) {
  const test::Run run = clone(write_good_list(), login);
  EXPECT_EQ(run.exit_code, 0);
  EXPECT_EQ(run.err, "");
  EXPECT_THAT(run.out, StartsWith("3 items (2 CLONE, 1 RETAIN), 2 datasets, deepest level 2\n"));
  EXPECT_THAT(files_in(out), ElementsAre("clone.bat", "clone_entries.txt", "clone_log.txt"));
  EXPECT_EQ(folder.read("out/clone_log.txt"), "ada:Newstuff N-TOP\n");
  EXPECT_EQ(folder.read("out/clone.bat"),
            "before\ncloner -pim=yes -o=CLONE -l=clone_log.txt 1>clone.out 2>clone.log\nafter\n");
  EXPECT_EQ(folder.read("out/clone_entries.txt"), "C TOP N-TOP\nR KEPT\nC NEW N-NEW\n");
}

TEST_F(CloneCommand, LoginInBothFormsOrAutomatic) {
  const std::string list = write_good_list();
  EXPECT_EQ(clone(list, {"-u", "ada", "-p", "ada-secret", "-g", "engineering"}).exit_code, 0);
  EXPECT_THAT(folder.read("out/clone_log.txt"), StartsWith("ada:"));
  const test::Run json = clone(list, {"--json"});
  EXPECT_THAT(folder.read("out/clone_log.txt"), StartsWith("batch:"));
  EXPECT_EQ(json.json()["clone"], 2);
  EXPECT_EQ(json.json()["retain"], 1);
  EXPECT_EQ(json.json()["datasets"], 2);
  EXPECT_EQ(json.json()["deepest_level"], 2);
  EXPECT_EQ(json.json()["files"].size(), 3u);

  expect_refusal(clone(list, {"-u=ada", "-p=wrong", "-g=engineering"}), 1, "password");
  expect_refusal(clone(list, {"-u=eve", "-p=x", "-g=engineering"}), 1, "eve");
  // Given in part, the platform would take the automatic login instead.
  expect_refusal(clone(list, {"-u=ada", "-p=ada-secret"}), 2, "login is not complete");
  expect_refusal(clone(list, {"-u", "ada", "-p", "-x", "-g", "engineering"}), 1, "password");
  EXPECT_EQ(clone(list, {"-u=ada", "-p=ada-secret", "-g="}).exit_code, 0);  // the default group
  EXPECT_THAT(folder.read("out/clone_log.txt"), StartsWith("ada:"));
  expect_refusal(run_zolp({"clone", list}), 2, "ORK_HOST_DB");
  expect_refusal(run_zolp({"clone"}), 2, "LIST");
}

TEST_F(CloneCommand, VersionDecidesOnTheBatchFile) {
  const std::string list = write_good_list();
  set_preference("ZOLP_qnversion", "v15");
  std::filesystem::remove(folder.path("pre.txt"));  // not needed for this version
  EXPECT_EQ(clone(list).exit_code, 0);
  EXPECT_THAT(folder.read("out/clone.bat"), StartsWith("cloner -pim=yes -i=@DB/TOP/A "));
  EXPECT_THAT(folder.read("out/clone.bat"), Not(HasSubstr("\n")));
  set_preference("ZOLP_qnversion", "v14");
  expect_refusal(clone(list), 1, "v14");
}

TEST_F(CloneCommand, BadListsAreRefusedWithTheirLine) {
  const std::string head = header_row() + item_row(1, "TOP");
  const std::vector<std::pair<std::string, std::string>> bad = {
      {"", " is empty"},
      {header_row(), " has no item line"},
      {"some text\nand more\n", " has no item line"},
      {item_row(1, "TOP"), ":1: the line is an item line, but no header"},
      {head + row("2", "NO-SEPARATOR", "", "", "X/A", "N"), ":3: the line has no \"/\""},
      {head + row("-2", "P/A", "", "", "X/A", "N"), ":3: the line has the level \"-2\""},
      {head + row("0", "P/A", "", "", "X/A", "N"), ":3: the line has the level \"0\""},
      {head + row("two", "P/A", "", "", "X/A", "N"), ":3: the line has the level \"two\""},
      {head + row("2x", "P/A", "", "", "X/A", "N"), ":3: the line has the level \"2x\""},
      {head + "12 loose words\n", ":3: the line begins with a number"},
      {head + item_row(2, "P").substr(0, 120), ":3: the line ends before"},
      {head + std::string("nul\0byte\n", 9), ":3: the line holds a NUL byte"},
      {head + std::string(499, 'x') + "\n", ":3: the line is longer than"},
      {header_row() + row("", "", "d", "QNPART") + item_row(1, "T"), ":2: the line is a dataset"},
      {header_row() + item_row(2, "P") + item_row(1, "T"), ":3: the line is an item above"},
      {head + "Where used: -----------\n" + item_row(2, "P"), ":4: the line is an item line that"},
  };
  for (const auto& [contents, problem] : bad) {
    expect_refusal(clone(folder.write("bad.txt", contents)), 1, "bad.txt" + problem);
  }
  expect_refusal(clone(folder.path("none.txt")), 1, "none.txt does not exist");
  expect_refusal(clone(out), 1, "is not a file");
  if (geteuid() != 0) {
    const std::string list = write_good_list();
    chmod(list.c_str(), 0444);
    expect_refusal(clone(list), 1, "cannot be opened for update");
  }
  EXPECT_THAT(files_in(out), IsEmpty());
  folder.write("longest.txt", head + std::string(498, 'x') + "\n");
  EXPECT_EQ(clone(folder.path("longest.txt")).exit_code, 0);
}

TEST_F(CloneCommand, FailuresKeepEarlierResults) {
  const std::string list = write_good_list();
  EXPECT_EQ(clone(list).exit_code, 0);
  const std::vector<std::string> names = {"clone.bat", "clone_entries.txt", "clone_log.txt"};
  std::vector<std::string> earlier;
  for (const std::string& name : names) {
    earlier.push_back(folder.read("out/" + name));
  }
  folder.write("list.txt", folder.read("list.txt") + item_row(2, std::string(20, 'L')));

  const std::string fits = folder.read("clone.txt");
  folder.write("clone.txt", std::string(484, 'x') + "%%ITEM_ID%%\n");  // too long for the last item
  expect_refusal(clone(list), 1, "VPD_clone_itemtemplate");
  folder.write("clone.txt", fits);
  folder.write("header.txt", std::string(470, 'x') + "%%INPUTASSY_REV%%\n");
  expect_refusal(clone(list), 1, "ZOLP_clonelogheader");
  folder.write("header.txt", "%%INPUTASSY_ID%%\n");
  std::filesystem::remove(folder.path("retain.txt"));
  expect_refusal(clone(list), 1, "retain.txt of preference VPD_retain_itemtemplate");
  folder.write("retain.txt", "R %%ITEM_ID%%\n");
  std::filesystem::remove(folder.path("post.txt"));
  expect_refusal(clone(list), 1, "post.txt of preference ZOLP_postcloneactionsfile");
  expect_refusal(clone(list, {"--header", "Nowhere"}), 1, "preference Nowhere is not set");

  EXPECT_EQ(files_in(out), names);
  for (size_t i = 0; i < names.size(); ++i) {
    EXPECT_EQ(folder.read("out/" + names[i]), earlier[i]);
  }

  folder.write("post.txt", "later\n");
  EXPECT_EQ(clone(list).exit_code, 0);
  EXPECT_EQ(files_in(out), names);
  EXPECT_THAT(folder.read("out/clone.bat"), testing::EndsWith("later\n"));
}

#if !defined(_WIN32)
// There is no limit to the size of a process's files on Windows.
TEST_F(CloneCommand, FullDiskLeavesNothing) {
  folder.write("clone.txt", std::string(400, 'x') + "\n");
  std::string list = header_row() + item_row(1, "TOP");
  for (int i = 0; i < 3000; ++i) {
    list += item_row(2, std::to_string(i));
  }
  folder.write("list.txt", list);
  const std::string command = "ulimit -f 1000 && exec \"$@\"";  // in KiB; the entries take 1200
  expect_refusal(test::run_program({"/bin/bash", "-c", command, "bash", ZOLP_PROGRAM, "clone",
                                    folder.path("list.txt"), "--host", site, "--out", out}),
                 1, "make room on the disk");
  EXPECT_THAT(files_in(out), IsEmpty());
}
#endif

TEST_F(CloneCommand, OutputFolder) {
  const std::string list = write_good_list();
  const auto clone_to = [&](const std::string& target) {
    return run_zolp({"clone", list, "--host", site, "--out", target});
  };
  expect_refusal(clone_to(folder.path("none")), 1, "none does not exist");
  expect_refusal(clone_to(list), 1, "is not a folder");
  const std::string in_the_way = folder.write("out/clone_log.txt", folder.read("list.txt"));
  expect_refusal(clone(in_the_way), 1, "would replace list");
  std::filesystem::remove(in_the_way);
  std::filesystem::create_directory(folder.path("out/clone.bat"));
  expect_refusal(clone(list), 1, "clone.bat is a folder");
  EXPECT_THAT(files_in(out), ElementsAre("clone.bat"));
}

TEST(OutputFiles, APublicationThatFailsMidwayIsTakenBack) {
  const test::TemporaryFolder folder;
  folder.write("b", "earlier");
  {
    tool::OutputFiles files(host::utf8_path(folder.path("")));
    for (const char* name : {"a", "b"}) {
      std::ofstream(files.add(name)) << "new";
    }
    files.add("c");  // which nobody writes
    EXPECT_THROW(files.publish(), tool::Error);
  }
  EXPECT_THAT(files_in(folder.path("")), ElementsAre("b"));
  EXPECT_EQ(folder.read("b"), "earlier");
}

TEST_F(CloneCommand, TraceGoesWhereItIsWanted) {
  const std::string trace = folder.path("trace.txt");
  const test::Run run =
      run_zolp({"clone", write_good_list(), "--host", site, "--out", out, "--json"},
               {{"ZOLP_TRACE_FILE", trace}, {"ZOLP_TRACE_LEVEL", "4"}});
  EXPECT_EQ(run.json()["items"], 3);
  EXPECT_THAT(folder.read("trace.txt"), HasSubstr("ZOLP_create_clonelogheader"));
}

}  // namespace
