// Seeds of many items against the rows that they make, structures in different orders, and a
// listing of all objects against a query of the same columns; and the memory that they take.

#include <sqlite3.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <nlohmann/json.hpp>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "ork_host.h"
#include "ratios.h"

namespace bench {
namespace {

namespace fs = std::filesystem;

int item_count = 200'000;  // ZOLP_BENCH_ITEMS has another number
constexpr int structure_depth = 2'000;
fs::path folder;

void require(bool holds, const char* what) {
  if (!holds) {
    std::fprintf(stderr, "seeds: %s\n", what);
    std::abort();
  }
}

std::string path_of(const char* name) {
  return (folder / name).string();
}

// -------------------------------------------------------------------------------------- the seeds

constexpr const char* users = R"({
  "site": {"id": 100, "name": "Bench", "automatic_login": "ada", "password_cost": 1},
  "groups": ["engineering"], "roles": ["designer"],
  "users": [{"id": "ada", "memberships": [{"group": "engineering", "role": "designer"}]}]})";

void write_items() {
  std::ofstream file(path_of("items.json"));
  file << R"({"items": [)";
  for (int i = 0; i < item_count; ++i) {
    const std::string id = std::to_string(100'000'000 + i);
    file << (i == 0 ? "\n" : ",\n") << R"({"id": ")" << id << R"(", "name": "Part )" << id
         << R"(", "description": "One of many parts",)"
         << R"( "revisions": [{"id": "A"}, {"id": "B", "name": "Better part )" << id << R"("}]})";
  }
  file << "]}\n";
}

/** A chain of items, each with lines of the next one and of two that have none. */
std::string structures(bool parents_first) {
  std::string items;
  std::string lists;
  for (int n = 0; n < structure_depth; ++n) {
    const int i = parents_first ? n : structure_depth - 1 - n;
    items += std::string(n == 0 ? "" : ",") + R"({"id": "S)" + std::to_string(n) +
             R"(", "name": "Part", "revisions": [{"id": "A"}]})";
    if (i + 3 < structure_depth) {
      lists += std::string(lists.empty() ? "" : ",") + R"({"item": "S)" + std::to_string(i) +
               R"(", "revision": "A", "lines": [)";
      for (const int child : {i + 1, i + 2, i + 3}) {
        lists += std::string(child == i + 1 ? "" : ",") + R"({"item": "S)" + std::to_string(child) +
                 R"(", "quantity": 2, "sequence": 10})";
      }
      lists += "]}";
    }
  }
  return R"({"items": [)" + items + R"(], "structures": [)" + lists + "]}";
}

void remove_site(const char* name) {
  for (const char* ending : {"", "-wal", "-shm"}) {
    fs::remove(path_of(name) + ending);
  }
}

/** A copy of the site that has users and nothing else. */
std::string fresh_site(const char* name) {
  if (!fs::exists(path_of("users.db"))) {
    require(ork_host_open(path_of("users.db").c_str()) == ORK_ok, "a site is made");
    require(ork_host_seed(users) == ORK_ok, "the users are taken");
    ork_host_close();
  }
  remove_site(name);
  fs::copy_file(path_of("users.db"), path_of(name));
  return path_of(name);
}

// ------------------------------------------------------------------- the same rows without a host

class Statement {
 public:
  Statement(sqlite3* database, const char* sql) {
    require(sqlite3_prepare_v2(database, sql, -1, &statement_, nullptr) == SQLITE_OK, sql);
  }
  ~Statement() { sqlite3_finalize(statement_); }
  Statement(const Statement&) = delete;
  Statement& operator=(const Statement&) = delete;

  sqlite3_stmt* get() const { return statement_; }
  bool next() const { return sqlite3_step(statement_) == SQLITE_ROW; }
  void run() const {
    require(sqlite3_step(statement_) == SQLITE_DONE, "a statement fails");
    sqlite3_reset(statement_);
  }
  std::string text(int column) const {
    return reinterpret_cast<const char*>(sqlite3_column_text(statement_, column));
  }

 private:
  sqlite3_stmt* statement_ = nullptr;
};

class Rows {
 public:
  explicit Rows(const std::string& path) {
    require(sqlite3_open(path.c_str(), &database_) == SQLITE_OK, "the peer's file opens");
    execute("PRAGMA synchronous = NORMAL; PRAGMA cache_size = -65536; BEGIN IMMEDIATE");
    instance_.emplace(database_, "INSERT INTO instance(tag, class, version) VALUES(?, ?, 1)");
    value_.emplace(database_, "INSERT INTO value VALUES(?, ?, 0, ?)");
    Statement names(database_,
                    "SELECT name, id FROM attribute UNION ALL SELECT name, id FROM class");
    while (names.next()) {
      ids_[names.text(0)] = sqlite3_column_int64(names.get(), 1);
    }
    Statement number(database_, "SELECT value FROM meta WHERE name = 'next_number'");
    number.next();
    next_ = sqlite3_column_int64(number.get(), 0);
    user_ = find("user_id", "ada");
    group_ = find("group_name", "engineering");
  }
  ~Rows() { sqlite3_close(database_); }
  Rows(const Rows&) = delete;
  Rows& operator=(const Rows&) = delete;

  sqlite3_int64 add(const char* type, const std::string& name) {
    const sqlite3_int64 object = next_++;
    sqlite3_bind_int64(instance_->get(), 1, object);
    sqlite3_bind_int64(instance_->get(), 2, ids_.at(type));
    instance_->run();
    put(object, "object_name", name);
    put(object, "object_type", type);
    put(object, "creation_date", "2026-03-31 12:00:00");
    put(object, "last_mod_date", "2026-03-31 12:00:00");
    put(object, "owning_user", user_);
    put(object, "owning_group", group_);
    return object;
  }
  void put(sqlite3_int64 object, const char* attribute, const std::string& text) {
    sqlite3_bind_text(value_->get(), 3, text.data(), static_cast<int>(text.size()), SQLITE_STATIC);
    put(object, attribute);
  }
  void put(sqlite3_int64 object, const char* attribute, sqlite3_int64 reference) {
    sqlite3_bind_int64(value_->get(), 3, reference);
    put(object, attribute);
  }
  void finish() {
    execute(
        ("UPDATE meta SET value = " + std::to_string(next_) + " WHERE name = 'next_number'; COMMIT")
            .c_str());
    value_.reset();
    instance_.reset();
  }

 private:
  void put(sqlite3_int64 object, const char* attribute) {
    sqlite3_bind_int64(value_->get(), 1, object);
    sqlite3_bind_int64(value_->get(), 2, ids_.at(attribute));
    value_->run();
  }
  void execute(const char* sql) {
    require(sqlite3_exec(database_, sql, nullptr, nullptr, nullptr) == SQLITE_OK, sql);
  }
  sqlite3_int64 find(const char* attribute, const char* text) {
    Statement found(database_, "SELECT instance FROM value WHERE attribute = ? AND content = ?");
    sqlite3_bind_int64(found.get(), 1, ids_.at(attribute));
    sqlite3_bind_text(found.get(), 2, text, -1, SQLITE_STATIC);
    require(found.next(), "the user and the group are there");
    return sqlite3_column_int64(found.get(), 0);
  }

  sqlite3* database_ = nullptr;
  std::optional<Statement> instance_, value_;
  std::map<std::string, sqlite3_int64, std::less<>> ids_;
  sqlite3_int64 next_ = 0, user_ = 0, group_ = 0;
};

void insert_rows(const std::string& site) {
  std::ifstream file(path_of("items.json"));
  const nlohmann::json seed = nlohmann::json::parse(file);
  Rows rows(site);
  for (const nlohmann::json& item : seed["items"]) {
    const std::string name = item["name"];
    const sqlite3_int64 object = rows.add("Item", name);
    rows.put(object, "object_desc", item["description"].get_ref<const std::string&>());
    rows.put(object, "item_id", item["id"].get_ref<const std::string&>());
    for (const nlohmann::json& revision : item["revisions"]) {
      const sqlite3_int64 made = rows.add("ItemRevision", revision.value("name", name));
      rows.put(made, "item_tag", object);
      rows.put(made, "item_revision_id", revision["id"].get_ref<const std::string&>());
    }
  }
  rows.finish();
}

/** Number and total length of the texts among the values of a site. */
std::string measure_of(const char* name) {
  sqlite3* database = nullptr;
  require(sqlite3_open(path_of(name).c_str(), &database) == SQLITE_OK, "a site opens");
  std::string measure;
  {
    Statement sums(database,
                   "SELECT count(*) || ' ' || sum(length(content)) FROM value "
                   "WHERE typeof(content) = 'text'");
    sums.next();
    measure = sums.text(0);
  }
  sqlite3_close(database);
  return measure;
}

// ---------------------------------------------------------------------------------- benchmarks

template <typename Work>
void measure(benchmark::State& state, const Work& work) {
  for (auto _ : state) {
    const double seconds = work();
    state.SetIterationTime(seconds);
  }
}

/** The benchmarks of the listing may run without those of the seed. */
void ensure_items() {
  if (!fs::exists(path_of("items.db"))) {
    require(ork_host_open(fresh_site("items.db").c_str()) == ORK_ok, "the site opens");
    require(ork_host_seed_file(path_of("items.json").c_str()) == ORK_ok, "the seed is taken");
    ork_host_close();
  }
}

void seed_items(benchmark::State& state) {
  measure(state, [] {
    const std::string path = fresh_site("items.db");
    const Stopwatch stopwatch;
    require(ork_host_open(path.c_str()) == ORK_ok, "the site opens");
    require(ork_host_seed_file(path_of("items.json").c_str()) == ORK_ok, "the seed is taken");
    ork_host_close();
    return stopwatch.seconds();
  });
}

void insert_items(benchmark::State& state) {
  measure(state, [] {
    const std::string path = fresh_site("rows.db");
    const Stopwatch stopwatch;
    insert_rows(path);
    return stopwatch.seconds();
  });
  ensure_items();
  require(measure_of("items.db") == measure_of("rows.db"),
          "the host and the peer make the same rows");
}

double take(const std::string& seed) {
  const Stopwatch stopwatch;
  require(ork_host_seed(seed.c_str()) == ORK_ok, "the structures are taken");
  return stopwatch.seconds();
}

template <bool ParentsFirst>
void seed_structures(benchmark::State& state) {
  const std::string seed = structures(ParentsFirst);
  measure(state, [&seed] {
    require(ork_host_open(fresh_site("structures.db").c_str()) == ORK_ok, "the site opens");
    const double seconds = take(seed);
    ork_host_close();
    return seconds;
  });
}

void seed_structures_again(benchmark::State& state) {
  const std::string seed = structures(true);
  measure(state, [&seed] {
    require(ork_host_open(fresh_site("structures.db").c_str()) == ORK_ok, "the site opens");
    take(seed);
    const double seconds = take(seed);
    ork_host_close();
    return seconds;
  });
}

/** A site of items whose revisions have a dataset in common, as a standard for all of them. */
void make_site_with_standard(const char* name, int count) {
  const auto revision_of = [](int i) {
    return nlohmann::json{{"item", std::to_string(i)}, {"revision", "A"}};
  };
  nlohmann::json seed;
  for (int i = 0; i < count; ++i) {
    nlohmann::json revision = {{"id", "A"}};
    if (i == 0) {
      revision["datasets"].push_back({{"name", "Standard"}, {"type", "Text"}});
    } else {
      nlohmann::json dataset = revision_of(0);
      dataset["dataset"] = "Standard";
      seed["relations"].push_back(
          {{"primary", revision_of(i)}, {"type", "VELO_reference"}, {"secondary", dataset}});
    }
    seed["items"].push_back({{"id", std::to_string(i)},
                             {"name", "Part"},
                             {"revisions", nlohmann::json::array({revision})}});
  }
  require(ork_host_open(fresh_site(name).c_str()) == ORK_ok, "the site opens");
  take(seed.dump());
  ork_host_close();
}

template <int Count>
void export_with_standard(benchmark::State& state) {
  const std::string name = "standard" + std::to_string(Count) + ".db";
  make_site_with_standard(name.c_str(), Count);
  measure(state, [&name] {
    require(ork_host_open(path_of(name.c_str()).c_str()) == ORK_ok, "the site opens");
    const Stopwatch stopwatch;
    const int status = ork_host_write_export(
        nullptr, nullptr, 1, [](const char*, std::size_t, void*) -> logical { return 1; }, nullptr);
    const double seconds = stopwatch.seconds();
    require(status == ORK_ok, "the site is exported");
    ork_host_close();
    return seconds;
  });
  state.SetItemsProcessed(state.iterations() * Count);
}

/** A program that writes its output, and what it says when it is ended, into files. */
class Program {
 public:
  Program(std::vector<std::string> words, const std::string& output) : process_(fork()) {
    require(process_ >= 0, "a program starts");
    if (process_ == 0) {
      std::vector<char*> arguments;
      for (std::string& word : words) {
        arguments.push_back(word.data());
      }
      arguments.push_back(nullptr);
      require(std::freopen(output.c_str(), "w", stdout) != nullptr &&
                  std::freopen((output + ".errors").c_str(), "w", stderr) != nullptr,
              "a program's output opens");
      execv(arguments[0], arguments.data());
      _exit(127);
    }
  }
  ~Program() {
    if (process_ > 0) {
      kill(process_, SIGTERM);
      wait();
    }
  }
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  bool is_running() const {
    siginfo_t ended{};
    return waitid(P_PID, static_cast<id_t>(process_), &ended, WEXITED | WNOHANG | WNOWAIT) == 0 &&
           ended.si_pid == 0;
  }

  /** Waits for its end. @return the most memory that it had, in units of a million bytes. */
  double megabytes_at_end() {
    require(wait() == 0, "a program comes to its end");
    return static_cast<double>(used_.ru_maxrss) * 1024 / 1e6;  // the system counts kibibytes
  }

 private:
  int wait() {
    int status = 0;
    wait4(process_, &status, 0, &used_);
    process_ = 0;
    return status;
  }

  pid_t process_;
  rusage used_{};
};

void find_all(benchmark::State& state) {
  ensure_items();
  const std::string command = std::string(ZOLP_PROGRAM) + " find '*' --host " +
                              path_of("items.db") + " > " + path_of("found.txt");
  measure(state, [&command] {
    const double before = seconds_of_programs();
    require(std::system(command.c_str()) == 0, "zolp finds the objects");
    return seconds_of_programs() - before;
  });
}

constexpr const char* same_columns = R"(
WITH a(name, id) AS (SELECT name, id FROM attribute)
SELECT CASE c.name WHEN 'Item' THEN d.content || '-' || n.content
         WHEN 'ItemRevision' THEN o.content || '/' || r.content || '-' || n.content
         ELSE n.content END, c.name, y.content, u.content,
  coalesce((SELECT name.content FROM value s JOIN value name ON name.instance = s.content AND
      name.attribute = (SELECT id FROM attribute WHERE name = 'object_name')
    WHERE s.instance = i.tag AND s.attribute = (SELECT id FROM a WHERE name = 'release_status_list')
    ORDER BY s.position DESC LIMIT 1), '')
FROM instance i JOIN class c ON c.id = i.class
JOIN value n ON n.instance = i.tag AND n.attribute = (SELECT id FROM a WHERE name = 'object_name')
JOIN value y ON y.instance = i.tag AND y.attribute = (SELECT id FROM a WHERE name = 'object_type')
LEFT JOIN value d ON d.instance = i.tag AND d.attribute = (SELECT id FROM a WHERE name = 'item_id')
LEFT JOIN value r ON r.instance = i.tag AND
  r.attribute = (SELECT id FROM a WHERE name = 'item_revision_id')
LEFT JOIN value t ON t.instance = i.tag AND t.attribute = (SELECT id FROM a WHERE name = 'item_tag')
LEFT JOIN value o ON o.instance = t.content AND
  o.attribute = (SELECT id FROM a WHERE name = 'item_id')
LEFT JOIN value w ON w.instance = i.tag AND
  w.attribute = (SELECT id FROM a WHERE name = 'owning_user')
LEFT JOIN value u ON u.instance = w.content AND
  u.attribute = (SELECT id FROM a WHERE name = 'user_id')
WHERE i.deleted = 0)";

void query_all(benchmark::State& state) {
  ensure_items();
  measure(state, [] {
    const Stopwatch stopwatch;
    sqlite3* database = nullptr;
    require(sqlite3_open(path_of("items.db").c_str(), &database) == SQLITE_OK, "the site opens");
    std::FILE* const out = std::fopen(path_of("queried.txt").c_str(), "w");
    {
      Statement rows(database, same_columns);
      while (rows.next()) {
        for (int column = 0; column < 5; ++column) {
          std::fputs(rows.text(column).c_str(), out);
          std::fputc(column < 4 ? '|' : '\n', out);
        }
      }
    }
    std::fclose(out);
    sqlite3_close(database);
    return stopwatch.seconds();
  });
}

/** Elapsed time: a command that waits for another one takes none of the processor's. */
double find_some(const std::string& site) {
  const auto start = std::chrono::steady_clock::now();
  const std::string command =
      std::string(ZOLP_PROGRAM) + " find '1000000*' --host " + site + " > " + path_of("found.txt");
  require(std::system(command.c_str()) == 0, "zolp finds objects");
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

void find_alone(benchmark::State& state) {
  ensure_items();
  measure(state, [] { return find_some(path_of("items.db")); });
}

/** The seed changes the site whose objects are sought. */
void find_beside_seed(benchmark::State& state) {
  ensure_items();
  measure(state, [] {
    Program seed({ZOLP_PROGRAM, "host", "seed", path_of("items.db"), path_of("items.json")},
                 path_of("seeded.txt"));
    sleep(1);  // it reads its file, opens the site and begins
    const double seconds = find_some(path_of("items.db"));
    require(seed.is_running(), "the seed goes on beside the listing");
    return seconds;
  });
}

double memory_of_seed() {
  const std::string site = fresh_site("seeded.db");
  Program seed({ZOLP_PROGRAM, "host", "seed", site, path_of("items.json")}, path_of("seeded.txt"));
  return seed.megabytes_at_end();
}

/** A part of each level has two lines of the next one: 2 + 4 + 8 ... lines in all. */
double memory_of_tree() {
  constexpr int levels = 19;
  std::string items;
  std::string lists;
  for (int level = 0; level <= levels; ++level) {
    const std::string id = "L" + std::to_string(level);
    items += (level > 0 ? "," : "") + (R"({"id": ")" + id) +
             R"(", "name": "Part", "revisions": [{"id": "A"}]})";
    if (level < levels) {
      const std::string line = R"({"item": "L)" + std::to_string(level + 1) + R"("})";
      lists += (level > 0 ? "," : "") + (R"({"item": ")" + id) +
               R"(", "revision": "A", "lines": [)" + line + "," + line + "]}";
    }
  }
  const std::string site = fresh_site("tree.db");
  require(ork_host_open(site.c_str()) == ORK_ok, "the site opens");
  take(R"({"items": [)" + items + R"(], "structures": [)" + lists + "]}");
  ork_host_close();
  Program tree({ZOLP_PROGRAM, "bom", "tree", "L0/A", "--json", "--host", site},
               path_of("tree.txt"));
  return tree.megabytes_at_end();
}

void add_seed_benchmarks() {
  repeat(5);
  if (const char* const items = std::getenv("ZOLP_BENCH_ITEMS")) {
    item_count = std::atoi(items);
  }
  write_items();
  compare({"seed of items with two revisions", "its rows inserted by prepared statements", 2.0},
          seed_items, insert_items, 1);
  compare({"structures seeded, parents first", "the same, children first", 1.2},
          seed_structures<true>, seed_structures<false>, 1);
  compare({"structures seeded a second time", "the first time", 1.2}, seed_structures_again,
          seed_structures<true>, 1);
  compare({"export, a revision of 8,000 with a dataset in common", "a revision of 1,000", 1.5},
          export_with_standard<8'000>, export_with_standard<1'000>, 1);
  compare({"zolp find '*'", "an SQLite query of the same columns", 6.0}, find_all, query_all, 1);
  compare({"zolp find beside a seed that runs (elapsed)", "zolp find alone (elapsed)", 1.5},
          find_beside_seed, find_alone, 1);
  const std::string items = std::to_string(item_count);
  limit({"memory of a seed of " + items + " items with two revisions", "MB", 400}, memory_of_seed);
  limit({"memory of zolp bom tree --json of 1,048,574 lines", "MB", 300}, memory_of_tree);
}

}  // namespace
}  // namespace bench

int main(int argc, char** argv) {
  std::string folder = (std::filesystem::temp_directory_path() / "zolp-bench-XXXXXX").string();
  if (mkdtemp(folder.data()) == nullptr) {
    return 1;
  }
  bench::folder = folder;
  bench::add_seed_benchmarks();
  const int status = bench::run(argc, argv);
  std::filesystem::remove_all(folder);
  return status;
}
