// What happens between processes that use one file, between the halves of a fork, and between
// threads.

#if !defined(_WIN32)
#include <sys/wait.h>
#include <unistd.h>
#endif

#include <filesystem>
#include <memory>
#include <thread>

#include "child_process.h"
#include "demo_site.h"
#include "ork/file.h"
#include "ork/item.h"
#include "ork/obj.h"
#include "ork/store.h"
#include "ork/wso.h"
#include "store.h"
#include "tests/support/temporary_folder.h"

#if defined(_WIN32)
#include "tests/support/on_windows.h"
#endif

using test::ask;
using test::last_error;
using testing::AllOf;
using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

namespace fs = std::filesystem;

/** A site in a file, and a session on it. */
class SharedSite : public test::DemoSite {
 protected:
  void SetUp() override {
    open();
    seed(test::demo_seed);
    log_in();
  }
  void TearDown() override {
    open();  // whoever opens it clears what the killed have left
    ork_host_close();
    EXPECT_FALSE(fs::exists(path_ + ".processes"));
    host::Database database(path_);
    host::Query check(database, "PRAGMA integrity_check");
    ASSERT_TRUE(check.next());
    EXPECT_EQ(check.text(0), "ok");
  }

  void open() const { ASSERT_EQ(ork_host_open(path_.c_str()), ORK_ok) << last_error(); }

  static tag new_item(const char* id) {
    tag item = NULLTAG;
    tag revision = NULLTAG;
    EXPECT_EQ(ITEM_create_item(id, "New", nullptr, "A", &item, &revision), ORK_ok) << last_error();
    EXPECT_EQ(OBJ_save(item) | OBJ_save(revision), ORK_ok) << last_error();
    return item;
  }

  static std::vector<tag> all_objects() { return test::list(WSO_find, "*"); }

  test::ChildProcess holder_of(tag object) const {
    return test::ChildProcess({PARTNER_PROGRAM, "hold", path_, std::to_string(object)});
  }

  test::TemporaryFolder folder_;
  std::string path_ = folder_.path("site.db");
};

/** A second user of the file, as another process would be. */
struct OtherUser {
  explicit OtherUser(const std::string& path)
      : database(path), presence(path), store(database, presence) {}
  ~OtherUser() {
    store.release_locks();
    presence.leave();
  }

  host::Database database;
  host::Presence presence;
  host::Store store;
};

}  // namespace

TEST_F(SharedSite, IsWrittenByTwoAtOnce) {
  constexpr int count = 100;
  test::ChildProcess partner(
      {PARTNER_PROGRAM, "preferences", path_, "Partner_", std::to_string(count)});
  for (int i = 0; i < count; ++i) {
    const char* value = "set";
    ASSERT_EQ(ork_host_set_preference(("Own_" + std::to_string(i)).c_str(), 1, &value), ORK_ok);
  }
  EXPECT_EQ(partner.read_line(), "done");
  EXPECT_EQ(partner.wait(), 0);
  const std::string preferences = test::describe("preferences");
  for (int i = 0; i < count; ++i) {
    EXPECT_THAT(preferences, HasSubstr("\"Own_" + std::to_string(i) + "\""));
    EXPECT_THAT(preferences, HasSubstr("\"Partner_" + std::to_string(i) + "\""));
  }
}

TEST(NewSite, IsOpenedByManyAtOnce) {
  for (int round = 0; round < 6; ++round) {
    const test::TemporaryFolder folder;
    std::vector<std::unique_ptr<test::ChildProcess>> openers;
    for (int i = 0; i < 6; ++i) {
      openers.push_back(std::make_unique<test::ChildProcess>(
          std::vector<std::string>{PARTNER_PROGRAM, "open", folder.path("site.db")}));
      EXPECT_EQ(openers.back()->read_line(), "ready");
    }
    for (const auto& opener : openers) {
      opener->write("go\n");
    }
    for (const auto& opener : openers) {
      EXPECT_EQ(opener->wait(), 0) << "round " << round;
    }
  }
}

TEST_F(SharedSite, WaitsForNobodyWhereItHasNothingToWrite) {
  const tag item = find("000100");
  ork_host_close();
  setenv("ORK_HOST_WAIT", "0", 1);
  {
    host::Database other(path_);
    const host::Transaction writing(other);
    open();
    log_in();
    EXPECT_EQ(OBJ_load(item), ORK_ok) << last_error();
    EXPECT_THAT(test::describe(nullptr), HasSubstr("Bracket"));
    EXPECT_EQ(OBJ_lock(item), ORK_site_busy);
    EXPECT_THAT(last_error(), HasSubstr("Another process is changing the site: " + path_));
    EXPECT_EQ(ORK_exit_module(1), ORK_ok) << last_error();
    log_in();
    ork_host_close();
  }
  open();
  log_in();
  EXPECT_EQ(OBJ_lock(item), ORK_ok) << last_error();
  {
    host::Database other(path_);
    const host::Transaction writing(other);
    ork_host_close();  // the lock ends all the same
  }
  unsetenv("ORK_HOST_WAIT");
  OtherUser other(path_);
  EXPECT_NO_THROW(other.store.lock(item));
}

TEST_F(SharedSite, IsOneStateInAViewWhateverOthersDelete) {
  const tag deleted = find("000100", "B");
  ASSERT_EQ(OBJ_unload(deleted), ORK_ok);
  const std::vector<tag> before = all_objects();
  ASSERT_EQ(ork_host_begin_view(), ORK_ok) << last_error();
  EXPECT_EQ(ork_host_begin_view(), ORK_invalid_argument);
  EXPECT_EQ(all_objects(), before);
  {
    OtherUser other(path_);
    other.store.lock(deleted);
    other.store.remove(deleted);
  }
  EXPECT_EQ(all_objects(), before);
  for (const tag object : before) {
    EXPECT_EQ(OBJ_load(object), ORK_ok) << last_error();
  }
  EXPECT_EQ(OBJ_lock(before[0]), ORK_invalid_argument) << "nothing is changed meanwhile";
  ASSERT_EQ(ork_host_end_view(), ORK_ok);
  EXPECT_THAT(all_objects(), Not(Contains(deleted)));
  EXPECT_EQ(OBJ_lock(before[0]), ORK_ok) << last_error();
}

TEST_F(SharedSite, TakesHeldChangesAsAWholeOrNotAtAll) {
  const std::string text = folder_.write("text", "contents");
  const std::vector<tag> before = all_objects();
  tag first = NULLTAG;
  for (const bool keep : {false, true}) {
    ASSERT_EQ(ork_host_begin_change(), ORK_ok) << last_error();
    tag file = NULLTAG;
    ASSERT_EQ(FILE_import_file(text.c_str(), nullptr, SS_TEXT, &file, nullptr), ORK_ok);
    ASSERT_EQ(OBJ_save(file), ORK_ok) << last_error();
    const tag item = new_item("000300");
    tag twin = NULLTAG;
    tag revision = NULLTAG;
    EXPECT_EQ(ITEM_create_item("000300", "Twin", nullptr, "A", &twin, &revision), ORK_ok);
    EXPECT_EQ(OBJ_save(twin), STORE_key_taken) << "what is refused spoils nothing else";
    EXPECT_EQ(OBJ_delete(twin) | OBJ_delete(revision), ORK_ok) << last_error();
    EXPECT_NE(item, first) << "a number that was used means one thing";
    first = item;
    {
      OtherUser other(path_);
      EXPECT_THAT(other.store.find("Item", {{"item_id", std::string("000300")}}), IsEmpty());
    }
    ASSERT_EQ(ork_host_end_change(keep), ORK_ok) << last_error();
    EXPECT_EQ(all_objects().size(), before.size() + (keep ? 2 : 0));
    EXPECT_EQ(ask(STORE_is_tag_valid, item), keep);
    ASSERT_EQ(ORK_exit_module(1), ORK_ok) << last_error();
    EXPECT_EQ(fs::is_empty(path_ + ".vault"), !keep) << "an import that was undone leaves nothing";
    log_in();
  }
}

TEST_F(SharedSite, KeepsALockAsLongAsItsProcessLivesAndNoLonger) {
  const tag item = find("000100", "B");
  for (const bool is_killed : {true, false}) {
    test::ChildProcess holder = holder_of(item);
    ASSERT_EQ(holder.read_line(), "held");
    {
      // A machine that has another name since, or another process with its number: neither counts.
      host::Database database(path_);
      database.execute("UPDATE lock SET node = 'elsewhere'");
    }
    EXPECT_EQ(OBJ_lock(item), STORE_locked_by_other);
    EXPECT_THAT(last_error(), HasSubstr("by user partner on elsewhere since "));
    EXPECT_EQ(OBJ_set_value_string(item, "object_name", "x"), STORE_not_locked);
    EXPECT_THAT(last_error(), HasSubstr("by user partner on elsewhere since "))
        << "also for those that ask for the change alone";
    if (is_killed) {
      holder.kill();
    } else {
      EXPECT_EQ(ork_host_release_lock(item), ORK_ok) << "taken away from one that lives";
    }
    EXPECT_EQ(OBJ_lock(item), ORK_ok) << last_error();
    EXPECT_EQ(OBJ_refresh(item, 0), ORK_ok);
  }

  // Whose lock is taken away saves nothing.
  ASSERT_EQ(OBJ_lock(item) | OBJ_set_value_string(item, "object_name", "x"), ORK_ok);
  {
    OtherUser other(path_);
    ASSERT_EQ(ork_host_release_lock(item), ORK_ok);
    other.store.lock(item);
    EXPECT_EQ(OBJ_save(item), STORE_not_locked);
    EXPECT_THAT(last_error(), HasSubstr("taken away"));
    EXPECT_EQ(OBJ_refresh(item, 0), ORK_ok);
    EXPECT_TRUE(other.store.lock_holder(item)) << "nor does it give back that of another one";
  }
}

#if !defined(_WIN32)

TEST_F(SharedSite, IsNoBusinessOfAForkedProcess) {
  const tag item = find("000100");
  ASSERT_EQ(OBJ_lock(item) | OBJ_set_value_string(item, "object_name", "Holder"), ORK_ok);
  tag file = NULLTAG;
  ASSERT_EQ(FILE_import_file(folder_.write("a", "a").c_str(), nullptr, SS_TEXT, &file, nullptr),
            ORK_ok);
  const pid_t child = fork();
  if (child == 0) {
    int refused = 0;
    for (const int status : {OBJ_save(item), OBJ_load(item), ORK_exit_module(1),
                             ork_host_seed("{}"), ork_host_open(path_.c_str())}) {
      refused += status == ORK_site_not_available ? 1 : 0;
    }
    std::exit(refused);  // with all that programs do at their ends
  }
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_EQ(WEXITSTATUS(status), 5);
  EXPECT_EQ(holder_of(item).wait(), 1) << "the lock is as it was";
  EXPECT_EQ(OBJ_save(item) | OBJ_save(file), ORK_ok) << last_error();
  EXPECT_EQ(FILE_export_file(file, folder_.path("b").c_str()), ORK_ok) << last_error();
}

#endif

TEST_F(SharedSite, RefusesThreadsWhoseSessionItIsNot) {
  const tag item = find("000100");
  ASSERT_EQ(OBJ_lock(item), ORK_ok);
  const std::size_t blocks = ork_host_block_count();
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      for (int round = 0; round < 200; ++round) {
        const int* numbers = nullptr;
        const char** texts = nullptr;
        int count = 0;
        for (const int status :
             {OBJ_set_value_string(item, "object_name", "theirs"), OBJ_save(item), OBJ_delete(item),
              ORK_exit_module(1), ORK_auto_login(), ork_host_seed("{}"), ork_host_open(":memory:"),
              ERR_get_errors(&count, &numbers, &numbers, &texts)}) {
          EXPECT_EQ(status, ORK_wrong_thread);
        }
        EXPECT_EQ(ask(ERR_get_error_text, int{ORK_wrong_thread}),
                  "The platform is used by another thread");
        ork_host_close();
        MEM_free(MEM_alloc(100));
      }
    });
  }
  for (int round = 0; round < 200; ++round) {
    EXPECT_EQ(OBJ_set_value_string(item, "object_name", std::to_string(round).c_str()), ORK_ok);
    EXPECT_EQ(OBJ_save(item), ORK_ok) << last_error();
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(ask(OBJ_get_value_string, item, "object_name"), "199");
  EXPECT_EQ(ork_host_block_count(), blocks);

  // Without a site the threads come after one another, or are refused; one of them opens it.
  ork_host_close();
  threads.clear();
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([this] {
      for (int round = 0; round < 10; ++round) {
        const int status = ork_host_open(path_.c_str());
        EXPECT_TRUE(status == ORK_ok || status == ORK_wrong_thread) << status;
        if (status == ORK_ok) {
          EXPECT_EQ(ORK_auto_login(), ORK_ok);
          EXPECT_EQ(ORK_exit_module(1), ORK_ok);
          ork_host_close();
        }
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  open();
}
