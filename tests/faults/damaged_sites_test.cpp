// Commands on damaged sites: each ends with a result or with a refusal, and in little time.

#include <cstdlib>
#include <filesystem>
#include <random>

#include "support/site_damage.h"
#include "tools/run_program.h"

namespace {

namespace fs = std::filesystem;

constexpr const char* seed = R"({
  "site": {"password_cost": 1, "automatic_login": "ada"},
  "groups": ["all"], "roles": ["any"],
  "users": [{"id": "ada", "memberships": [{"group": "all", "role": "any"}]}],
  "types": [{"name": "Machine", "parent": "Item"}],
  "items": [
    {"id": "1", "name": "Press", "type": "Machine", "master_form": {"type": "FreigabeInfo"},
     "revisions": [{"id": "A", "statuses": ["Released"], "datasets": [
       {"name": "Note", "type": "Text", "files": [{"reference": "Text", "path": "note.txt"}]}]}]},
    {"id": "2", "name": "Rod", "revisions": [{"id": "A"}]}],
  "structures": [{"item": "1", "revision": "A", "lines": [{"item": "2", "quantity": 2}]}],
  "process_templates": [{"name": "Check", "tasks": [{"name": "First"}]}]
})";

/** 40 sites, or as many as the variable says. */
int damages() {
  const char* const wanted = std::getenv("ZOLP_TEST_DAMAGES");
  return wanted != nullptr ? std::atoi(wanted) : 40;
}

class DamagedSites : public test::ZolpTest {};

}  // namespace

TEST_F(DamagedSites, AreReadOrRefused) {
  folder.write("note.txt", "a note");
  make_site(seed);
  const fs::path whole = folder.path("whole.db");
  fs::copy_file(site, whole);
  std::mt19937 random(4711);
  const std::string out = folder.path("out");
  int refused = 0;
  for (int number = 0; number < damages(); ++number) {
    std::string bytes(1 + random() % 60, '\0');
    for (char& byte : bytes) {
      byte = static_cast<char>(random());
    }
    fs::remove(site);
    fs::copy_file(whole, site);
    test::damage(site, bytes);
    for (const std::vector<std::string>& command : std::vector<std::vector<std::string>>{
             {"host", "show", site},
             {"bom", "tree", "1/A"},
             {"show", "1/A"},
             {"form", "show", "1"},
             {"dataset", "export", "Note", "--out", out},
             {"job", "start", "Check", "--name", "Job", "--target", "1/A"},
             {"host", "seed", site, folder.path("seed.json")}}) {
      fs::remove(out);
      const test::Run run = on_site(command);
      SCOPED_TRACE("site " + std::to_string(number) + ", " + command[0] + " " + command[1]);
      EXPECT_TRUE(run.exit_code == 0 || run.exit_code == 1) << run.exit_code;
      EXPECT_EQ(run.exit_code != 0, !run.err.empty());
      EXPECT_THAT(run.err, testing::Not(testing::HasSubstr("unexpected"))) << run.err;
      refused += run.exit_code == 1 ? 1 : 0;
    }
    ASSERT_FALSE(HasFailure());
  }
  std::printf("%d damaged sites, %d commands refused\n", damages(), refused);
}
