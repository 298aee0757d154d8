#include "site_check.h"

#include <algorithm>
#include <filesystem>
#include <functional>
#include <nlohmann/json.hpp>
#include <system_error>
#include <unordered_set>
#include <vector>

#include "cycles.h"
#include "failure.h"
#include "object_id.h"
#include "ork/file.h"
#include "os.h"
#include "random_name.h"
#include "schema.h"
#include "snapshot.h"
#include "store.h"
#include "stored_files.h"
#include "utf8_path.h"

namespace host {

namespace fs = std::filesystem;

namespace {

using Json = nlohmann::ordered_json;

struct Finding {
  std::string kind;
  std::string text;
  bool is_repaired = false;
};

class SiteCheck {
 public:
  SiteCheck(const std::string& path, bool repairs)
      : path_(path), vault_(vault_of(path)), repairs_(repairs), database_(path), presence_(path) {}

  void run() {
    if (!check_file()) {
      return;
    }
    check_references();
    if (open_store()) {
      check_objects();
      check_circles();
    }
    check_locks();
    check_processes();
    check_contents();
    check_leftovers();
  }

  int findings_left() const {
    return static_cast<int>(
        std::count_if(findings_.begin(), findings_.end(),
                      [](const Finding& finding) { return !finding.is_repaired; }));
  }

  std::string json() const {
    Json found = Json::array();
    for (const Finding& finding : findings_) {
      found.push_back(
          {{"kind", finding.kind}, {"text", finding.text}, {"repaired", finding.is_repaired}});
    }
    const Json all = {{"site", path_},
                      {"whole", findings_left() == 0},
                      {"objects", objects_},
                      {"files", files_},
                      {"findings", std::move(found)}};
    return all.dump(2, ' ', false, Json::error_handler_t::replace);
  }

 private:
  /** Notes a finding; repairs it, where that is wanted and there is a way. */
  void note(const char* kind, const std::string& text,
            const std::function<bool()>& repair = nullptr) {
    findings_.push_back({kind, text, repairs_ && repair && repair()});
  }

  /** @return whether there is any use in going on. */
  bool check_file() {
    try {
      if (!has_site_mark(database_)) {
        refuse(ORK_site_not_available, path_ + " is no site");
      }
      check_pages();
      return true;
    } catch (const Failure& failure) {
      if (failure.detail() == path_ + " is no site") {
        throw;
      }
      note("file", failure.detail());
      return false;
    }
  }

  std::vector<std::string> wrong_in_pages() {
    std::vector<std::string> wrong;
    for (Query check(database_, "PRAGMA integrity_check"); check.next();) {
      if (check.text(0) != "ok") {
        wrong.push_back(check.text(0));
      }
    }
    return wrong;
  }

  /** Indexes are made anew from their tables; nothing else is in reach. */
  void check_pages() {
    const std::vector<std::string> wrong = wrong_in_pages();
    bool is_repaired = false;
    if (!wrong.empty() && repairs_) {
      try {
        database_.execute("REINDEX");
        is_repaired = wrong_in_pages().empty();
      } catch (const Failure&) {
        // There is more that is wrong than indexes.
      }
    }
    for (const std::string& text : wrong) {
      findings_.push_back({"file", text, is_repaired});
    }
  }

  void check_references() {
    for (Query rows(database_, "PRAGMA foreign_key_check"); rows.next();) {
      note("reference",
           "table " + rows.text(0) + ": a row refers to one that is not in table " + rows.text(2));
    }
    for (Query lost(database_,
                    "SELECT v.instance, a.name, v.content FROM attribute a "
                    "JOIN value v ON v.attribute = a.id "
                    "JOIN instance i ON i.tag = v.instance AND i.deleted = 0 "
                    "LEFT JOIN instance r ON r.tag = v.content AND r.deleted = 0 "
                    "WHERE a.kind = 'reference' AND r.tag IS NULL AND v.content IS NOT 0");
         lost.next();) {
      note("reference", "object " + lost.text(0) + ", attribute " + lost.text(1) +
                            ": it refers to object " + lost.text(2) + ", which is not there");
    }
    Query dead(database_,
               "SELECT DISTINCT v.instance FROM value v JOIN instance i ON i.tag = v.instance "
               "WHERE i.deleted <> 0");
    std::vector<std::int64_t> objects;
    while (dead.next()) {
      objects.push_back(dead.integer(0));
    }
    for (const std::int64_t object : objects) {
      note("reference", "object " + std::to_string(object) + " is deleted and has values", [&] {
        host::run(database_, "DELETE FROM value WHERE instance = ?", object);
        return true;
      });
    }
  }

  bool open_store() {
    try {
      store_ = std::make_unique<Store>(database_, presence_);
      return true;
    } catch (const Failure& failure) {
      note("file", failure.detail());
      return false;
    }
  }

  /** Each object is read as sessions read it, which checks all of its values. */
  void check_objects() {
    const Reading one_state(database_);
    for (Query rows(database_, "SELECT tag FROM instance WHERE deleted = 0 ORDER BY tag");
         rows.next();) {
      const auto object = static_cast<tag>(rows.integer(0));
      ++objects_;
      try {
        store_->load(object);
        note_below(object);
        store_->unload(object);
      } catch (const Failure& failure) {
        note("value", failure.detail());
      }
    }
  }

  void note_below(tag object) {
    const auto add = [](ObjectsBelow& below, tag above, const Values& values) {
      std::vector<tag>& list = below[above];
      for (const Scalar& value : values) {
        list.push_back(std::get<tag>(value));
      }
    };
    if (store_->is_a(object, "PSBOMViewRevision")) {
      const tag view = store_->required_reference(object, "bom_view");
      add(items_, store_->required_reference(view, "parent_item"),
          store_->values(object, "occurrence_items"));
    } else if (store_->is_a(object, "Type")) {
      add(types_, object, store_->values(object, "parent_type"));
    } else if (store_->is_a(object, "TaskDefinition")) {
      add(tasks_, object, store_->values(object, "sub_tasks"));
    }
  }

  void check_circles() {
    const auto check = [this](const char* what, const ObjectsBelow& below) {
      for (const std::vector<tag>& cycle : find_cycles(below)) {
        std::string text;
        for (const tag object : cycle) {
          text += (text.empty() ? "" : ", in it ") + label(object);
        }
        note("circle", std::string("a circle of ") + what + ": " + text);
      }
    };
    check("items", items_);
    check("types, by what they descend from", types_);
    check("tasks", tasks_);
  }

  std::string label(tag object) {
    try {
      return object_label(*store_, object);
    } catch (const Failure&) {
      return "object " + std::to_string(object);
    }
  }

  /** Rows that are there when asked again: a process may have given its lock back and ended. */
  void check_locks() {
    struct Lock {
      std::int64_t object;
      std::string holder;
      std::string text;
    };
    std::vector<Lock> dead;
    for (Query rows(database_, "SELECT instance, holder, user_id, node, since FROM lock");
         rows.next();) {
      if (!presence_.lives(rows.text(1))) {
        dead.push_back({rows.integer(0), rows.text(1),
                        "object " + rows.text(0) + ", by user " + rows.text(2) + " on " +
                            rows.text(3) + " since " + rows.text(4)});
      }
    }
    for (const Lock& lock : dead) {
      if (Query(database_, "SELECT 1 FROM lock WHERE instance = ? AND holder = ?", lock.object,
                lock.holder)
              .next()) {
        note("lock", "a lock of a process that has ended: " + lock.text, [&] {
          host::run(database_, "DELETE FROM lock WHERE instance = ? AND holder = ?", lock.object,
                    lock.holder);
          return true;
        });
      }
    }
  }

  /** Files that stay: one that comes or goes is nobody's, too, for the blink between two steps. */
  std::vector<std::string> left_for_good() const {
    constexpr int looks = 5;
    constexpr int milliseconds_between = 20;
    std::vector<std::string> names = presence_.left_behind();
    for (int look = 1; look < looks && !names.empty(); ++look) {
      os::sleep_milliseconds(milliseconds_between);
      const std::vector<std::string> still = presence_.left_behind();
      std::erase_if(names, [&](const std::string& name) {
        return std::find(still.begin(), still.end(), name) == still.end();
      });
    }
    return names;
  }

  void check_processes() {
    for (const std::string& name : left_for_good()) {
      note("process", "the file of a process that has ended: " + processes_of(path_) + "/" + name,
           [&] {
             for (const std::string& contents : presence_.notes_of(name)) {
               if (is_random_name(contents) && !is_claimed(database_, contents)) {
                 remove(vault_ + "/" + contents);
                 remove(vault_ + "/" + contents + ".part");
               }
             }
             presence_.forget(name);
             return true;
           });
    }
  }

  void check_contents() {
    for (const StoredFile& file : stored_files(database_)) {
      ++files_;
      const std::string wrong = wrong_with(file);
      // Another process may have deleted it meanwhile.
      if (!wrong.empty() && is_claimed(database_, file.contents.name)) {
        note("contents", "file object " + std::to_string(file.object) + ": " + wrong);
      }
    }
  }

  std::string wrong_with(const StoredFile& file) const {
    const std::string path = vault_ + "/" + file.contents.name;
    if (!is_random_name(file.contents.name)) {
      return "\"" + file.contents.name + "\" is no name of contents";
    }
    if (!is_plain_file(path)) {
      return "its contents " + path + " are not there";
    }
    try {
      const Contents found = read_contents(path);
      if (found.size != file.contents.size || found.digest != file.contents.digest) {
        return "its contents " + path +
               " are not what was imported: " + std::to_string(found.size) + " bytes of " +
               std::to_string(file.contents.size) + ", digest " + found.digest;
      }
    } catch (const Failure& failure) {
      return failure.detail();
    }
    return {};
  }

  /** What a process has under way stands in its file before it is in the vault. */
  void check_leftovers() {
    std::vector<std::string> names;
    std::error_code none;
    for (const auto& entry : fs::directory_iterator(utf8_path(vault_), none)) {
      names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    const std::unordered_set<std::string> under_way = names_under_way();
    for (const std::string& name : names) {
      const std::string contents = name.substr(0, name.find('.'));
      const std::string path = vault_ + "/" + name;
      const bool is_ours = is_random_name(contents) || name == "maker" || name == "site";
      if (under_way.contains(contents) || (contents == name && is_claimed(database_, name)) ||
          os::is_held(path) || !fs::exists(fs::symlink_status(utf8_path(path), none))) {
        continue;
      }
      note("leftover", "nothing refers to " + path,
           is_ours ? std::function<bool()>([&] { return remove(path); }) : nullptr);
    }
  }

  /** Of processes that live. */
  std::unordered_set<std::string> names_under_way() const {
    std::unordered_set<std::string> names;
    std::error_code none;
    for (const auto& entry : fs::directory_iterator(utf8_path(processes_of(path_)), none)) {
      for (const std::string& name : presence_.notes_of(entry.path().filename().string())) {
        names.insert(name);
      }
    }
    return names;
  }

  static bool remove(const std::string& path) {
    std::error_code failed;
    fs::remove(utf8_path(path), failed);
    return !failed;
  }

  std::string path_;
  std::string vault_;
  bool repairs_;
  Database database_;
  Presence presence_;
  std::unique_ptr<Store> store_;
  ObjectsBelow items_;
  ObjectsBelow types_;
  ObjectsBelow tasks_;
  std::vector<Finding> findings_;
  int objects_ = 0;
  int files_ = 0;
};

}  // namespace

int check_site(const std::string& path, bool repairs, std::string* json) {
  std::error_code ignored;
  if (!fs::is_regular_file(utf8_path(path), ignored)) {
    refuse(ORK_site_not_available, path + " is not there");
  }
  require_no_open_site(path);  // its own locks would look like those of nobody
  SiteCheck check(path, repairs);
  check.run();
  *json = check.json();
  return check.findings_left();
}

}  // namespace host
