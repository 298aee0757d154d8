// Processes that are killed at any moment leave a site that opens, with every save whole or absent,
// and nothing locked; one alone, several at once, and the commands of zolp.

#include <algorithm>
#include <array>
#include <chrono>
#include <filesystem>
#include <memory>
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
  "items": [{"id": "kepta", "name": "0", "description": "0", "revisions": []},
            {"id": "keptb", "name": "0", "description": "0", "revisions": []},
            {"id": "keptc", "name": "0", "description": "0", "revisions": []}],
  "preferences": {"Numbera": ["0", "0", "0"], "Numberb": ["0", "0", "0"],
                  "Numberc": ["0", "0", "0"]},
  "tools": [{"name": "Editor"}],
  "dataset_types": [{"name": "Note", "tool": "Editor", "references": [
    {"name": "Text", "files": [{"template": "*.txt", "format": "TEXT"}]}]}]
})";

/** A process that changes the site, and what it says of that. */
struct Worker {
  Worker(const test::TemporaryFolder& folder, const char* its_name)
      : name(its_name),
        path(folder.write("progress" + name, std::string(sizeof(test::Progress), '\0'))),
        progress(path) {}

  std::unique_ptr<test::ChildProcess> start(const std::string& site) const {
    return std::make_unique<test::ChildProcess>(
        std::vector<std::string>{CHANGING_PROGRAM, site, path, name});
  }

  std::string name;
  std::string path;
  test::SharedMemory<test::Progress> progress;
};

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
    for (const Worker& worker : workers_) {
      expect_whole_item(worker);
      expect_whole_lists(worker);
      expect_whole_files(worker);
      ASSERT_EQ(worker.progress->failures.load(), 0);
    }
    expect_related_items();
    EXPECT_EQ(described("locks"), Json::array());
    ork_host_close();
    host::Database database(site_);
    host::Query check(database, "PRAGMA integrity_check");
    ASSERT_TRUE(check.next());
    EXPECT_EQ(check.text(0), "ok");
  }

  static void expect_whole_item(const Worker& worker) {
    tag item = NULLTAG;
    char* text = nullptr;
    ASSERT_EQ(ork_host_find_item(("kept" + worker.name).c_str(), nullptr, &item), ORK_ok);
    ASSERT_EQ(OBJ_get_value_string(item, "object_name", &text), ORK_ok);
    const std::string name = test::take(text);
    ASSERT_EQ(OBJ_get_value_string(item, "object_desc", &text), ORK_ok);
    EXPECT_EQ(name, test::take(text));
    EXPECT_GE(std::stoi(name), worker.progress->renamed.load());
    EXPECT_EQ(OBJ_refresh(item, 1), ORK_ok) << test::last_error();
    EXPECT_EQ(OBJ_refresh(item, 0), ORK_ok);
  }

  static void expect_whole_lists(const Worker& worker) {
    const Json numbers = described("preferences")["Number" + worker.name];
    EXPECT_EQ(numbers, Json({numbers[0], numbers[0], numbers[0]}));
    EXPECT_GE(std::stoi(numbers[0].get<std::string>()), worker.progress->preferred.load());
    const auto pairs = [&worker](const char* section) {
      std::vector<std::string> names;
      for (const Json& entry : described(section)) {
        const std::string name = entry["name"];
        if (name.starts_with("pair " + worker.name)) {
          names.push_back(name);
        }
      }
      return names;
    };
    EXPECT_EQ(pairs("groups"), pairs("roles"));
    const int seeded = worker.progress->seeded.load();
    if (seeded > 0) {
      EXPECT_THAT(pairs("groups"),
                  testing::Contains("pair " + worker.name + std::to_string(seeded)));
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
    const int without_revisions = static_cast<int>(workers_.size());
    EXPECT_LE(revisions, items - without_revisions);
    EXPECT_LE(items - without_revisions - relations, killed_runs);
  }

  /** A dataset that was saved has its file, and the file has what was written into it. */
  void expect_whole_files(const Worker& worker) const {
    const int said = worker.progress->filed.load();
    for (int number = said > 0 ? said : 1; number <= said + 1; ++number) {
      const std::string text = std::to_string(number);
      tag dataset = NULLTAG;
      tag file = NULLTAG;
      int type = 0;
      if (DSET_find_dataset(("F" + worker.name + text).c_str(), &dataset) != ORK_ok ||
          dataset == NULLTAG) {
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
  std::array<Worker, 3> workers_{Worker(folder_, "a"), Worker(folder_, "b"), Worker(folder_, "c")};
  int kills_so_far_ = 0;
};

}  // namespace

namespace {

std::mt19937& random_numbers() {
  static std::mt19937 numbers(4711);
  return numbers;
}

void wait_a_while() {
  std::this_thread::sleep_for(
      std::chrono::microseconds(std::uniform_int_distribution(0, 100'000)(random_numbers())));
}

}  // namespace

TEST_F(Kills, LeaveWholeSavesAndNoLocks) {
  const Worker& worker = workers_[0];
  for (const int wanted = test::kills(); kills_so_far_ < wanted;) {
    {
      const auto changing = worker.start(site_);
      // From the start of the process on, since opening the site and logging in are changes, too;
      // every other time from its first change on, however slow the machine is.
      const int before = worker.progress->renamed.load();
      while (kills_so_far_ % 2 != 0 && worker.progress->renamed.load() == before &&
             worker.progress->failures.load() == 0) {
        std::this_thread::yield();
      }
      wait_a_while();
      changing->kill();
      ++kills_so_far_;
    }
    expect_whole_site();
    ASSERT_FALSE(HasFailure()) << "kill " << kills_so_far_;
  }
  EXPECT_GT(worker.progress->renamed.load(), 0);
  std::printf("%d kills, %d rounds of changes\n", kills_so_far_, worker.progress->renamed.load());
}

// Whoever is killed leaves the others' locks and imports alone, and they go on.
TEST_F(Kills, OfOneAmongSeveralLeaveTheOthersAtWork) {
  std::array<std::unique_ptr<test::ChildProcess>, 3> running;
  for (std::size_t i = 0; i < workers_.size(); ++i) {
    running[i] = workers_[i].start(site_);
  }
  for (const int wanted = test::kills(); kills_so_far_ < wanted; ++kills_so_far_) {
    const std::size_t victim = static_cast<std::size_t>(kills_so_far_) % workers_.size();
    const Worker& other = workers_[(victim + 1) % workers_.size()];
    wait_a_while();
    running[victim]->kill();
    const int before = other.progress->filed.load();
    while (other.progress->filed.load() == before && other.progress->failures.load() == 0) {
      std::this_thread::yield();
    }
    ASSERT_EQ(other.progress->failures.load(), 0) << "kill " << kills_so_far_;
    running[victim] = workers_[victim].start(site_);
  }
  for (const auto& worker : running) {
    worker->kill();
    ++kills_so_far_;
  }
  expect_whole_site();
}

TEST_F(Kills, OfCommandsLeaveAllOrNothing) {
  const int wanted = test::kills() / 2;
  std::size_t made = 0;
  for (int number = 0; number < wanted; ++number) {
    const std::string name = "D" + std::to_string(number);
    test::Process import({{ZOLP_PROGRAM, "dataset", "import", folder_.write("text.txt", name),
                           "--item", "kepta", "--name", name, "--host", site_},
                          test::own_environment(),
                          folder_.path("out"),
                          folder_.path("err")});
    wait_a_while();
    import.kill();
    ASSERT_EQ(ork_host_open(site_.c_str()) | ORK_auto_login(), ORK_ok) << test::last_error();
    tag dataset = NULLTAG;
    ASSERT_EQ(DSET_find_dataset(name.c_str(), &dataset), ORK_ok);
    made += dataset != NULLTAG ? 1 : 0;
    std::size_t contents = 0;
    std::error_code none;
    for ([[maybe_unused]] const auto& entry :
         std::filesystem::directory_iterator(site_ + ".vault", none)) {
      ++contents;
    }
    EXPECT_EQ(contents, made) << "kill " << number;
    EXPECT_EQ(described("relations").size(), made);
    EXPECT_EQ(described("locks"), Json::array());
    ork_host_close();
  }
  std::printf("%d kills, %zu imports made\n", wanted, made);
}
