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

namespace {

/** What a look at a whole site finds. */
std::string findings(const std::string& site) {
  int count = 0;
  char* json = nullptr;
  EXPECT_EQ(ork_host_check(site.c_str(), 0, &count, &json), ORK_ok) << test::last_error();
  const std::string text = test::take(json);
  return count == 0 ? "" : text;
}

}  // namespace

TEST_F(Kills, SnapshotsWhileEightProcessesWriteAreWhole) {
  std::vector<std::unique_ptr<Worker>> workers;
  std::vector<std::unique_ptr<test::ChildProcess>> running;
  ASSERT_EQ(ork_host_open(site_.c_str()), ORK_ok);
  for (const char* name : {"d", "e", "f", "g", "h", "i", "j", "k"}) {
    const std::string kept = std::string("kept") + name;
    ASSERT_EQ(
        ork_host_seed(
            (R"({"items": [{"id": ")" + kept + R"(", "name": "0", "description": "0"}]})").c_str()),
        ORK_ok);
    workers.push_back(std::make_unique<Worker>(folder_, name));
  }
  ork_host_close();
  for (const auto& worker : workers) {
    running.push_back(worker->start(site_));
  }
  for (const auto& worker : workers) {
    while (worker->progress->filed.load() < 3 && worker->progress->failures.load() == 0) {
      std::this_thread::yield();
    }
    ASSERT_EQ(worker->progress->failures.load(), 0);
  }
  for (int number = 0; number < 5; ++number) {
    const std::string copy = folder_.path("copy" + std::to_string(number));
    ASSERT_EQ(ork_host_open(site_.c_str()), ORK_ok);
    ASSERT_EQ(ork_host_snapshot(copy.c_str(), 1), ORK_ok) << test::last_error();
    ork_host_close();
    EXPECT_EQ(findings(copy), "");
    EXPECT_EQ(findings(site_), "") << "while they write";
    EXPECT_EQ(ork_host_restore(site_.c_str(), copy.c_str(), 1), ORK_site_in_use);
  }
}

TEST_F(Kills, OfSnapshotsAndRestoresLeaveAllOrNothing) {
  const auto start = [this](const std::vector<std::string>& arguments) {
    std::vector<std::string> command = {ZOLP_PROGRAM, "host"};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return std::make_unique<test::Process>(
        test::Launch{command, test::own_environment(), folder_.path("out"), folder_.path("err")});
  };
  const std::array<std::string, 2> states = {folder_.path("one.db"), folder_.path("other.db")};
  for (const std::string& state : states) {
    ASSERT_EQ(ork_host_open(site_.c_str()) | ORK_auto_login(), ORK_ok);
    tag type = NULLTAG;
    tag dataset = NULLTAG;
    tag file = NULLTAG;
    ASSERT_EQ(FILE_import_file(folder_.write("text.txt", state).c_str(), nullptr, SS_TEXT, &file,
                               nullptr),
              ORK_ok);
    ASSERT_EQ(OBJ_save(file) | DSET_find_datasettype("Note", &type), ORK_ok);
    ASSERT_EQ(DSET_create_dataset_with_id(type, state.c_str(), "", nullptr, nullptr, &dataset) |
                  DSET_add_dataset_named_ref(dataset, "Text", DSET_PART_OF, file) |
                  OBJ_save(dataset) | ORK_exit_module(1),
              ORK_ok)
        << test::last_error();
    ASSERT_EQ(ork_host_snapshot(state.c_str(), 1), ORK_ok) << test::last_error();
    ork_host_close();
  }
  const auto objects_of = [](const std::string& site) {
    EXPECT_EQ(ork_host_open(site.c_str()), ORK_ok) << test::last_error();
    const Json objects = described("objects");
    ork_host_close();
    return objects;
  };
  const std::array<Json, 2> objects = {objects_of(states[0]), objects_of(states[1])};
  int copies = 0;
  std::array<int, 2> restored{};
  for (int number = 0; number < test::kills(); ++number) {
    const std::string copy = folder_.path("copy.db");
    auto snapshot = start({"snapshot", site_, copy});
    wait_a_while();
    snapshot->kill();
    if (std::filesystem::exists(copy)) {
      ++copies;
      ASSERT_EQ(findings(copy), "") << "kill " << number;
      ASSERT_EQ(ork_host_remove(copy.c_str()), ORK_ok) << test::last_error();
    }
    auto restore = start({"restore", site_, states[static_cast<std::size_t>(number) % 2]});
    wait_a_while();
    restore->kill();
    const Json now = objects_of(site_);  // and tidies up
    const std::size_t state = now == objects[0] ? 0 : 1;
    ASSERT_EQ(now, objects[state]) << "kill " << number;
    ++restored[state];
    ASSERT_EQ(findings(site_), "") << "kill " << number;
  }
  ASSERT_FALSE(std::filesystem::exists(site_ + ".processes"));
  std::printf("%d copies made, %d and %d times restored\n", copies, restored[0], restored[1]);
}
