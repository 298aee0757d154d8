// Changes a site in a loop until it is killed:
//
//     changing_program SITE PROGRESS WORKER
//
// Each change has a number; what belongs together carries the same one. Several at once are workers
// with names of their own.

#include <cstdio>
#include <fstream>
#include <string>

#include "ork/dset.h"
#include "ork/file.h"
#include "ork/item.h"
#include "ork/obj.h"
#include "ork/ork.h"
#include "ork/rel.h"
#include "ork_host.h"
#include "progress.h"

namespace {

test::Progress* progress = nullptr;
std::string worker;

void expect(int status, const char* what) {
  if (status != ORK_ok) {
    std::fprintf(stderr, "%s: status %d\n", what, status);
    progress->failures.store(status);
  }
}

/** Gives an item a name and a description of the same text, in one save. */
void rename(tag item, int number) {
  const std::string text = std::to_string(number);
  expect(OBJ_refresh(item, 1), "lock");
  expect(OBJ_set_value_string(item, "object_name", text.c_str()), "name");
  expect(OBJ_set_value_string(item, "object_desc", text.c_str()), "description");
  expect(OBJ_save(item), "save");
  progress->renamed.store(number);
  expect(OBJ_refresh(item, 0), "unlock");
}

/** Makes an item, its revision and a relation of the two. */
void create(tag relation_type, int number) {
  tag item = NULLTAG;
  tag revision = NULLTAG;
  tag relation = NULLTAG;
  expect(ITEM_create_item(("N" + worker + std::to_string(number)).c_str(), "New", nullptr, "A",
                          &item, &revision),
         "create");
  expect(OBJ_save(item), "save item");
  expect(OBJ_save(revision), "save revision");
  expect(REL_create_relation(revision, item, relation_type, NULLTAG, &relation), "relate");
  expect(REL_save_relation(relation), "save relation");
  progress->created.store(number);
  expect(OBJ_refresh(item, 0), "unlock item");
  expect(OBJ_refresh(revision, 0), "unlock revision");
}

/** Seeds a group and a role, which come together or not at all. */
void seed(int number) {
  const std::string name = "\"pair " + worker + std::to_string(number) + "\"";
  expect(ork_host_seed(("{\"groups\": [" + name + "], \"roles\": [" + name + "]}").c_str()),
         "seed");
  progress->seeded.store(number);
}

void prefer(int number) {
  const std::string text = std::to_string(number);
  const char* values[] = {text.c_str(), text.c_str(), text.c_str()};
  expect(ork_host_set_preference(("Number" + worker).c_str(), 3, values), "preference");
  progress->preferred.store(number);
}

/** Imports a file that holds the number into a dataset of that name. */
void file(const std::string& path, int number) {
  const std::string text = std::to_string(number);
  tag type = NULLTAG;
  tag dataset = NULLTAG;
  tag imported = NULLTAG;
  std::ofstream(path) << text;
  expect(FILE_import_file(path.c_str(), nullptr, SS_TEXT, &imported, nullptr), "import");
  expect(OBJ_save(imported), "save file");
  expect(DSET_find_datasettype("Note", &type), "dataset type");
  expect(DSET_create_dataset_with_id(type, ("F" + worker + text).c_str(), "", nullptr, nullptr,
                                     &dataset),
         "dataset");
  expect(DSET_add_dataset_named_ref(dataset, "Text", DSET_PART_OF, imported), "reference");
  expect(OBJ_save(dataset), "save dataset");
  progress->filed.store(number);
  expect(OBJ_refresh(dataset, 0), "unlock dataset");
  expect(OBJ_refresh(imported, 0), "unlock file");
}

/** Deletes what the round before the last one has imported, contents and all. */
void unfile(int number) {
  tag dataset = NULLTAG;
  DSET_find_dataset(("F" + worker + std::to_string(number)).c_str(), &dataset);
  if (dataset != NULLTAG) {
    expect(OBJ_refresh(dataset, 1), "lock dataset");
    expect(OBJ_delete(dataset), "delete dataset");
  }
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 4) {
    return 2;
  }
  const test::SharedMemory<test::Progress> shared(arguments[2]);
  progress = &*shared;
  worker = arguments[3];
  expect(ork_host_open(arguments[1]), "open");
  expect(ORK_auto_login(), "login");
  tag item = NULLTAG;
  tag relation_type = NULLTAG;
  expect(ork_host_find_item(("kept" + worker).c_str(), nullptr, &item), "find");
  expect(REL_find_relation_type("VELO_reference", &relation_type), "relation type");
  // A killed run may have saved what it did not come to say; the numbers leave room for that.
  for (int number = progress->renamed.load() + 2; progress->failures.load() == 0; ++number) {
    rename(item, number);
    create(relation_type, number);
    prefer(number);
    seed(number);
    file(std::string(arguments[2]) + ".txt", number);
    unfile(number - 2);
  }
  return 1;
}
