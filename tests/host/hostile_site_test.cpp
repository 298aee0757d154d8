// Sites and vaults that somebody else has filled: what is odd is refused and named, and nothing
// leads out of the site's own files.

#include <filesystem>

#include "child_process.h"
#include "data_site.h"
#include "tests/support/site_damage.h"

#if !defined(_WIN32)
#include <sys/stat.h>
#endif

namespace {

namespace fs = std::filesystem;
using test::describe;
using test::last_error;
using testing::HasSubstr;

constexpr const char* structure_seed = R"({
  "note_types": ["Torque"],
  "structures": [{"item": "000200", "revision": "A", "lines": [
    {"item": "000100", "quantity": 2, "sequence": 10, "notes": {"Torque": "9 Nm"}}]}],
  "process_templates": [{"name": "Check", "tasks": [{"name": "First"}, {"name": "Second"}]}]
})";

class HostileSite : public testing::Test {
 protected:
  HostileSite() {
    folder_.write("a.prt", "part a");
    const std::string seed = folder_.write("seed.json", test::data_seed);
    EXPECT_EQ(ork_host_open(site_.c_str()) | ork_host_seed(test::demo_seed) |
                  ork_host_seed(test::objects_seed) | ork_host_seed_file(seed.c_str()) |
                  ork_host_seed(structure_seed),
              ORK_ok)
        << last_error();
    ork_host_close();
    fs::copy_file(site_, folder_.path("whole.db"));
  }
  ~HostileSite() override { ork_host_close(); }

  /** Changes the whole site with a statement and opens it. */
  int open_changed(const std::string& statement) {
    ork_host_close();
    fs::remove(site_);
    fs::copy_file(folder_.path("whole.db"), site_);
    test::RowDamage(site_).execute(statement);
    return ork_host_open(site_.c_str());
  }

  /** A statement's condition: an attribute's values, of the first object of a class that has any.
   */
  static std::string values_of(const std::string& class_name, const std::string& attribute) {
    const std::string id = "(SELECT a.id FROM attribute a WHERE a.name = '" + attribute + "')";
    return " WHERE attribute = " + id +
           " AND instance = (SELECT min(v.instance) FROM value v JOIN instance i ON i.tag = "
           "v.instance JOIN class c ON c.id = i.class WHERE v.attribute = " +
           id + " AND c.name = '" + class_name + "')";
  }

  const test::TemporaryFolder folder_;
  const std::string site_ = folder_.path("site.db");
};

}  // namespace

TEST_F(HostileSite, WhatIsOddIsRefusedWithObjectAndAttribute) {
  const struct {
    const char* class_name;
    const char* attribute;
    const char* change; /**< of the values of that attribute of one object; "" takes them away */
    const char* section;
    const char* text;
  } cases[] = {
      {"Item", "item_id", "content = 7", "objects", "item_id: expected a text, found an integer"},
      {"Item", "object_name", "content = hex(zeroblob(65))", "objects",
       "object_name: the text has 130 bytes, of at most 128"},
      {"Item", "object_name", "content = 'a' || char(0)", "objects",
       "object_name: the text has a null"},
      {"Item", "creation_date", "content = 'today'", "objects", "creation_date: there is no date"},
      {"Item", "owning_user", "content = 99999", "objects",
       "owning_user: it refers to object 99999, which is not there"},
      {"Item", "owning_user", "content = -1", "objects",
       "owning_user: the number -1 is not one from"},
      {"User", "is_administrator", "content = 2", "users", "is_administrator: the number 2"},
      {"Mass", "weight", "content = 9e999", "objects", "weight: the number is not finite"},
      {"Item", "item_id", "position = 1", "objects", "item_id: expected value 0, found value 1"},
      {"Dataset", "reference_types", "", "objects",
       "reference_types: it has 0 values, and reference_names has 3"},
      {"PSBOMViewRevision", "occurrence_items", "", "structures",
       "occurrence_items: it has 0 values"},
      {"PSBOMViewRevision", "note_texts", "", "structures", "note_texts: it has 0 values"},
      {"ProcessTemplate", "root_template", "", "process_templates",
       "root_template: it refers to nothing"},
      {"TaskTemplate", "sub_tasks", "content = instance", "process_templates",
       "is a part of one tree of tasks twice"},
      {"VeloFile", "byte_size", "content = '6 '", "objects", "byte_size: \"6 \" is no size"},
  };
  for (const auto& [class_name, attribute, change, section, text] : cases) {
    SCOPED_TRACE(text);
    const std::string where = values_of(class_name, attribute);
    const std::string statement = *change != '\0'
                                      ? std::string("UPDATE value SET ") + change + where
                                      : "DELETE FROM value" + where;
    ASSERT_EQ(open_changed(statement), ORK_ok) << last_error();
    char* json = nullptr;
    EXPECT_EQ(ork_host_describe(section, &json), ORK_site_damaged);
    EXPECT_THAT(last_error(), testing::AllOf(HasSubstr("object "), HasSubstr(text)));
  }
}

TEST_F(HostileSite, AFileThatIsNoSiteIsNotOpened) {
  const std::pair<const char*, const char*> cases[] = {
    {"CREATE TRIGGER t AFTER INSERT ON lock BEGIN DELETE FROM value; END", "a trigger \"t\""},
    {"CREATE VIEW v AS SELECT 1", "a view \"v\""},
    {"DROP TABLE lock; CREATE VIEW lock AS SELECT 1 AS instance, 2 AS holder", "a view \"lock\""},
#if !defined(_WIN32)  // where SQLite comes without them
    {"CREATE VIRTUAL TABLE f USING fts5(a)", "a table \"f\""},
#endif
    {"DROP TABLE preference; CREATE TABLE preference(name, position, value)",
     "table \"preference\" is not a site's"},
    {"UPDATE class SET parent = 4000 WHERE name = 'Item'", "class Item: there is no class 4000"},
    {"UPDATE class SET parent = NULL WHERE name = 'Item'", "class Item is below \"\""},
    {"UPDATE attribute SET kind = 'integer' WHERE name = 'item_id'",
     "class Item: its attribute item_id has another kind"}
  };
  for (const auto& [statement, text] : cases) {
    EXPECT_EQ(open_changed(statement), ORK_site_damaged) << statement;
    EXPECT_THAT(last_error(), HasSubstr(text));
  }
}

TEST_F(HostileSite, CirclesEnd) {
  ASSERT_EQ(open_changed("UPDATE value SET content = (SELECT instance FROM value WHERE content = "
                         "'Turned') WHERE attribute = (SELECT id FROM attribute WHERE name = "
                         "'parent_type') AND instance = (SELECT instance FROM value WHERE content "
                         "= 'Part' AND attribute = (SELECT id FROM attribute WHERE name = "
                         "'type_name'))"),
            ORK_ok);
  ASSERT_EQ(ORK_auto_login(), ORK_ok);
  logical verdict = 0;
  EXPECT_EQ(TYPE_is_type_of(test::type_named("Turned"), test::type_named("Dataset"), &verdict),
            ORK_site_damaged);
  EXPECT_THAT(last_error(), HasSubstr("parent_type: types are above one another in a circle"));
}

TEST_F(HostileSite, HashesCostNoMoreThanASiteCanChoose) {
  for (const char* hash : {"scrypt$1073741824$1$00$00", "scrypt$2$99$00$00", "scrypt$3$1$00$00",
                           "scrypt$2$1$00$", "md5$2$1$00$00"}) {
    ASSERT_EQ(open_changed(std::string("UPDATE password SET hash = '") + hash + "'"), ORK_ok);
    EXPECT_EQ(ORK_init_module("wagner", "let me in", nullptr), ORK_site_not_available) << hash;
    EXPECT_THAT(last_error(), HasSubstr("is damaged"));
  }
}

TEST_F(HostileSite, NamesOfFilesAreNoPaths) {
  ASSERT_EQ(ork_host_open(site_.c_str()) | ORK_auto_login(), ORK_ok);
  tag file = NULLTAG;
  ASSERT_EQ(FILE_import_file(folder_.path("a.prt").c_str(), nullptr, SS_TEXT, &file, nullptr),
            ORK_ok);
  for (const char* name : {"../x", "/x", "..", ".", "a\\b", "C:\\x"}) {
    EXPECT_EQ(OBJ_set_value_string(file, "original_file_name", name), ORK_invalid_argument) << name;
    EXPECT_EQ(OBJ_UIF_set_value(file, "original_file_name", name), ORK_invalid_argument) << name;
  }
  EXPECT_EQ(OBJ_set_value_string(file, "original_file_name", "a b.prt"), ORK_ok);
}

TEST_F(HostileSite, TheVaultIsReadAsFarAsItIsRecorded) {
  ASSERT_EQ(ork_host_open(site_.c_str()) | ORK_auto_login(), ORK_ok);
  const tag dataset = test::ask(DSET_find_dataset, "model");
  int type = 0;
  tag file = NULLTAG;
  ASSERT_EQ(DSET_get_dataset_named_ref(dataset, "Part", &type, &file), ORK_ok);
  const fs::path contents = folder_.path("site.db.vault/" + test::value_of(file, "contents"));
  const auto refused = [&](const char* why) {
    EXPECT_EQ(FILE_export_file(file, folder_.path("out").c_str()), FILE_damaged);
    EXPECT_THAT(last_error(), HasSubstr(why));
    EXPECT_FALSE(folder_.has("out"));
  };
  fs::permissions(contents, fs::perms::owner_all);
#if defined(_WIN32)
  fs::resize_file(contents, std::uintmax_t{1} << 30);  // it cannot make larger ones
#else
  fs::resize_file(contents, std::uintmax_t{1} << 40);  // takes no room, and hours to read
#endif
  refused("more than 6 bytes");
#if !defined(_WIN32)
  fs::remove(contents);
  fs::create_symlink(folder_.path("a.prt"), contents);
  refused("cannot be read");
  fs::remove(contents);
  ASSERT_EQ(mkfifo(contents.c_str(), 0600), 0);
  refused("are no file");
#endif
}

#if !defined(_WIN32)
TEST_F(HostileSite, ANewSiteIsForItsOwner) {
  for (const auto& [name, mode] : {std::pair{"site.db", 0600}, {"site.db.vault", 0700}}) {
    struct stat status {};
    ASSERT_EQ(stat(folder_.path(name).c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, static_cast<mode_t>(mode)) << name;
  }
}
#endif

TEST_F(HostileSite, TemporaryVaultsOfDeadProcessesGo) {
  const std::string temporary = folder_.path("tmp");
  fs::create_directory(temporary);
  for (const char* variable : {"TMPDIR", "TMP"}) {
    setenv(variable, temporary.c_str(), 1);
  }
  const auto vaults = [&] {
    return std::distance(fs::directory_iterator(temporary), fs::directory_iterator());
  };
  {
    test::ChildProcess first({PARTNER_PROGRAM, "abandon", folder_.path("a.prt")});
    EXPECT_EQ(first.read_line(), "imported");
    test::ChildProcess second({PARTNER_PROGRAM, "abandon", folder_.path("a.prt")});
    EXPECT_EQ(second.read_line(), "imported");
    EXPECT_EQ(vaults(), 2) << "both live";
    for (test::ChildProcess* process : {&first, &second}) {
      process->close_input();
      EXPECT_EQ(process->wait(), 0);
    }
  }
  EXPECT_EQ(vaults(), 2) << "left behind";
  test::ChildProcess third({PARTNER_PROGRAM, "abandon", folder_.path("a.prt")});
  EXPECT_EQ(third.read_line(), "imported");
  EXPECT_EQ(vaults(), 1);
}
