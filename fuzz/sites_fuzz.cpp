// Damaged sites: rows that no site has, and bytes of the file. An input says what is damaged. The
// site is refused, or every part of it that is asked for is there or is refused.

#include <random>

#include "fuzz/support.h"
#include "ork/bomw.h"
#include "ork/dset.h"
#include "ork/err.h"
#include "ork/file.h"
#include "ork/flow.h"
#include "ork/mem.h"
#include "ork/obj.h"
#include "ork_host.h"
#include "tests/support/site_damage.h"

namespace {

namespace fs = std::filesystem;

const std::string& folder() {
  // Never destroyed: what is removed when the program ends is asked for here, too.
  static const auto* const path = [] {
    const fs::path made =
        fs::temp_directory_path() / ("sites-fuzz-" + std::to_string(std::random_device{}()));
    fs::create_directory(made);
    return new std::string(made.string());
  }();
  return *path;
}

std::string file(const char* name) {
  return folder() + "/" + name;
}

constexpr const char* seed = R"({
  "site": {"password_cost": 1, "id": 1, "automatic_login": "ada"},
  "groups": ["all"], "roles": ["any"],
  "users": [{"id": "ada", "password": "secret", "memberships": [{"group": "all", "role": "any"}]}],
  "types": [{"name": "Machine", "parent": "Item"}, {"name": "Press", "parent": "Machine"}],
  "form_types": [{"name": "Mass", "fields": [{"name": "weight", "kind": "real"},
                                             {"name": "weighed", "kind": "date"}]}],
  "preferences": {"One": ["a", "b"]},
  "items": [
    {"id": "1", "name": "Press", "type": "Press", "master_form": {"type": "Mass", "values": {"weight": "1"}},
     "revisions": [{"id": "A", "statuses": ["Released"], "datasets": [
       {"name": "Note", "type": "Text", "files": [{"reference": "Text", "path": "note.txt"}]}]}]},
    {"id": "2", "name": "Rod", "revisions": [{"id": "A"}]},
    {"id": "3", "name": "Pin", "revisions": [{"id": "A"}]}],
  "note_types": ["Torque"],
  "structures": [
    {"item": "1", "revision": "A", "lines": [
      {"item": "2", "quantity": 2, "sequence": 10, "notes": {"Torque": "9 Nm"}}, {"item": "3"}]},
    {"item": "2", "revision": "A", "lines": [{"item": "3", "revision": "A"}]}],
  "access_rules": [{"deny": ["DELETE"], "to": "world", "on": {"type": "Machine"}}],
  "process_templates": [{"name": "Check", "tasks": [
    {"name": "Review", "type": "review", "signoffs": [{"user": "ada"}]},
    {"name": "Large?", "type": "condition", "branches": [{"result": true, "tasks": [{"name": "Do"}]}]}]}]
})";

/** Whatever a call answers, a refusal has a text. */
bool is_done(int status) {
  if (status != ORK_ok) {
    char* text = nullptr;
    fuzz::check(ERR_get_error_text(status, &text) == ORK_ok && *text != '\0',
                "a refusal has a text");
    MEM_free(text);
    ERR_clear_errors();
  }
  return status == ORK_ok;
}

void walk_line(tag line, int attribute, int depth) {
  fuzz::check(depth < 100, "a structure ends");
  tag item = NULLTAG;
  is_done(BOMW_line_get_attribute_tag(line, attribute, &item));
  int count = 0;
  tag* children = nullptr;
  if (is_done(BOMW_line_get_child_lines(line, &count, &children))) {
    for (int i = 0; i < count; ++i) {
      walk_line(children[i], attribute, depth + 1);
    }
    MEM_free(children);
  }
}

void walk_structure(tag revision) {
  tag window = NULLTAG;
  tag top = NULLTAG;
  int attribute = 0;
  if (is_done(BOMW_create_window(&window)) &&
      is_done(BOMW_set_window_top_line(window, revision, NULLTAG, NULLTAG, &top)) &&
      is_done(BOMW_line_look_up_attribute("bl_item", &attribute))) {
    walk_line(top, attribute, 0);
  }
  is_done(BOMW_close_window(window));
}

void use_dataset() {
  tag dataset = NULLTAG;
  tag object = NULLTAG;
  tag copy = NULLTAG;
  int type = 0;
  if (is_done(DSET_find_dataset("Note", &dataset)) &&
      is_done(DSET_get_dataset_named_ref(dataset, "Text", &type, &object))) {
    fs::remove(file("out"));
    is_done(FILE_export_file(object, file("out").c_str()));
    is_done(DSET_copy_dataset_with_id(dataset, "Copy", nullptr, nullptr, &copy));
  }
}

void use_job() {
  tag process = NULLTAG;
  tag job = NULLTAG;
  tag root = NULLTAG;
  if (is_done(FLOW_find_process_template("Check", &process)) &&
      is_done(FLOW_create_process("New", "", process, 0, nullptr, nullptr, &job))) {
    is_done(FLOW_get_root_task(job, &root));
  }
  int count = 0;
  tag* jobs = nullptr;
  if (is_done(FLOW_find_jobs("*", &count, &jobs))) {
    for (int i = 0; i < count; ++i) {
      is_done(FLOW_refresh_entire_job(jobs[i]));
    }
    MEM_free(jobs);
  }
}

void use_site() {
  for (const char* section :
       {"users", "types", "dataset_types", "form_types", "process_templates", "items", "structures",
        "folders", "relations", "access_rules", "objects", "jobs", "locks", "preferences"}) {
    char* json = nullptr;
    if (is_done(ork_host_describe(section, &json))) {
      MEM_free(json);
    }
  }
  if (!is_done(ORK_init_module("ada", "secret", "all"))) {
    return;
  }
  for (const char* id : {"1", "2", "3"}) {
    tag item = NULLTAG;
    tag revision = NULLTAG;
    if (is_done(ork_host_find_item(id, "A", &revision))) {
      walk_structure(revision);
    }
    if (is_done(ork_host_find_item(id, nullptr, &item)) && is_done(OBJ_lock(item))) {
      is_done(OBJ_set_value_string(item, "object_desc", "changed"));
      is_done(OBJ_save(item));
      is_done(OBJ_delete(item));
    }
  }
  use_dataset();
  use_job();
  is_done(ORK_exit_module(1));
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  std::atexit([] { fs::remove_all(folder()); });
  std::ofstream(file("note.txt")) << "a note";
  std::ofstream(file("seed.json")) << seed;
  fuzz::check(ork_host_open(file("whole.db").c_str()) == ORK_ok, "a site opens");
  fuzz::check(ork_host_seed_file(file("seed.json").c_str()) == ORK_ok, "a site is seeded");
  tag process = NULLTAG;
  tag job = NULLTAG;
  fuzz::check(ORK_auto_login() == ORK_ok &&
                  FLOW_find_process_template("Check", &process) == ORK_ok &&
                  FLOW_create_process("Run", "", process, 0, nullptr, nullptr, &job) == ORK_ok,
              "a job is started");
  ork_host_close();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string damaged = file("damaged.db");
  for (const char* name : {"damaged.db", "damaged.db-wal", "damaged.db-shm", "damaged.db.vault",
                           "damaged.db.processes"}) {
    fs::remove_all(file(name));
  }
  fs::copy_file(file("whole.db"), damaged);
  fs::copy(file("whole.db.vault"), damaged + ".vault");
  test::damage(damaged, fuzz::text_of(data, size));
  if (is_done(ork_host_open(damaged.c_str()))) {
    use_site();
  }
  ork_host_close();
  return 0;
}
