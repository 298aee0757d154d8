// zolp dataset and zolp form.

#if !defined(_WIN32)
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#endif

#include <chrono>
#include <memory>
#include <thread>

#include "host/ork_host.h"
#include "ork/obj.h"
#include "tests/support/site_damage.h"
#include "tests/tools/run_program.h"
#include "zolp_orktool.h"

namespace {

const std::string seed = test::file_text("tools/seeds/dataset.json");

class DatasetCommands : public test::ZolpTest {
 protected:
  DatasetCommands() {
    folder.write("front.png", "front");
    folder.write("side.png", "side");
    std::filesystem::create_directory(target);
    make_site(seed);
  }

  /** A run of a dataset command for revision 1/00/A. */
  test::Run dataset(std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin(), "dataset");
    arguments.insert(arguments.end(), {"--item", "1/00", "--rev", "A"});
    return on_site(arguments);
  }

  std::size_t vault_size() const { return files_in(site + ".vault").size(); }

  const std::string target = folder.path("out");
};

TEST_F(DatasetCommands, FilesComeOutAsTheyWentIn) {
  const std::string text = folder.write("report.txt", "one\r\n\xe4");
  const test::Run imported = dataset({"import", text, "--description", "checked"});
  EXPECT_EQ(imported.exit_code, 0) << imported.err;
  EXPECT_EQ(imported.out, "imported " + text + " as dataset report of 1/00/A-Press\n");
  const auto card = dataset({"show", "report", "--json"}).json();
  EXPECT_EQ(card["description"], "checked");
  EXPECT_EQ(card["format"], "TEXT");
  EXPECT_EQ(card["references"][0]["file"]["size"], 6);
  EXPECT_EQ(dataset({"export", "report", "--out", target}).exit_code, 0);
  EXPECT_EQ(folder.read_bytes("out/report.txt"), "one\r\n\xe4");
  EXPECT_EQ(dataset({"export", "report", "--out", target + "/other"}).out,
            "wrote " + target + "/other\n");

  const std::string part = folder.write("body.PRT", "solid");
  EXPECT_EQ(dataset({"import", part, "--type", "Model", "--name", "Body", "--json"})
                .json()["references"][0]["file"]["type"],
            "binary");
  EXPECT_EQ(dataset({"copy", "Body", "Body 2"}).out, "copied Body to Body 2 with 1 reference\n");
  const test::Run copy = dataset({"show", "Body 2"});
  EXPECT_THAT(copy.out, HasSubstr("Part       part   5      Body_2.PRT\n"));
  EXPECT_THAT(on_site({"show", "1/00/A"}).out, HasSubstr("VELO_reference  Body 2  (Dataset)"));

  const std::string measured = folder.write("Maße.txt", "12 mm");
  std::filesystem::create_directory(host::utf8_path(folder.path("größer")));
  EXPECT_EQ(dataset({"import", measured}).exit_code, 0);
  EXPECT_EQ(dataset({"export", "Maße", "--out", folder.path("größer")}).out,
            "wrote " + folder.path("größer/Maße.txt") + "\n");
  EXPECT_EQ(folder.read("größer/Maße.txt"), "12 mm");
}

TEST_F(DatasetCommands, ExportsAreWholeAndOverwriteNothing) {
  folder.write("out/side.png", "mine");
  expect_refusal(dataset({"export", "Side", "--out", target}), 1, "exists and is not overwritten");
  EXPECT_THAT(files_in(target), ElementsAre("side.png")) << "the first file is taken back";
  expect_refusal(dataset({"export", "Side", "--out", target + "/x"}), 1, "has 2 files");

  EXPECT_EQ(dataset({"export-images", "--out", target}).out,
            "wrote " + folder.path("out/1_00_A_Front") + "\nwrote " +
                folder.path("out/1_00_A_Side") + "\n2 images of 3 datasets\n");
  EXPECT_EQ(folder.read("out/1_00_A_Side"), "side") << "the second dataset's second reference";
  folder.write("out/1_00_A_Side", "mine");
  const auto again = dataset({"export-images", "--out", target, "--json"}).json();
  EXPECT_THAT(again["written"], IsEmpty());
  EXPECT_EQ(again["kept"].size(), 2U);
  EXPECT_EQ(folder.read("out/1_00_A_Side"), "mine");

  ASSERT_EQ(dataset({"copy", "Side", "Twin"}).exit_code, 0);
  std::filesystem::create_directory(folder.path("twins"));
  EXPECT_EQ(dataset({"export", "Twin", "--out", folder.path("twins")}).exit_code, 0);
  EXPECT_THAT(files_in(folder.path("twins")), ElementsAre("Twin-2.png", "Twin.png"));
}

TEST_F(DatasetCommands, NamesFromASiteLeadToNoOtherPlace) {
  std::filesystem::create_directory(folder.path("out/deep"));
  std::vector<std::string> names = {"../x", folder.path("x"), "..", "..\\x", "a\nb"};
#if defined(_WIN32)
  names.insert(names.end(), {"C:x", "a:b", "NUL", "con.txt", "LPT1 .x", "x.", "x ", "a?"});
#endif
  for (const std::string& name : names) {
    test::RowDamage(site).execute("UPDATE value SET content = '" + name +
                                  "' WHERE attribute = (SELECT id FROM attribute WHERE name = "
                                  "'original_file_name')");
    expect_refusal(dataset({"export", "Front", "--out", folder.path("out/deep")}), 1,
                   "give a path for it with --out");
    EXPECT_EQ(dataset({"export", "Front", "--out", folder.path("given")}).exit_code, 0);
    std::filesystem::remove(folder.path("given"));
    EXPECT_THAT(files_in(folder.path("")), ElementsAre("front.png", "out", "seed.json", "side.png",
                                                       "site.db", "site.db.vault"));
    EXPECT_THAT(files_in(target), ElementsAre("deep"));
    EXPECT_THAT(files_in(folder.path("out/deep")), IsEmpty());
  }
}

TEST_F(DatasetCommands, RefusalsSayWhatIsWrongAndLeaveNothing) {
  const std::size_t before = vault_size();
  const std::string text = folder.write("report.txt", "one");
  const struct {
    std::vector<std::string> arguments;
    const char* why;
  } refusals[] = {
      {{"import", folder.path("none.txt")}, "No such file"},
      {{"import", target}, "no regular file"},
      {{"import", text, "--name", "Front"}, "1/00/A-Press has a dataset Front"},
      {{"import", text, "--type", "Modell"}, "there is no dataset type Modell"},
      {{"import", text, "--type", "Model", "--reference", "Mass"}, "takes no files as Mass"},
      {{"import", text, "--type", "Raw"}, "output format"},  // when the file is in already
      {{"import", text, "--name", std::string(129, 'n')}, "name is longer than 128 bytes"},
      {{"import", text, "--description", std::string(241, 'd')}, "longer than 240 bytes"},
      {{"export", "none"}, "1/00/A-Press has no dataset none"},
      {{"export", "Frame"}, "dataset Frame has no file"},
      {{"export", "Front", "--out", target + "/none/x"}, "No such file"},
      {{"export-images", "--out", target + "/none"}, "is no folder"},
      {{"copy", "Front", "Side"}, "1/00/A-Press has a dataset Side"},
      {{"copy", "Front", std::string(129, 'n')}, "longer than 128 bytes"}};
  for (const auto& [arguments, why] : refusals) {
    expect_refusal(dataset(arguments), 1, why);
  }
  expect_refusal(on_site({"dataset", "import", text, "--item", "9"}), 1, "there is no item 9");
  expect_refusal(on_site({"dataset", "import", text}), 2, "--item");
  expect_refusal(on_site({"dataset", "show", "Front", "--rev", "A"}), 2, "--item");
  EXPECT_THAT(files_in(target), IsEmpty());
  EXPECT_EQ(vault_size(), before);
}

TEST_F(DatasetCommands, AFailedImportLeavesNothing) {
  const std::size_t before = vault_size();
  ASSERT_EQ(run_zolp({"host", "seed", site, folder.write("rules.json", R"({"access_rules": [
    {"deny": ["WRITE"], "to": "world", "on": {"class": "Dataset"}}]})")})
                .exit_code,
            0);
  const std::string text = folder.write("report.txt", "one");
  for (const std::vector<std::string>& type :
       {std::vector<std::string>{}, {"--type", "Model"}, {"--type", "Image"}}) {
    std::vector<std::string> arguments = {"import", text};
    arguments.insert(arguments.end(), type.begin(), type.end());
    expect_refusal(dataset(arguments), 1, "by access rule 1): log in as somebody who may");
    EXPECT_EQ(vault_size(), before);
    expect_refusal(on_site({"dataset", "show", "report"}), 1, "there is no dataset report");
  }
}

TEST_F(DatasetCommands, OfManyOfOneNameAtOnceOneIsMade) {
  const std::size_t before = vault_size();
  const std::string text = folder.write("report.txt", "one");
  const struct {
    std::vector<std::string> arguments;
    const char* refusal;
  } commands[] = {
      {{"dataset", "import", text, "--item", "1/00"}, "1/00-Press has a dataset report"},
      {{"job", "start", "Check", "--name", "J"}, "there is a job J already"}};
  constexpr std::size_t count = 8;
  // All of them have looked for the name, and wait until this process has saved its change.
  const char* value = "set";
  ASSERT_EQ(ork_host_open(site.c_str()) | ork_host_begin_change() |
                ork_host_set_preference("Held", 1, &value),
            ORK_ok);
  std::vector<std::unique_ptr<test::Process>> started;
  for (std::size_t i = 0; i < count; ++i) {
    std::vector<std::string> command = commands[i % 2].arguments;
    command.insert(command.begin(), ZOLP_PROGRAM);
    command.insert(command.end(), {"--host", site});
    started.push_back(std::make_unique<test::Process>(
        test::Launch{command, test::own_environment(), folder.path("out" + std::to_string(i)),
                     folder.path("err" + std::to_string(i))}));
  }
  for (std::size_t i = 0; i < count; ++i) {
    while (folder.read("err" + std::to_string(i)).find("waiting up to") == std::string::npos) {
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
  }
  ASSERT_EQ(ork_host_end_change(1), ORK_ok);
  ork_host_close();
  int made[2] = {};
  for (std::size_t i = 0; i < count; ++i) {
    if (started[i]->wait() == 0) {
      made[i % 2] += 1;
    } else {
      EXPECT_THAT(folder.read("err" + std::to_string(i)), HasSubstr(commands[i % 2].refusal));
    }
  }
  EXPECT_THAT(made, ElementsAre(1, 1));
  EXPECT_EQ(vault_size(), before + 1);
}

TEST_F(DatasetCommands, RefusedChangesTellWhy) {
  const std::vector<std::string> change = {"form", "set", "1/00", "UGezPerson=dora"};
  ASSERT_EQ(ork_host_open(site.c_str()) | ORK_auto_login(), ORK_ok);
  tag form = NULLTAG;
  tag item = NULLTAG;
  ASSERT_EQ(
      ork_host_find_item("1/00", nullptr, &item) | ZOLP_GetMasterForm(item, &form) | OBJ_lock(form),
      ORK_ok);
  expect_refusal(on_site(change), 1, ", by user ada on ");
  expect_refusal(on_site(change), 1, "zolp host unlock");
  EXPECT_THAT(run_zolp({"host", "unlock", site}).out, HasSubstr(", which ada has had locked on "));
  EXPECT_EQ(on_site(change).exit_code, 0);
  EXPECT_EQ(run_zolp({"host", "unlock", site}).out, "nothing is locked\n");
  expect_refusal(run_zolp({"host", "unlock", site, "1/00/A"}), 1, "nobody has locked 1/00/A");
  ASSERT_EQ(OBJ_lock(item), ORK_ok);
  EXPECT_THAT(run_zolp({"host", "unlock", site, "1/00"}).out, HasSubstr("unlocked 1/00-Press, "));
  ASSERT_EQ(ORK_exit_module(0), ORK_ok);

  const char* value = "set";
  ASSERT_EQ(ork_host_begin_change() | ork_host_set_preference("Held", 1, &value), ORK_ok);
  expect_refusal(run_zolp(change, {{"ORK_HOST_DB", site}, {"ORK_HOST_WAIT", "0"}}), 1,
                 "Another process is changing the site");
  ASSERT_EQ(ork_host_end_change(1), ORK_ok);
  ork_host_close();

  ASSERT_EQ(run_zolp({"host", "seed", site, folder.write("rules.json", R"({"access_rules": [
    {"deny": ["WRITE"], "to": "world", "on": {"class": "Form"}}]})")})
                .exit_code,
            0);
  expect_refusal(on_site(change), 1, "ada has no WRITE access to ");
  expect_refusal(on_site(change), 1, "by access rule 1");
}

#if !defined(_WIN32)
TEST_F(DatasetCommands, AnInterruptedImportLeavesNothing) {
  const std::string big = folder.path("big.prt");
  std::ofstream(big).close();
  std::filesystem::resize_file(big, std::uintmax_t{2} << 30);
  const std::size_t before = vault_size();
  const pid_t child = fork();
  if (child == 0) {
    setenv("ORK_HOST_DB", site.c_str(), 1);
    if (std::freopen(folder.path("err").c_str(), "w", stderr) != nullptr) {
      execl(ZOLP_PROGRAM, ZOLP_PROGRAM, "dataset", "import", big.c_str(), "--type", "Model",
            "--item", "1/00", nullptr);
    }
    _exit(127);
  }
  while (vault_size() == before && !std::filesystem::exists(site + ".processes")) {
    usleep(1000);
  }
  kill(child, SIGINT);
  int status = 0;
  waitpid(child, &status, 0);
  ASSERT_TRUE(WIFSIGNALED(status)) << "so that shells see it";
  EXPECT_EQ(WTERMSIG(status), SIGINT);
  EXPECT_EQ(folder.read("err"), "zolp: interrupted: nothing was written, start again\n");
  EXPECT_EQ(vault_size(), before);
  EXPECT_FALSE(std::filesystem::exists(site + ".processes"));
  expect_refusal(on_site({"dataset", "show", "big"}), 1, "there is no dataset big");
}
#endif

TEST_F(DatasetCommands, FormsAreShownAndFilled) {
  EXPECT_EQ(on_site({"form", "get", "1/00/A", "material"}).out, "steel\n");
  EXPECT_EQ(on_site({"form", "set", "1/00/A", "material=\x1b[1m"}).exit_code, 0);
  EXPECT_EQ(on_site({"form", "get", "1/00/A", "material"}).out, "?[1m\n");
  const test::Run filled = on_site({"form", "set", "1/00/A", "material=a=b", "weight=2.5"});
  EXPECT_EQ(filled.exit_code, 0) << filled.err;
  EXPECT_EQ(filled.out, "Press (Mass)\n  field     value\n  material  a=b\n  weight    2.5\n");
  EXPECT_EQ(on_site({"form", "set", "Frame", "weight=1", "--reference", "Mass"}).exit_code, 0);
  EXPECT_EQ(
      on_site({"form", "get", "Frame", "weight", "--reference", "Mass", "--json"}).json()["value"],
      "1.0");

  const auto release =
      on_site({"form", "set", "1/00", "UGezPerson=ada", "UGezDate=1-dec-2026", "--json"}).json();
  EXPECT_EQ(release["type"], "FreigabeInfo");
  EXPECT_EQ(release["fields"].size(), 13U);
  EXPECT_EQ(release["fields"]["UGezDate"], "01-Dec-2026");

  expect_refusal(on_site({"form", "set", "1/00/A", "material=brass", "weight=heavy"}), 1,
                 "cannot set weight");
  EXPECT_EQ(on_site({"form", "get", "1/00/A", "material"}).out, "a=b\n") << "all or nothing";
  expect_refusal(on_site({"form", "set", "1/00/A", "material"}), 2, "write FIELD=TEXT");
  expect_refusal(on_site({"form", "get", "1/00/A", "colour"}), 1, "the form has no field colour");
  expect_refusal(on_site({"form", "show", "2/00"}), 1, "there is no item or revision 2/00");
  expect_refusal(on_site({"form", "show", "Front", "--reference", "Image"}), 1,
                 "has no form as Image");
  expect_refusal(on_site({"form", "show", "Front", "--reference", "Mass"}), 1,
                 "has no form as Mass");
}

}  // namespace
