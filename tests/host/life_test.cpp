// Whole sites: exported and made again, looked over, broken and restored.

#include <nlohmann/json.hpp>
#include <random>

#include <sqlite3.h>

#include "support/prelude.h"

namespace {

using Json = nlohmann::json;
namespace fs = std::filesystem;

/** Changes rows of a site, whatever its rules. */
void damage(const std::string& site, const std::string& statement) {
  sqlite3* database = nullptr;
  ASSERT_EQ(sqlite3_open(site.c_str(), &database), SQLITE_OK);
  EXPECT_EQ(sqlite3_exec(database, statement.c_str(), nullptr, nullptr, nullptr), SQLITE_OK)
      << sqlite3_errmsg(database);
  EXPECT_GT(sqlite3_changes(database), 0) << statement;
  sqlite3_close(database);
}

class Life : public testing::Test {
 protected:
  void TearDown() override { ork_host_close(); }

  /** The open site as a seed; the files of each are in a folder of its own. */
  std::string exported() {
    const std::string name = "files" + std::to_string(++exports_);
    char* json = nullptr;
    EXPECT_EQ(
        ork_host_export(folder_.path(name).c_str(), (folder_.path(name) + "/").c_str(), 1, &json),
        ORK_ok)
        << test::last_error();
    return test::take(json);
  }

  /** What two exports have in common: all but the folders of their files. */
  std::string comparable(std::string seed, int number) const {
    const std::string folder = folder_.path("files" + std::to_string(number)) + "/";
    const std::string escaped = Json(folder).dump();
    const std::string in_json = escaped.substr(1, escaped.size() - 2);
    for (std::size_t at = 0; (at = seed.find(in_json, at)) != std::string::npos;) {
      seed.erase(at, in_json.size());
    }
    return seed;
  }

  /** Exports the open site, makes another one of that, twice, and compares its export; returns it.
   */
  std::string expect_equal_copy() {
    const std::string first = exported();
    const int number = exports_;
    EXPECT_EQ(ork_host_open(":memory:"), ORK_ok);
    for (int times = 0; times < 2; ++times) {
      EXPECT_EQ(ork_host_seed(first.c_str()), ORK_ok) << test::last_error();
    }
    const std::string second = exported();
    EXPECT_TRUE(comparable(first, number) == comparable(second, exports_)) << first << second;
    return first;
  }

  /** What is shown of the open site is a seed, as a whole and section by section. */
  void expect_shown_is_a_seed(bool by_section) {
    const std::string before = exported();
    const int number = exports_;
    Json shown = Json::parse(test::ask(ork_host_describe, nullptr));
    shown.erase("jobs");
    shown.erase("locks");
    const Json nothing = Json::object();
    for (const auto& [section, content] : (by_section ? shown : nothing).items()) {
      const std::string seed = Json({{section, content}}).dump();
      ASSERT_EQ(ork_host_seed(seed.c_str()), ORK_ok) << test::last_error() << seed;
    }
    ASSERT_EQ(ork_host_seed(shown.dump().c_str()), ORK_ok) << test::last_error();
    const std::string after = exported();
    EXPECT_TRUE(comparable(before, number) == comparable(after, exports_)) << before << after;
  }

  static Json look(const std::string& site, bool repair = false) {
    int findings = -1;
    char* json = nullptr;
    EXPECT_EQ(ork_host_check(site.c_str(), repair ? 1 : 0, &findings, &json), ORK_ok)
        << test::last_error();
    const Json found = Json::parse(test::take(json));
    EXPECT_EQ(findings == 0, found["whole"].get<bool>());
    return found;
  }

  static std::vector<std::string> kinds(const Json& found) {
    std::vector<std::string> kinds;
    for (const Json& finding : found["findings"]) {
      kinds.push_back(finding["kind"]);
    }
    return kinds;
  }

  test::TemporaryFolder folder_;
  std::string site_ = folder_.path("site.db");
  std::string copy_ = folder_.path("copy.db");
  int exports_ = 0;
};

constexpr const char* people = R"({
  "site": {"id": 7, "automatic_login": "ada", "password_cost": 1},
  "groups": [{"name": "all", "description": "Everybody"}], "roles": ["any", "other"],
  "users": [{"id": "ada", "password": "secret", "administrator": true,
             "memberships": [{"group": "all", "role": "any"}, {"group": "all", "role": "other"}]},
            {"id": "bob"}],
  "process_templates": [{"name": "Check", "tasks": [
    {"name": "Review", "type": "review", "quorum": 1,
     "signoffs": [{"user": "ada"}, {"pool": {"group": "all"}}]}]}],
  "items": [{"id": "old", "name": "Old", "created": "2001-02-03", "changed": "2002-02-03",
             "changed_by": "bob", "owner": null, "values": {"uom": "kg"},
             "master_form": {"type": "FreigabeInfo", "changed": "2003-02-03",
                             "values": {"UGezPerson": "ada", "UGezDate": "2003-02-04"}},
             "revisions": [{"id": "A", "changed": "2004-02-03",
                            "datasets": [{"name": "d", "type": "Text", "changed": "2005-02-03",
                                          "tool": null}]}]}],
  "structures": [{"item": "old", "revision": "A", "created": "2006-02-03", "lines": [],
                  "view": {"changed": "2007-02-03"}}],
  "folders": [{"key": "bag", "name": "Bag", "changed": "2008-02-03",
               "contents": [{"item": "old", "form": true}, {"object": "bag"}]}],
  "relations": [{"primary": {"object": "bag"}, "type": "VELO_reference",
                 "secondary": {"item": "old"}, "user_data": {"user": "bob"}}]
})";

/** Makes what no section of a seed but "objects" can say, as many as a number has it. */
void work(unsigned number, const test::TemporaryFolder& folder) {
  std::mt19937 random(number);
  const auto any = [&random](const std::vector<tag>& all) { return all[random() % all.size()]; };
  std::vector<tag> objects;
  tag relation_type = NULLTAG;
  tag text_type = NULLTAG;
  tag process = NULLTAG;
  ASSERT_EQ(ORK_auto_login(), ORK_ok) << test::last_error();
  ASSERT_EQ(REL_find_relation_type("VELO_reference", &relation_type), ORK_ok);
  ASSERT_EQ(DSET_find_datasettype("Text", &text_type), ORK_ok);
  ASSERT_EQ(FLOW_find_process_template("Check", &process), ORK_ok) << test::last_error();
  for (int i = 0; i < 12; ++i) {
    const std::string name = (random() % 3 == 0 ? "same \"name\" \xC3\xA4" : std::to_string(i));
    tag made = NULLTAG;
    tag revision = NULLTAG;
    switch (random() % 3) {
      case 0:
        ASSERT_EQ(ITEM_create_item(std::to_string(i).c_str(), name.c_str(), nullptr, "A", &made,
                                   &revision),
                  ORK_ok)
            << test::last_error();
        ASSERT_EQ(OBJ_save(made) | OBJ_save(revision) | OBJ_refresh(revision, 0), ORK_ok);
        objects.push_back(revision);
        break;
      case 1: {
        tag file = NULLTAG;
        ASSERT_EQ(
            FILE_import_file(folder.write("in.txt", name).c_str(), nullptr, SS_TEXT, &file,
                             nullptr) |
                OBJ_save(file) |
                DSET_create_dataset_with_id(text_type, name.c_str(), "d", nullptr, nullptr, &made) |
                DSET_add_dataset_named_ref(made, "Text", DSET_PART_OF, file) | OBJ_save(made),
            ORK_ok)
            << test::last_error();
        ASSERT_EQ(OBJ_refresh(file, 0), ORK_ok);
        break;
      }
      default:
        ASSERT_EQ(FOLDER_create(name.c_str(), "", &made), ORK_ok) << test::last_error();
        for (const tag object : objects) {
          if (random() % 2 == 0) {
            ASSERT_EQ(FOLDER_insert_instances(made, 1, &object, 0), ORK_ok) << test::last_error();
          }
        }
        ASSERT_EQ(OBJ_save(made), ORK_ok) << test::last_error();
    }
    ASSERT_EQ(OBJ_refresh(made, 0), ORK_ok);
    objects.push_back(made);
    tag relation = NULLTAG;
    if (REL_create_relation(any(objects), any(objects), relation_type,
                            random() % 4 == 0 ? any(objects) : NULLTAG, &relation) == ORK_ok) {
      ASSERT_EQ(REL_save_relation(relation), ORK_ok) << test::last_error();
    }
  }
  tag job = NULLTAG;
  const tag target = any(objects);
  const int attachment = FLOW_target_attachment;
  ASSERT_EQ(FLOW_create_process("Job", "", process, 1, &target, &attachment, &job), ORK_ok)
      << test::last_error();
  ASSERT_EQ(ORK_exit_module(1), ORK_ok) << test::last_error();
}

TEST_F(Life, ExportsOfASiteAndOfWhatTheyMakeAreEqual) {
  for (const auto& example : fs::directory_iterator(ZOLP_EXAMPLES)) {
    const std::string seed = (example.path() / "site.json").string();
    if (fs::exists(seed)) {
      SCOPED_TRACE(seed);
      ASSERT_EQ(ork_host_open(":memory:"), ORK_ok);
      ASSERT_EQ(ork_host_seed_file(seed.c_str()), ORK_ok) << test::last_error();
      expect_shown_is_a_seed(true);
      EXPECT_FALSE(Json::parse(expect_equal_copy()).contains("objects"));
    }
  }
  EXPECT_GE(exports_, 8);
  folder_.write("a.prt", "part A");
  ASSERT_EQ(ork_host_open(":memory:"), ORK_ok);
  for (const char* name : {"demo", "objects", "flow", "data"}) {
    const std::string text = test::file_text("host/seeds/" + std::string(name) + ".json");
    const std::string seed = folder_.write("seed.json", text);
    ASSERT_EQ(ork_host_seed_file(seed.c_str()), ORK_ok) << test::last_error();
  }
  expect_shown_is_a_seed(true);
  EXPECT_FALSE(Json::parse(expect_equal_copy()).contains("objects"));
  for (unsigned number = 0; number < 20; ++number) {
    SCOPED_TRACE(number);
    ASSERT_EQ(ork_host_open(":memory:"), ORK_ok);
    ASSERT_EQ(ork_host_seed(people), ORK_ok) << test::last_error();
    ASSERT_NO_FATAL_FAILURE(work(number, folder_));
    expect_shown_is_a_seed(number == 0);
    const std::string seed = expect_equal_copy();
    for (const char* date : {"2001", "2002", "2003", "2004", "2005", "2006", "2007", "2008"}) {
      EXPECT_THAT(seed, testing::HasSubstr(std::string(date) + "-02-03"));
    }
    ASSERT_EQ(ORK_init_module("ada", "secret", "all"), ORK_ok) << test::last_error();
  }
}

/** Another folder of the open site. */
void add_folder(const char* name) {
  tag folder = NULLTAG;
  ASSERT_EQ(ORK_auto_login(), ORK_ok) << test::last_error();
  ASSERT_EQ(FOLDER_create(name, "", &folder) | OBJ_save(folder) | ORK_exit_module(1), ORK_ok)
      << test::last_error();
}

TEST_F(Life, ExportsOfSeveralSitesComeTogetherInOne) {
  // Objects of the same numbers: of sites that know nothing of each other, of a copy that went its
  // own way, and of a site that was put back to where it was.
  std::vector<std::string> seeds;
  const auto add = [&](const std::string& site, const char* name) {
    ASSERT_EQ(ork_host_open(site.c_str()), ORK_ok) << test::last_error();
    add_folder(name);
    seeds.push_back(exported());
    ASSERT_EQ(ork_host_seed(seeds.back().c_str()), ORK_ok) << test::last_error();
    EXPECT_EQ(exported(), seeds.back()) << "a site's own export changes nothing";
  };
  const std::string other = folder_.path("other.db");
  for (const std::string& site : {site_, other}) {
    ASSERT_EQ(ork_host_open(site.c_str()) | ork_host_seed(people), ORK_ok) << test::last_error();
    add_folder("shared past");
    ork_host_close();
    damage(site, "DELETE FROM meta WHERE name LIKE 'line %'");  // as an earlier version made it
    ASSERT_EQ(ork_host_open(site.c_str()), ORK_ok);
    ASSERT_EQ(site == site_ ? ork_host_snapshot(copy_.c_str(), 0) : ORK_ok, ORK_ok);
  }
  add(other, "of another site");
  add(site_, "before");
  ork_host_close();
  ASSERT_EQ(ork_host_restore(site_.c_str(), copy_.c_str(), 0), ORK_ok) << test::last_error();
  add(site_, "instead");
  add(copy_, "of the copy");
  ASSERT_EQ(ork_host_open(":memory:"), ORK_ok);
  for (int times = 0; times < 2; ++times) {
    for (const std::string& seed : seeds) {
      ASSERT_EQ(ork_host_seed(seed.c_str()), ORK_ok) << test::last_error();
    }
  }
  std::vector<std::string> names;
  for (const Json& folder : Json::parse(test::ask(ork_host_describe, "folders"))) {
    names.push_back(folder["name"]);
  }
  EXPECT_THAT(names,
              testing::UnorderedElementsAre("Bag", "shared past", "shared past", "of another site",
                                            "before", "instead", "of the copy"));
}

TEST_F(Life, ChecksSayWhatIsWrongAndRepairWhatIsSafe) {
  ASSERT_EQ(ork_host_open(site_.c_str()) | ork_host_seed(people), ORK_ok) << test::last_error();
  work(1, folder_);
  EXPECT_EQ(ork_host_snapshot(copy_.c_str(), 0), ORK_ok) << test::last_error();
  EXPECT_EQ(ork_host_snapshot(copy_.c_str(), 0), FILE_exists);
  EXPECT_EQ(ork_host_restore(site_.c_str(), copy_.c_str(), 0), ORK_site_in_use);
  EXPECT_EQ(ork_host_remove(site_.c_str()), ORK_site_in_use);
  const std::string before = exported();
  const int number = exports_;
  ork_host_close();
  EXPECT_EQ(look(site_)["findings"], Json::array());

  const std::string vault = site_ + ".vault/";
  std::ofstream(vault + std::string(32, '0')) << "nobody's";
  damage(site_, "INSERT INTO lock SELECT tag, 'bob', 'there', '" + std::string(32, '1') +
                    "', '2026-01-01 00:00:00' FROM instance WHERE deleted = 0 LIMIT 1");
  EXPECT_THAT(kinds(look(site_)), testing::UnorderedElementsAre("lock", "leftover"));
  EXPECT_TRUE(look(site_, true)["whole"]);
  EXPECT_EQ(look(site_)["findings"], Json::array());

  fs::path contents;
  for (const auto& entry : fs::directory_iterator(vault)) {
    contents = entry.path();
  }
  fs::permissions(contents, fs::perms::owner_write, fs::perm_options::add);
  std::ofstream(contents, std::ios::app) << "x";
  damage(site_,
         "UPDATE value SET content = 9999 WHERE attribute = (SELECT id FROM attribute WHERE "
         "name = 'item_tag') AND instance = (SELECT min(instance) FROM value WHERE attribute "
         "= (SELECT id FROM attribute WHERE name = 'item_tag'))");
  EXPECT_THAT(kinds(look(site_, true)), testing::UnorderedElementsAre("reference", "contents"));

  for (const bool is_unreadable : {false, true}) {
    if (is_unreadable) {
      std::ofstream(site_, std::ios::binary) << std::string(5000, 'x');
      EXPECT_THAT(kinds(look(site_)), testing::ElementsAre("file"));
      fs::remove_all(vault + contents.filename().string());
    }
    ASSERT_EQ(ork_host_restore(site_.c_str(), copy_.c_str(), 0), ORK_ok) << test::last_error();
    EXPECT_EQ(look(site_)["findings"], Json::array());
    ASSERT_EQ(ork_host_open(site_.c_str()), ORK_ok);
    const std::string after = exported();
    EXPECT_TRUE(comparable(before, number) == comparable(after, exports_)) << before << after;
    ork_host_close();
  }
  // A copy that is not whole leaves the site alone.
  fs::remove_all(copy_ + ".vault");
  EXPECT_EQ(ork_host_restore(site_.c_str(), copy_.c_str(), 0), FILE_damaged);
  EXPECT_EQ(look(site_)["findings"], Json::array());
  EXPECT_EQ(ork_host_remove(site_.c_str()) | ork_host_remove(copy_.c_str()), ORK_ok);
  for (const auto& entry : fs::directory_iterator(folder_.path(""))) {
    EXPECT_FALSE(entry.path().filename().string().starts_with("site.db")) << entry.path();
  }
  EXPECT_EQ(ork_host_remove(folder_.write("other.txt", "no site").c_str()), ORK_site_not_available);
}

TEST_F(Life, CirclesOfStructuresAreFound) {
  ASSERT_EQ(ork_host_open(site_.c_str()) | ork_host_seed(people) | ork_host_seed(R"({
    "items": [{"id": "1", "name": "a", "revisions": [{"id": "A"}]},
              {"id": "2", "name": "b", "revisions": [{"id": "A"}]}],
    "structures": [{"item": "1", "revision": "A", "lines": [{"item": "2"}]},
                   {"item": "2", "revision": "A", "lines": []}]})"),
            ORK_ok)
      << test::last_error();
  ork_host_close();
  damage(site_,
         "UPDATE value SET content = (SELECT instance FROM value WHERE content = '1' AND "
         "attribute = (SELECT id FROM attribute WHERE name = 'item_id')) WHERE attribute = "
         "(SELECT id FROM attribute WHERE name = 'occurrence_items')");
  const Json found = look(site_);
  EXPECT_THAT(kinds(found), testing::ElementsAre("circle"));
  EXPECT_THAT(found["findings"][0]["text"].get<std::string>(),
              testing::HasSubstr("1-a, in it 1-a"));
}

}  // namespace
