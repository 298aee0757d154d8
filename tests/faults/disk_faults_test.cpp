// Each call of a command that changes the disk fails once: the command says so, the site opens and
// is as it was before or as the command makes it, and the same command then works.

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <set>

#include "tests/host/demo_site.h"
#include "tools/run_program.h"

namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;

constexpr const char* seed = R"({
  "site": {"password_cost": 1, "automatic_login": "ada"},
  "groups": ["all"], "roles": ["any"],
  "users": [{"id": "ada", "memberships": [{"group": "all", "role": "any"}]}],
  "process_templates": [{"name": "Check", "tasks": [{"name": "First"}]}],
  "form_types": [{"name": "Mass", "fields": [{"name": "weight", "kind": "real"}]}],
  "items": [{"id": "1", "name": "Press", "master_form": {"type": "Mass"}, "revisions": [
    {"id": "A", "datasets": [
      {"name": "Note", "type": "Text", "files": [{"reference": "Text", "path": "note.txt"}]}]}]}]
})";

/** 25 of a command's calls, spread over them, or as many as the variable says. */
long most_faults() {
  const char* const wanted = std::getenv("ZOLP_TEST_FAULTS");
  return wanted != nullptr ? std::atol(wanted) : 25;
}

/** What users see of a site: without numbers, times and random names. */
Json without_chance(const Json& value) {
  static const std::set<std::string> chance = {
      "tag",           "path",    "creation_date", "contents", "last_mod_date",
      "last_mod_user", "created", "changed",       "key",      "object"};
  if (!value.is_structured()) {
    return value.is_number() ? Json(nullptr) : value;
  }
  Json kept = value.is_array() ? Json::array() : Json::object();
  for (const auto& [key, part] : value.items()) {
    if (value.is_array()) {
      kept.push_back(without_chance(part));
    } else if (!chance.contains(key)) {
      kept[key] = without_chance(part);
    }
  }
  return kept;
}

class DiskFaults : public test::ZolpTest {
 protected:
  DiskFaults() {
    folder.write("note.txt", "a note");
    folder.write("more.json", R"({"groups": ["more"], "items": [{"id": "2", "name": "Rod"}]})");
    make_site(seed);
    fs::create_directory(folder.path("kept"));
    copy_site(folder.path(""), folder.path("kept"));
  }

  /** The site's file and what lies beside it. */
  static void copy_site(const fs::path& from, const fs::path& to) {
    for (const auto& entry : fs::directory_iterator(from)) {
      if (entry.path().filename().string().starts_with("site.db")) {
        fs::copy(entry.path(), to / entry.path().filename(), fs::copy_options::recursive);
      }
    }
  }

  void restore() {
    fs::remove_all(run_);
    fs::create_directory(run_);
    copy_site(folder.path("kept"), run_);
  }

  test::Run run(std::vector<std::string> arguments, const std::string& failing_call) {
    fs::remove(report_);
    return test::run_zolp(std::move(arguments), {{"ORK_HOST_DB", (run_ / "site.db").string()},
                                                 {"LD_PRELOAD", FAILING_DISK},
                                                 {"FAILING_DISK_FOLDER", run_.string()},
                                                 {"FAILING_DISK_CALL", failing_call},
                                                 {"FAILING_DISK_REPORT", report_}});
  }

  long calls() const { return std::strtol(folder.read("report").c_str(), nullptr, 10); }

  /** What there is afterwards: the site, and the files beside it. Nothing is locked or left over.
   */
  Json state() {
    const std::string site_file = (run_ / "site.db").string();
    Json files = Json::array();
    for (const std::string& name : test::files_in(run_.string())) {
      EXPECT_FALSE(name.starts_with(".")) << name << " is left behind";
      if (!name.starts_with("site.db")) {
        files.push_back(name);
      }
    }
    if (!fs::exists(site_file)) {
      return {{"files", files}};
    }
    EXPECT_EQ(ork_host_open(site_file.c_str()), ORK_ok) << test::last_error();
    const Json description = Json::parse(test::describe(nullptr));
    EXPECT_EQ(ORK_auto_login(), ORK_ok) << test::last_error();
    ork_host_close();
    EXPECT_EQ(description["locks"], Json::array());
    expect_vault_of(description);
    return {{"site", without_chance(description)}, {"files", files}};
  }

  /** The vault has the contents that the site's datasets need. */
  void expect_vault_of(const Json& description) const {
    std::size_t needed = 0;
    for (const Json& object : description["objects"]) {
      needed += object.value("files", Json::array()).size();
    }
    std::size_t there = 0;
    if (fs::exists(run_ / "site.db.vault")) {
      const auto names = test::files_in((run_ / "site.db.vault").string());
      there = static_cast<std::size_t>(std::count_if(
          names.begin(), names.end(), [](const std::string& name) { return name.size() == 32; }));
    }
    EXPECT_EQ(there, needed);
  }

  void expect_held(const std::vector<std::string>& arguments) {
    const auto prepare = [&] {
      restore();
      if (arguments[1] == "init") {
        fs::remove_all(run_);
        fs::create_directory(run_);
      }
    };
    prepare();
    const Json before = state();
    ASSERT_EQ(run(arguments, "0").exit_code, 0);
    const long all = calls();
    const Json after = state();
    ASSERT_GT(all, 0);
    ASSERT_NE(before, after);
    const long step = std::max(1L, all / most_faults());
    for (long call = 1; call <= all; call += step) {
      // Once; and so that undoing what was done fails, too.
      for (const char* how : {"", "-"}) {
        prepare();
        expect_whole(arguments, std::to_string(call) + how, before, after);
        ASSERT_FALSE(HasFailure());
      }
    }
  }

  void expect_whole(const std::vector<std::string>& arguments, const std::string& failing,
                    const Json& before, const Json& after) {
    SCOPED_TRACE(arguments[0] + " " + arguments[1] + ", call " + failing);
    const test::Run failed = run(arguments, failing);
    ++tried_;
    const Json left = state();
    if (failed.exit_code == 0) {
      EXPECT_EQ(left, after) << "it says that it is done";
      return;
    }
    EXPECT_EQ(failed.exit_code, 1);
    EXPECT_THAT(failed.err, testing::MatchesRegex("zolp: .+\n"));
    EXPECT_THAT(failed.err, testing::Not(testing::HasSubstr("unexpected")));
    if (left != after) {
      EXPECT_EQ(left, before) << failed.err;
      EXPECT_EQ(run(arguments, "0").exit_code, 0);
      EXPECT_EQ(state(), after);
    }
  }

  const fs::path run_ = folder.path("run");
  const std::string report_ = folder.path("report");
  long tried_ = 0;
};

}  // namespace

TEST_F(DiskFaults, LeaveWhatWasThereOrWhatIsWanted) {
  const std::string note = folder.path("note.txt");
  const std::string made = (run_ / "site.db").string();
  const std::string other = folder.path("other.db");
  ASSERT_EQ(test::run_zolp({"host", "init", other, "--seed", folder.path("seed.json"), "--seed",
                            folder.path("more.json")})
                .exit_code,
            0);
  for (const std::vector<std::string>& command : std::vector<std::vector<std::string>>{
           {"host", "init", made, "--seed", folder.path("seed.json")},
           {"host", "seed", made, folder.path("more.json")},
           {"host", "pref", made, "One", "a", "b"},
           {"host", "snapshot", made, (run_ / "copy.db").string()},
           {"host", "restore", made, other},
           {"host", "reset", made, "--seed", folder.path("seed.json"), "--seed",
            folder.path("more.json")},
           {"form", "set", "1", "weight=2.5"},
           {"dataset", "import", note, "--item", "1", "--rev", "A", "--name", "More"},
           {"job", "start", "Check", "--name", "J", "--target", "1/A"},
           {"dataset", "copy", "Note", "Twin", "--item", "1", "--rev", "A"},
           {"dataset", "export", "Note", "--out", (run_ / "out.txt").string()}}) {
    expect_held(command);
  }
  std::printf("%ld faults\n", tried_);
}
