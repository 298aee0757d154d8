#include "snapshot.h"

#include <filesystem>
#include <optional>
#include <system_error>
#include <unordered_set>
#include <vector>

#include "failure.h"
#include "held_file.h"
#include "ork/file.h"
#include "os_file.h"
#include "random_name.h"
#include "schema.h"
#include "seeded_keys.h"
#include "stored_files.h"
#include "utf8_path.h"

namespace host {

namespace fs = std::filesystem;

namespace {

/** In a vault's folder: whose work it is, and the copy's file until it gets its name. */
constexpr const char* maker_name = "/maker";
constexpr const char* unfinished_name = "/site";

/** Others may delete files while they are copied; then the copy is made anew. */
constexpr int attempts = 100;

/** What SQLite keeps beside a file, for as long as it is open. */
constexpr const char* side_endings[] = {"-wal", "-shm", "-journal"};

/** Has failures of the system become refusals. */
template <typename Action>
auto reporting(const std::string& what, const Action& action) {
  try {
    return action();
  } catch (const std::system_error& error) {
    refuse(ORK_site_not_available, what + ": " + error.code().message());
  }
}

bool is_there(const std::string& path) {
  std::error_code ignored;
  return fs::exists(fs::symlink_status(utf8_path(path), ignored));
}

bool is_file(const std::string& path) {
  std::error_code ignored;
  return fs::is_regular_file(utf8_path(path), ignored);
}

/** The file itself, where a path leads to it through links. */
std::string without_links(const std::string& path) {
  return reporting(path, [&] { return fs::weakly_canonical(utf8_path(path)).string(); });
}

bool is_same_file(const std::string& left, const std::string& right) {
  std::error_code ignored;
  return fs::equivalent(utf8_path(left), utf8_path(right), ignored);
}

/** What copies are made of. */
struct Source {
  Database& database;
  std::string vault; /**< its folder; empty for none */
};

/** Refuses a file that is not there, that is no site or that is damaged. */
void require_whole_site(const std::string& path, Database& database) {
  if (!has_site_mark(database)) {
    refuse(ORK_site_not_available, path + " is no site");
  }
  Query check(database, "PRAGMA quick_check(1)");
  if (check.next() && check.text(0) != "ok") {
    refuse(ORK_site_damaged, path + ": " + check.text(0));
  }
}

void copy_contents(const std::string& from, const std::string& to, Sharing sharing) {
  if (os::clone_file(from, to)) {
    return;
  }
  std::error_code failed;
  if (sharing == Sharing::links) {
    fs::create_hard_link(utf8_path(from), utf8_path(to), failed);
    if (!failed) {
      return;
    }
  }
  fs::copy_file(utf8_path(from), utf8_path(to));
}

/** Locks are those of processes that use another file, which goes on with its own numbers. */
void become_own_site(Database& database) {
  run(database, "DELETE FROM lock");
  begin_line_of_numbers(database);
}

/** What a process has left that was killed while it made or removed a site of this name. */
void remove_leftovers(const std::string& path) {
  const std::string vault = vault_of(path);
  if (is_there(path) || !is_there(vault)) {
    return;
  }
  std::error_code ignored;
  if (is_plain_file(vault + maker_name) && !os::is_held(vault + maker_name)) {
    fs::remove_all(utf8_path(vault), ignored);
  } else {
    fs::remove(utf8_path(vault), ignored);  // where it is empty
  }
}

/** A site on its way to its name, which is removed again unless it gets there. */
class NewSite {
 public:
  /** @param[in] like a file whose rights it gets. */
  NewSite(const std::string& path, const std::string& like) : path_(path), vault_(vault_of(path)) {
    remove_leftovers(path);
    for (const std::string& taken : {path_, vault_}) {
      if (is_there(taken)) {
        refuse(FILE_exists, taken);
      }
    }
    reporting(vault_, [&] {
      if (is_there(like)) {
        os::make_folder_like(vault_, like);
      } else {
        fs::create_directory(utf8_path(vault_));
        fs::permissions(utf8_path(vault_), fs::perms::owner_all);
      }
      maker_.emplace(vault_ + maker_name, is_there(like) ? like : vault_);
    });
  }

  ~NewSite() {
    maker_.reset();
    std::error_code ignored;
    if (is_finished_) {
      fs::remove(utf8_path(vault_ + maker_name), ignored);
    } else {
      fs::remove_all(utf8_path(vault_), ignored);
    }
  }
  NewSite(const NewSite&) = delete;
  NewSite& operator=(const NewSite&) = delete;

  const std::string& vault() const { return vault_; }
  std::string file() const { return vault_ + unfinished_name; }

  /** Gives the file, which nobody has open, its name. */
  void finish() {
    reporting(path_, [&] {
      fs::create_hard_link(utf8_path(file()), utf8_path(path_));
      is_finished_ = true;
      fs::remove(utf8_path(file()));
    });
  }

 private:
  std::string path_;
  std::string vault_;
  std::optional<os::HeldFile> maker_;
  bool is_finished_ = false;
};

/** One attempt at a copy: the file, and the contents that it has. */
class Copying {
 public:
  Copying(const Source& source, const NewSite& target, Sharing sharing)
      : source_(source), target_(target), sharing_(sharing) {}

  void run_to_end() {
    for (int attempt = 1;; ++attempt) {
      // First, so that little time is left in which others delete what the file still has.
      for (const std::string& name : names_in_vault(source_.vault)) {
        bring(name);
      }
      copy_file();
      const std::vector<std::string> lost = bring_rest();
      if (lost.empty()) {
        break;
      }
      if (attempt == attempts || is_claimed(source_.database, lost.front())) {
        refuse(FILE_damaged,
               "contents " + lost.front() + " are not in the vault of " + source_.database.path());
      }
    }
    remove_what_is_nobodys();
  }

 private:
  bool bring(const std::string& name) {
    if (brought_.contains(name)) {
      return true;
    }
    const std::string from = source_.vault + "/" + name;
    if (!is_random_name(name) || !is_plain_file(from)) {
      return false;
    }
    try {
      copy_contents(from, target_.vault() + "/" + name, sharing_);
    } catch (const std::system_error&) {
      if (is_plain_file(from)) {
        throw;
      }
      return false;  // another process has just deleted it
    }
    brought_.insert(name);
    return true;
  }

  void copy_file() {
    for (const char* ending : {"", side_endings[0], side_endings[1], side_endings[2]}) {
      fs::remove(utf8_path(target_.file() + ending));
    }
    Database copy(target_.file());
    copy.take_over(source_.database);
    copy.log_ahead();
    become_own_site(copy);
    wanted_.clear();
    for (const StoredFile& file : stored_files(copy)) {
      wanted_.insert(file.contents.name);
    }
  }

  std::vector<std::string> bring_rest() {
    std::vector<std::string> lost;
    for (const std::string& name : wanted_) {
      if (!bring(name)) {
        lost.push_back(name);
      }
    }
    return lost;
  }

  void remove_what_is_nobodys() const {
    for (const std::string& name : brought_) {
      if (!wanted_.contains(name)) {
        fs::remove(utf8_path(target_.vault() + "/" + name));
      }
    }
  }

  const Source& source_;
  const NewSite& target_;
  Sharing sharing_;
  std::unordered_set<std::string> brought_;
  std::unordered_set<std::string> wanted_;
};

void copy_site(const Source& source, const std::string& path, Sharing sharing) {
  NewSite target(path, source.database.path());
  reporting(path, [&] { Copying(source, target, sharing).run_to_end(); });
  target.finish();
}

/** Refuses a copy whose contents are not what was imported, before anything is changed. */
void require_contents(const std::vector<StoredFile>& files, const std::string& vault) {
  for (const StoredFile& file : files) {
    const std::string path = vault + "/" + file.contents.name;
    if (!is_random_name(file.contents.name) || !is_plain_file(path)) {
      refuse(FILE_damaged, "contents " + file.contents.name + " are not in " + vault);
    }
    if (read_contents(path).digest != file.contents.digest) {
      refuse(FILE_damaged, path + " is not what was imported");
    }
  }
}

/** A site that nobody else has open, as long as this lives; it may be damaged. */
class ClaimedSite {
 public:
  explicit ClaimedSite(const std::string& path) : path_(path) {
    if (!is_file(path)) {
      refuse(ORK_site_not_available, path + " is not there");
    }
    database_.emplace(path);
    const Database::Claim claim = database_->claim();
    if (claim == Database::Claim::damaged) {
      database_.reset();
    }
    if (claim == Database::Claim::in_use || (!database_ && os::is_database_in_use(path))) {
      refuse(ORK_site_in_use, path + " is open in a process");
    }
    // Nothing is done to the files of others.
    if (!(database_ && has_site_mark(*database_)) && !fs::is_directory(utf8_path(vault_of(path)))) {
      refuse(ORK_site_not_available, path + " is no site");
    }
  }

  /** The file; null where it is too damaged to be written by SQLite. */
  Database* database() { return database_ ? &*database_ : nullptr; }

  void let_go() { database_.reset(); }

  void remove_side_files() const {
    for (const char* ending : side_endings) {
      fs::remove(utf8_path(path_ + ending));
    }
  }

 private:
  std::string path_;
  std::optional<Database> database_;
};

/** Brings contents into a vault that may have them already, and puts right what is damaged there.
 */
void bring_contents(const std::vector<StoredFile>& files, const std::string& from,
                    const std::string& to, Sharing sharing) {
  for (const StoredFile& file : files) {
    const std::string source = from + "/" + file.contents.name;
    const std::string target = to + "/" + file.contents.name;
    const bool is_right =
        is_plain_file(target) &&
        (is_same_file(source, target) || read_contents(target).digest == file.contents.digest);
    if (is_right) {
      continue;
    }
    const std::string part = target + ".part";
    fs::remove(utf8_path(part));
    copy_contents(source, part, sharing);
    fs::rename(utf8_path(part), utf8_path(target));
  }
}

/** A damaged file goes, and another one takes its place. */
void replace_damaged_file(ClaimedSite& site, const std::string& path, Database& source) {
  const std::string made = vault_of(path) + unfinished_name;
  fs::remove(utf8_path(made));
  {
    Database copy(made);
    copy.take_over(source);
    copy.log_ahead();
    become_own_site(copy);
  }
  site.let_go();
  site.remove_side_files();
  fs::rename(utf8_path(made), utf8_path(path));
}

/** Replaces a site's file by a copy of another one. */
void replace_file(ClaimedSite& site, const std::string& path, Database& source) {
  if (Database* const database = site.database()) {
    try {
      database->take_over(source);
      return become_own_site(*database);
    } catch (const Failure& failure) {
      if (failure.status() != ORK_site_damaged) {
        throw;
      }
    }
  }
  replace_damaged_file(site, path, source);
}

/** Contents that a site has and those that it is to have; some of them go in the end. */
class ContentsUnderWay {
 public:
  explicit ContentsUnderWay(const std::string& path)
      : vault_(vault_of(path)), presence_(path), earlier_(names_in_vault(vault_)) {
    os::make_folder_like(vault_, path);
    for (const std::string& name : earlier_) {
      presence_.note(name);
    }
  }

  /** Unless all has been done, what has come goes again. */
  ~ContentsUnderWay() {
    remove_all_but(is_done_ ? wanted_ : std::unordered_set(earlier_.begin(), earlier_.end()));
    presence_.leave();
  }
  ContentsUnderWay(const ContentsUnderWay&) = delete;
  ContentsUnderWay& operator=(const ContentsUnderWay&) = delete;

  void bring(const std::vector<StoredFile>& files, const std::string& from, Sharing sharing) {
    for (const StoredFile& file : files) {
      presence_.note(file.contents.name);
      wanted_.insert(file.contents.name);
    }
    bring_contents(files, from, vault_, sharing);
  }

  void done() { is_done_ = true; }

 private:
  void remove_all_but(const std::unordered_set<std::string>& kept) const {
    for (const std::string& name : names_in_vault(vault_)) {
      if (!kept.contains(name)) {
        std::error_code ignored;
        fs::remove(utf8_path(vault_ + "/" + name), ignored);
      }
    }
  }

  std::string vault_;
  Presence presence_;
  std::vector<std::string> earlier_;
  std::unordered_set<std::string> wanted_;
  bool is_done_ = false;
};

void put_back(ClaimedSite& site, const std::string& path, const Source& source, Sharing sharing) {
  const std::vector<StoredFile> files = stored_files(source.database);
  require_contents(files, source.vault);
  ContentsUnderWay contents(path);
  contents.bring(files, source.vault, sharing);
  replace_file(site, path, source.database);
  contents.done();
}

}  // namespace

void require_no_open_site(const std::string& path) {
  if (open_site() != nullptr && is_same_file(open_site()->path(), path)) {
    refuse(ORK_site_in_use, path + " is open in this process");
  }
}

void make_snapshot(Site& site, const std::string& copy, Sharing sharing) {
  copy_site({site.database(), site.vault().folder()}, copy, sharing);
}

void restore_site(const std::string& site_path, const std::string& copy, Sharing sharing) {
  const std::string path = without_links(site_path);
  require_no_open_site(path);
  if (is_same_file(path, copy)) {
    refuse(ORK_invalid_argument, "the site and its copy are one file");
  }
  if (!is_file(copy)) {
    refuse(ORK_site_not_available, copy + " is not there");
  }
  Database database(copy);
  require_whole_site(copy, database);
  const Source source{database, vault_of(copy)};
  if (!is_there(path)) {
    require_contents(stored_files(database), source.vault);
    return copy_site(source, path, sharing);
  }
  ClaimedSite site(path);
  reporting(path, [&] { put_back(site, path, source, sharing); });
}

void remove_site(const std::string& site_path) {
  const std::string path = without_links(site_path);
  require_no_open_site(path);
  const std::string vault = vault_of(path);
  const std::string processes = processes_of(path);
  ClaimedSite site(path);
  reporting(path, [&] {
    std::optional<os::HeldFile> maker;
    if (is_there(vault)) {
      fs::remove(utf8_path(vault + maker_name));
      maker.emplace(vault + maker_name, path);
    }
#if defined(_WIN32)
    site.let_go();  // an open file cannot be removed
#endif
    fs::remove(utf8_path(path));
    site.let_go();
    site.remove_side_files();
    maker.reset();
    fs::remove_all(utf8_path(vault));
    fs::remove_all(utf8_path(processes));
  });
}

}  // namespace host
