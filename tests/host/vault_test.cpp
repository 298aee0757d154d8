// Files in the vault: their contents come and go whole, and are what was imported.

#if !defined(_WIN32)
#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>
#endif

#include "child_process.h"
#include "objects_site.h"

using testing::SizeIs;

namespace {

namespace fs = std::filesystem;

#if defined(_WIN32)
// No devices, no points at the end, no control characters.
constexpr const char* odd_names[] = {"zero", "empty", " a bü.prt"};
#else
constexpr const char* odd_names[] = {"nul", "empty.", " a b\nü.prt"};
#endif

tag import_file(const std::string& path, int type = SS_TEXT, const char* name = nullptr) {
  tag file = NULLTAG;
  EXPECT_EQ(FILE_import_file(path.c_str(), name, type, &file, nullptr), ORK_ok) << last_error();
  return file;
}

std::string original_name(tag file) {
  return test::ask(FILE_get_original_file_name, file);
}

int export_to(tag file, const std::string& path) {
  return FILE_export_file(file, path.c_str());
}

/** A site in a folder, with its vault, and a session. */
class Vault : public test::DemoSite {
 protected:
  void SetUp() override {
    open();
    seed(test::demo_seed);
    log_in();
  }
  void TearDown() override { ork_host_close(); }

  void open() { ASSERT_EQ(ork_host_open(site_.c_str()), ORK_ok) << last_error(); }

  tag save(const std::string& contents, const std::string& name = "part.txt") const {
    const tag file = import_file(folder_.write(name, contents));
    EXPECT_EQ(OBJ_save(file), ORK_ok) << last_error();
    return file;
  }

  /** Paths of what the vault holds. */
  std::vector<fs::path> vault() const {
    std::vector<fs::path> paths;
    std::error_code none;
    for (const auto& entry : fs::recursive_directory_iterator(site_ + ".vault", none)) {
      if (entry.is_regular_file()) {
        paths.push_back(entry.path());
      }
    }
    return paths;
  }

  fs::path contents_of_only_file() const {
    for (const fs::path& path : vault()) {
      if (path.parent_path() == site_ + ".vault") {
        return path;
      }
    }
    return {};
  }

  /** Names in the folder that files are exported to. */
  std::vector<std::string> exported() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(target_.path(""))) {
      names.push_back(entry.path().filename().string());
    }
    return names;
  }

  test::TemporaryFolder folder_;
  test::TemporaryFolder target_;
  std::string site_ = folder_.path("site.db");
};

}  // namespace

TEST_F(Vault, FilesComeBackByteForByteUnderTheirNames) {
  using std::string_literals::operator""s;
  const std::pair<std::string, std::string> files[] = {
      {"dos.txt", "one\r\ntwo\r\n\x1a"},
      {odd_names[0], "a\0b"s},
      {"latin1.bin", "\xe4\xff\xfe no UTF-8"},
      {odd_names[1], ""},
      {odd_names[2], std::string(3 << 20, 'x') + "y"}};
  for (const auto& [name, contents] : files) {
    const tag file = save(contents, name);
    const std::string path = target_.path(name);
    EXPECT_EQ(original_name(file), name);
    EXPECT_EQ(OBJ_unload(file), ORK_ok);
    ASSERT_EQ(FILE_export_file(file, path.c_str()), ORK_ok) << last_error();
    EXPECT_EQ(target_.read_bytes(name), contents) << name;
    int64_t size = -1;
    int type = -1;
    char digest[FILE_digest_size + 1];
    EXPECT_EQ(FILE_describe(file, &size, &type, digest), ORK_ok);
    EXPECT_EQ(size, static_cast<int64_t>(contents.size()));
    EXPECT_EQ(type, SS_TEXT);
    if (contents.empty()) {
      EXPECT_STREQ(digest, "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
    }
  }
  ork_host_close();
  EXPECT_THAT(vault(), SizeIs(std::size(files))) << "and nothing else";
  EXPECT_FALSE(fs::exists(site_ + ".processes"));
}

TEST_F(Vault, OriginalNamesAreCutAtTheirLastSeparatorAndBounded) {
  fs::create_directory(folder_.path("temp"));
  const std::string path = folder_.write("temp\\a b.prt", "");
  EXPECT_EQ(original_name(import_file(path)), "a b.prt");
  EXPECT_EQ(original_name(import_file(path, 0, "../../etc/passwd")), "passwd");
  const tag file = import_file(path, SS_BINARY, std::string(255, 'n').c_str());
  EXPECT_EQ(original_name(file), std::string(255, 'n'));
  EXPECT_EQ(FILE_set_original_file_name(file, "x/y\\z.prt"), ORK_ok);
  EXPECT_EQ(original_name(file), "z.prt");
  EXPECT_EQ(FILE_set_original_file_name(file, std::string(256, 'n').c_str()), STORE_value_too_long);
  ASSERT_EQ(OBJ_save(file) | OBJ_refresh(file, 0), ORK_ok);
  EXPECT_EQ(FILE_set_original_file_name(file, "late"), STORE_not_locked);

  EXPECT_EQ(test::refusal(FILE_import_file, path.c_str(), std::string(256, 'n').c_str(), 0),
            STORE_value_too_long);
  EXPECT_EQ(test::refusal(FILE_import_file, path.c_str(), nullptr, 17), ORK_invalid_argument);
  EXPECT_EQ(FILE_export_file(find("000100"), target_.path("x").c_str()), FILE_not_a_file);
}

TEST_F(Vault, OnlyFilesThatCanBeReadAreImported) {
#if !defined(_WIN32)
  ASSERT_EQ(mkfifo(folder_.path("pipe").c_str(), 0600), 0);
  fs::create_symlink("nowhere", folder_.path("dangling"));
#endif
  for (const char* name : {"missing.txt", "pipe", "dangling", "", "missing/x.txt"}) {
    tag file = 1;
    EXPECT_EQ(FILE_import_file(folder_.path(name).c_str(), nullptr, SS_TEXT, &file, nullptr),
              FILE_cannot_read);
    EXPECT_EQ(file, NULLTAG);
    EXPECT_THAT(last_error(), HasSubstr(folder_.path(name) + ": "));
  }
  EXPECT_THAT(vault(), IsEmpty());
  EXPECT_EQ(ork_host_seed("{}"), ORK_ok) << "no object waits to be saved";
}

TEST_F(Vault, ADatasetAndItsFilesAreDeletedTogetherOrNotAtAll) {
  const tag file = save("part");
  const tag dataset = ask(DSET_create_dataset_with_id, ask(DSET_find_datasettype, "Text"),
                          "notes of", nullptr, "", nullptr);
  ASSERT_EQ(DSET_add_dataset_named_ref(dataset, "Text", DSET_PART_OF, file) | OBJ_save(dataset),
            ORK_ok);
  ASSERT_EQ(OBJ_refresh(file, 0), ORK_ok);
  const auto is_whole = [&] {
    return ask(STORE_is_tag_valid, dataset) && ask(STORE_is_tag_valid, file) &&
           !contents_of_only_file().empty();
  };
  {
    test::ChildProcess other({PARTNER_PROGRAM, "hold", site_, std::to_string(file)});
    ASSERT_EQ(other.read_line(), "held");
    EXPECT_EQ(OBJ_delete(dataset), STORE_locked_by_other);
    EXPECT_THAT(last_error(), HasSubstr("object " + std::to_string(file)));
    EXPECT_TRUE(is_whole());
  }
  EXPECT_EQ(OBJ_refresh(dataset, 0), ORK_ok);
  const char* rule = R"({"deny": ["DELETE"], "to": "world", "on": {"class": "VeloFile"}})";
  seed(std::string(R"({"access_rules": [)") + rule + "]}");
  ASSERT_EQ(OBJ_lock(dataset), ORK_ok);
  EXPECT_EQ(OBJ_delete(dataset), ACCESS_denied);
  EXPECT_TRUE(is_whole());
  ASSERT_EQ(OBJ_refresh(dataset, 0), ORK_ok);
  seed(R"({"access_rules": []})");
  EXPECT_EQ(OBJ_lock(dataset) | OBJ_delete(dataset), ORK_ok) << last_error();
  EXPECT_FALSE(ask(STORE_is_tag_valid, file));
  EXPECT_TRUE(contents_of_only_file().empty());
}

TEST_F(Vault, ExportsOverwriteNothing) {
  const tag file = save(std::string(3 << 20, 'x'));
  const std::string taken = target_.write("taken", "mine");
  EXPECT_EQ(export_to(file, taken), FILE_exists);
  EXPECT_EQ(last_error(), "The file exists and is not overwritten: " + taken);
  EXPECT_EQ(target_.read("taken"), "mine");
  EXPECT_EQ(export_to(file, target_.path("")), FILE_exists);
  EXPECT_EQ(export_to(file, target_.path("missing/x")), FILE_cannot_open);
  EXPECT_EQ(export_to(file, ""), FILE_cannot_open);
  EXPECT_THAT(exported(), testing::ElementsAre("taken"));
}

#if !defined(_WIN32)

TEST_F(Vault, ExportsReplaceNoLinkAndLeaveNoHalvesOnAFullDisk) {
  const tag file = save(std::string(3 << 20, 'x'));
  fs::create_symlink("nowhere", target_.path("dangling"));
  EXPECT_EQ(export_to(file, target_.path("dangling")), FILE_exists);

  // A target that takes no more than a part.
  std::signal(SIGXFSZ, SIG_IGN);
  rlimit limit{};
  getrlimit(RLIMIT_FSIZE, &limit);
  const rlim_t usual = std::exchange(limit.rlim_cur, rlim_t{2 << 20});
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
  EXPECT_EQ(export_to(file, target_.path("big")), FILE_cannot_write);
  EXPECT_THAT(last_error(), HasSubstr(target_.path("big") + ": File too large"));
  tag none = 1;
  EXPECT_EQ(FILE_import_file(folder_.path("part.txt").c_str(), nullptr, 0, &none, nullptr),
            FILE_cannot_write);
  limit.rlim_cur = usual;
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
  EXPECT_THAT(exported(), testing::ElementsAre("dangling"));
  EXPECT_EQ(export_to(file, target_.path("big")), ORK_ok);
  struct stat status {};
  ASSERT_EQ(stat(target_.path("big").c_str(), &status), 0);
  EXPECT_NE(status.st_mode & S_IWUSR, 0U) << "what the vault keeps read-only is the user's here";
}

#endif

TEST_F(Vault, DamagedContentsAreNotHandedOut) {
  const tag file = save("the truth");
  const fs::path contents = contents_of_only_file();
  const std::string which = "part.txt (object " + std::to_string(file) + ")";
  const auto export_fails = [&](const std::string& why) {
    EXPECT_EQ(export_to(file, target_.path("x")), FILE_damaged);
    EXPECT_THAT(last_error(), testing::AllOf(HasSubstr(which), HasSubstr(why)));
    EXPECT_THAT(exported(), IsEmpty());
  };
  fs::permissions(contents, fs::perms::owner_write, fs::perm_options::add);
  for (const char* damage : {"the trutH", "the trut", "the truth."}) {
    std::ofstream(contents, std::ios::binary) << damage;
    export_fails("not what was imported");
  }
  std::ofstream(contents, std::ios::binary) << "the truth";
  EXPECT_EQ(export_to(file, target_.path("y")), ORK_ok) << last_error();
  fs::remove(target_.path("y"));
  fs::remove(contents);
  export_fails("No such file");

  // The store says where contents are; not what others have put there instead.
  ASSERT_EQ(OBJ_lock(file), ORK_ok);
  ASSERT_EQ(OBJ_set_value_string(file, "contents", "../site.db"), ORK_ok);
  export_fails("no name of contents");
  EXPECT_EQ(OBJ_delete(file), ORK_ok);
  EXPECT_TRUE(fs::exists(site_));
}

TEST_F(Vault, TheProgressFunctionSeesAndEndsCopies) {
  struct Seen {
    std::vector<int64_t> done;
    int64_t total = -1;
    int64_t end_at = -1;
  } seen;
  const auto see = [](int64_t done, int64_t total, void* context) -> logical {
    Seen& all = *static_cast<Seen*>(context);
    all.done.push_back(done);
    all.total = total;
    return done != all.end_at;
  };
  constexpr int64_t mebibyte = 1 << 20;
  const std::string path = folder_.write("big", std::string(2 * mebibyte + 1, 'x'));
  ASSERT_EQ(FILE_set_progress(see, &seen), ORK_ok);
  const tag file = import_file(path);
  EXPECT_THAT(seen.done, testing::ElementsAre(0, mebibyte, 2 * mebibyte, 2 * mebibyte + 1));
  EXPECT_EQ(seen.total, 2 * mebibyte + 1);
  seen.end_at = mebibyte;
  EXPECT_EQ(export_to(file, target_.path("x")), FILE_cancelled);
  EXPECT_THAT(exported(), IsEmpty());
  tag none = 1;
  EXPECT_EQ(FILE_import_file(path.c_str(), nullptr, 0, &none, nullptr), FILE_cancelled);
  EXPECT_EQ(none, NULLTAG);
  ASSERT_EQ(FILE_set_progress(nullptr, nullptr), ORK_ok);
  EXPECT_EQ(export_to(file, target_.path("x")), ORK_ok);
}

TEST_F(Vault, ContentsGoWithTheirFiles) {
  const tag unsaved = import_file(folder_.write("a", "a"));
  EXPECT_EQ(export_to(unsaved, target_.path("a")), ORK_ok) << "its maker sees it";
  const tag kept = save("kept");
  const tag deleted = save("deleted");
  ASSERT_EQ(OBJ_delete(deleted), ORK_ok) << last_error();
  EXPECT_THAT(vault(), SizeIs(2));
  ASSERT_EQ(ORK_exit_module(0), ORK_ok);
  EXPECT_THAT(vault(), SizeIs(1));

  // A deletion that fails takes nothing away, and neither does a refused seed leave anything.
  log_in();
  EXPECT_EQ(OBJ_delete(kept), STORE_not_locked);
  ork_host_fail_call("OBJ_save", 1, ORK_internal_error);
  const tag failed = import_file(folder_.path("a"));
  EXPECT_EQ(OBJ_save(failed), ORK_internal_error);
  ork_host_close();
  EXPECT_THAT(vault(), SizeIs(1));
  open();
  log_in();
  EXPECT_EQ(export_to(kept, target_.path("kept")), ORK_ok) << last_error();
}

TEST_F(Vault, WhatIsUnderWayIsNotedAndNothingElse) {
  const tag first = save("saved");
  const tag unsaved = import_file(folder_.write("a", "a"));
  for (int i = 0; i < 200; ++i) {
    const tag file = save("saved");
    ASSERT_EQ(OBJ_unload(file), ORK_ok);
  }
  const auto processes = fs::directory_iterator(site_ + ".processes");
  const std::string notes =
      folder_.read("site.db.processes/" + processes->path().filename().string());
  EXPECT_LT(notes.size(), 100 * 33U);
  EXPECT_THAT(notes, HasSubstr(test::value_of(unsaved, "contents") + "\n"));
  EXPECT_THAT(notes, Not(HasSubstr(test::value_of(first, "contents"))));
}

TEST_F(Vault, OtherProcessesImportsStandUntilTheyEnd) {
  test::ChildProcess other({PARTNER_PROGRAM, "import", site_, folder_.path("theirs.txt")});
  const tag saved = static_cast<tag>(std::stoul(other.read_line()));
  EXPECT_EQ(export_to(saved, target_.path("saved")), ORK_ok) << last_error();
  EXPECT_EQ(target_.read("saved"), "theirs");
  open();
  EXPECT_THAT(vault(), SizeIs(2)) << "saved, and not saved yet";
  other.kill();
  open();
  EXPECT_THAT(vault(), SizeIs(1)) << "what was never saved is swept";
  log_in();
  EXPECT_EQ(export_to(saved, target_.path("again")), ORK_ok) << last_error();
}

TEST(VaultInMemory, GoesWithItsSite) {
  const test::TemporaryFolder folder;
  for (const char* variable : {"TMPDIR", "TMP"}) {
    setenv(variable, folder.path("").c_str(), 1);
  }
  ASSERT_EQ(ork_host_open(":memory:") | ork_host_seed(test::demo_seed) | ORK_auto_login(), ORK_ok);
  EXPECT_TRUE(fs::is_empty(folder.path(""))) << "a site without files needs no folder";
  const tag file = import_file(folder.write("a.txt", "a"));
  ASSERT_EQ(OBJ_save(file), ORK_ok);
  EXPECT_EQ(FILE_export_file(file, folder.path("b.txt").c_str()), ORK_ok) << last_error();
  ork_host_close();
  fs::remove(folder.path("a.txt"));
  fs::remove(folder.path("b.txt"));
  EXPECT_TRUE(fs::is_empty(folder.path("")));
}

TEST_F(Vault, BigFilesTakeNoMemory) {
  const std::string path = folder_.write("big.bin", "");
  fs::resize_file(path, 64 << 20);
  save("small");
  const std::size_t before = test::peak_memory();
  const tag file = import_file(path, SS_BINARY);
  ASSERT_EQ(export_to(file, target_.path("big.bin")), ORK_ok) << last_error();
  EXPECT_LT(test::peak_memory() - before, std::size_t{16} << 20);
  EXPECT_EQ(fs::file_size(target_.path("big.bin")), 64U << 20);
}
