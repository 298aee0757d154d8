// A process that is killed at any moment leaves a site that opens, with every save whole or absent,
// and nothing locked.

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <random>
#include <thread>

#include "ork/dset.h"
#include "ork/file.h"
#include "ork/obj.h"
#include "ork/store.h"
#include "progress.h"
#include "sqlite.h"
#include "support/kills.h"
#include "support/temporary_folder.h"
#include "tests/host/child_process.h"
#include "tests/host/demo_site.h"

#include <nlohmann/json.hpp>

namespace {

using Json = nlohmann::json;

constexpr const char* seed = R"({
  "site": {"automatic_login": "batch"}, "groups": ["all"], "roles": ["any"],
  "users": [{"id": "batch", "memberships": [{"group": "all", "role": "any"}]}],
  "items": [{"id": "kept", "name": "0", "description": "0", "revisions": []}],
  "preferences": {"Number": ["0", "0", "0"]},
  "tools": [{"name": "Editor"}],
  "dataset_types": [{"name": "Note", "tool": "Editor", "references": [
    {"name": "Text", "files": [{"template": "*.txt", "format": "TEXT"}]}]}]
})";

class Kills : public testing::Test {
 protected:
  Kills() {
    EXPECT_EQ(ork_host_open(site_.c_str()), ORK_ok);
    EXPECT_EQ(ork_host_seed(seed), ORK_ok);
    ork_host_close();
  }

  static Json described(const char* section) { return Json::parse(test::describe(section)); }

  void expect_whole_site() const {
    ASSERT_EQ(ork_host_open(site_.c_str()), ORK_ok) << test::last_error();
    ASSERT_EQ(ORK_auto_login(), ORK_ok) << test::last_error();
    expect_whole_item();
    expect_whole_lists();
    expect_related_items();
    expect_whole_files();
    EXPECT_EQ(described("locks"), Json::array());
    ork_host_close();
    host::Database database(site_);
    host::Query check(database, "PRAGMA integrity_check");
    ASSERT_TRUE(check.next());
    EXPECT_EQ(check.text(0), "ok");
  }

  void expect_whole_item() const {
    tag item = NULLTAG;
    char* text = nullptr;
    ASSERT_EQ(ork_host_find_item("kept", nullptr, &item), ORK_ok);
    ASSERT_EQ(OBJ_get_value_string(item, "object_name", &text), ORK_ok);
    const std::string name = test::take(text);
    ASSERT_EQ(OBJ_get_value_string(item, "object_desc", &text), ORK_ok);
    EXPECT_EQ(name, test::take(text));
    EXPECT_GE(std::stoi(name), progress_->renamed.load());
    EXPECT_EQ(OBJ_refresh(item, 1), ORK_ok) << test::last_error();
    EXPECT_EQ(OBJ_refresh(item, 0), ORK_ok);
  }

  void expect_whole_lists() const {
    const Json numbers = described("preferences")["Number"];
    EXPECT_EQ(numbers, Json({numbers[0], numbers[0], numbers[0]}));
    EXPECT_GE(std::stoi(numbers[0].get<std::string>()), progress_->preferred.load());
    const auto pairs = [](const char* section) {
      std::vector<std::string> names;
      for (const Json& entry : described(section)) {
        const std::string name = entry["name"];
        if (name.starts_with("pair ")) {
          names.push_back(name);
        }
      }
      return names;
    };
    EXPECT_EQ(pairs("groups"), pairs("roles"));
    const int seeded = progress_->seeded.load();
    if (seeded > 0) {
      EXPECT_THAT(pairs("groups"), testing::Contains("pair " + std::to_string(seeded)));
    }
  }

  /** Of each item there is as much as was saved before the kill, and nothing that refers to more.
   */
  void expect_related_items() const {
    int items = 0;
    int revisions = 0;
    for (const Json& object : described("objects")) {
      items += object["class"] == "Item" ? 1 : 0;
      revisions += object["class"] == "ItemRevision" ? 1 : 0;
    }
    const int relations = static_cast<int>(described("relations").size());
    const int killed_runs = kills_so_far_;
    EXPECT_LE(relations, revisions);
    EXPECT_LT(revisions, items);  // one has none
    EXPECT_LE(items - 1 - relations, killed_runs);
  }

  /** A dataset that was saved has its file, and the file has what was written into it. */
  void expect_whole_files() const {
    const int said = progress_->filed.load();
    for (int number = said > 0 ? said : 1; number <= said + 1; ++number) {
      const std::string text = std::to_string(number);
      tag dataset = NULLTAG;
      tag file = NULLTAG;
      int type = 0;
      if (DSET_find_dataset(("F" + text).c_str(), &dataset) != ORK_ok || dataset == NULLTAG) {
        EXPECT_NE(number, said) << "a dataset that was saved is gone";
        continue;
      }
      ASSERT_EQ(DSET_get_dataset_named_ref(dataset, "Text", &type, &file), ORK_ok);
      std::filesystem::remove(folder_.path("exported"));
      ASSERT_EQ(FILE_export_file(file, folder_.path("exported").c_str()), ORK_ok)
          << test::last_error();
      EXPECT_EQ(folder_.read("exported"), text);
    }
  }

  test::TemporaryFolder folder_;
  std::string site_ = folder_.path("site.db");
  std::string progress_path_ = folder_.write("progress", std::string(sizeof(test::Progress), '\0'));
  test::SharedMemory<test::Progress> progress_{progress_path_};
  int kills_so_far_ = 0;
};

}  // namespace

TEST_F(Kills, LeaveWholeSavesAndNoLocks) {
  std::mt19937 random(4711);
  for (const int wanted = test::kills(); kills_so_far_ < wanted;) {
    {
      test::ChildProcess changing({CHANGING_PROGRAM, site_, progress_path_});
      // From the start of the process on, since opening the site and logging in are changes, too;
      // every other time from its first change on, however slow the machine is.
      const int before = progress_->renamed.load();
      while (kills_so_far_ % 2 != 0 && progress_->renamed.load() == before &&
             progress_->failures.load() == 0) {
        std::this_thread::yield();
      }
      std::this_thread::sleep_for(
          std::chrono::microseconds(std::uniform_int_distribution(0, 100'000)(random)));
      changing.kill();
      ++kills_so_far_;
    }
    expect_whole_site();
    ASSERT_FALSE(HasFailure()) << "kill " << kills_so_far_;
    ASSERT_EQ(progress_->failures.load(), 0);
  }
  EXPECT_GT(progress_->renamed.load(), 0);
  std::printf("%d kills, %d rounds of changes\n", kills_so_far_, progress_->renamed.load());
}
