// Datasets with their files, and forms.

#include "sweep.h"

namespace sweep {

namespace {

std::string numbered(const char* name, const Run& run) {
  return name + std::string(" ") + std::to_string(run.number);
}

/** Makes such a name for an input. */
auto named(const char* name) {
  return [name](Run& run) { return numbered(name, run); };
}

std::string text_file() {
  std::ofstream(path("note.txt")) << "a note\n";
  return path("note.txt");
}

/** A saved file of the vault. */
tag make_file() {
  tag file = NULLTAG;
  prepared(FILE_import_file(text_file().c_str(), nullptr, SS_TEXT, &file, nullptr), "file");
  prepared(OBJ_save(file), "file");
  prepared(OBJ_refresh(file, 0), "file");
  return file;
}

tag make_dataset(const std::string& name) {
  tag dataset = NULLTAG;
  prepared(ZOLP_createDataset("Note", name.c_str(), "Text", nullptr, nullptr, &dataset), "dataset");
  return dataset;
}

void refer(tag dataset, const char* reference, tag to) {
  prepared(OBJ_lock(dataset), "lock");
  prepared(DSET_add_dataset_named_ref(dataset, reference, DSET_PART_OF, to), reference);
  prepared(OBJ_save(dataset), "save");
  prepared(OBJ_refresh(dataset, 0), "unlock");
}

/** Shows whether a dataset refers to anything under a name, as it is saved, and whether it is
 * locked.
 */
void out_reference(Run& run, tag dataset, const char* reference) {
  int lock = 0;
  int type = 0;
  tag found = NULLTAG;
  prepared(STORE_get_instance_lock(dataset, &lock), "lock");
  OBJ_refresh(dataset, 0);
  DSET_get_dataset_named_ref(dataset, reference, &type, &found);
  run.out(found != NULLTAG ? "there" : "none").out(lock == STORE_modify_lock ? "locked" : "free");
}

int count_related(tag primary) {
  int count = 0;
  tag* objects = nullptr;
  prepared(REL_list_secondary_objects_only(primary, NULLTAG, &count, &objects), "related");
  MEM_free(objects);
  return count;
}

void add_creation(Cases& cases) {
  cases.add("ZOLP_createDataset")
      .call(outputs_of(ZOLP_createDataset, "Note", named("dataset"), "Text", nullptr, nullptr));
  cases.add("ZOLP_createRelation").call([](Run& run) {
    const tag dataset = make_dataset(numbered("primary", run));
    run.call(ZOLP_createRelation, dataset, object("100"), "Documents");
    run.out(count_related(dataset));
  });
}

void add_references(Cases& cases) {
  cases.add("ZOLP_attachNamedReference", "a new reference").call([](Run& run) {
    const tag dataset = make_dataset(numbered("holder", run));
    const tag file = make_file();
    run.call(ZOLP_attachNamedReference, dataset, file, "Text");
    out_reference(run, dataset, "Text");
  });
  cases.add("ZOLP_findDatasetNamedRef")
      .call(outputs_of(
          ZOLP_findDatasetNamedRef,
          [](Run& run) {
            const std::string name = numbered("found", run);
            refer(make_dataset(name), "Text", make_file());
            return name;
          },
          "Text"));
}

void add_text_import(Cases& cases) {
  cases.add("ZOLP_importTextDataset")
      .call(outputs_of(ZOLP_importTextDataset, nullptr, named("text"),
                       [](Run&) { return text_file(); }));
}

template <typename Import>
void add_described_import(Cases& cases, const char* function, Import import) {
  // What was made before a failure is unlocked.
  cases.add(function).call([import](Run& run) {
    const tag holder = make_dataset(numbered("holder", run));
    const std::string file = text_file();
    run.call(import, holder, numbered("described", run).c_str(), file.c_str());
    run.out(count_related(holder) > 0 ? "related" : "none");
  });
}

void add_exports_and_copies(Cases& cases) {
  cases.add("ZOLP_exportImage").call([](Run& run) {
    const std::string name = "image" + std::to_string(run.number);
    const tag dataset = make_dataset(name);
    refer(dataset, "Text", make_file());
    tag list[] = {dataset};
    const std::string directory = path("");
    std::string buffer = directory;
    buffer.resize(directory.size() + ZOLP_IMAGE_NAME_SIZE);
    const std::string exported = path("100_B_" + name);
    std::remove(exported.c_str());
    run.call(ZOLP_exportImage, list, 1, buffer.data(), "Text", "no", object("100/B"));
    run.out(buffer.c_str() == directory ? "same" : "changed").out(contents(exported));
  });
  cases.add("ZOLP_RealCopyDataset", "a dataset with a text file")
      .call(outputs_of(
          ZOLP_RealCopyDataset,
          [](Run& run) {
            const tag dataset = make_dataset(numbered("original", run));
            refer(dataset, "Text", make_file());
            return dataset;
          },
          named("copy")))
      .prepare([] { setenv("VK_TMP_DIR", path("").c_str(), 1); });
}

tag make_form(const std::string& name) {
  tag form = NULLTAG;
  prepared(ZOLP_createForm(name.c_str(), "Sheet", "", &form), "form");
  prepared(OBJ_refresh(form, 0), "form");
  return form;
}

void add_forms(Cases& cases) {
  cases.add("ZOLP_createForm").call(outputs_of(ZOLP_createForm, named("form"), "Sheet", ""));
  cases.add("ZOLP_GetMasterForm").call(outputs_of(ZOLP_GetMasterForm, [](Run& run) {
    const tag master = make_form(numbered("master", run));
    const tag holder = make_dataset(numbered("holder", run));
    prepared(ZOLP_createRelation(holder, master, "VELO_master_form"), "relation");
    return holder;
  }));
  cases.add("ZOLP_GetNamedRefForm", "a form is made")
      .call(outputs_of(
          ZOLP_GetNamedRefForm, [](Run& run) { return make_dataset(numbered("sheets", run)); },
          "Sheet", out, logical{1}, ""));
  cases.add("ZOLP_FORM_ask_value")
      .call(outputs_of(
          ZOLP_FORM_ask_value,
          [](Run& run) {
            const tag form = make_form(numbered("asked", run));
            prepared(OBJ_lock(form), "lock");
            prepared(ZOLP_FORM_set_value(form, "note", "text"), "value");
            prepared(OBJ_save(form), "save");
            prepared(OBJ_refresh(form, 0), "unlock");
            return form;
          },
          "note", 80));
  cases.add("ZOLP_FORM_set_value").call([](Run& run) {
    const tag form = make_form(numbered("set", run));
    prepared(OBJ_lock(form), "lock");
    run.call(ZOLP_FORM_set_value, form, "note", "text");
    prepared(OBJ_refresh(form, 0), "unlock");
  });
}

/** Shows the values of a description, joined, and frees all of it. */
void describe_form(Run& run) {
  const tag form = make_form(numbered("described", run));
  char* type_name = untouched<char>();
  int count = untouched_number;
  char** names = untouched<char*>();
  char** display_names = untouched<char*>();
  int* lengths = untouched<int>();
  char** values = untouched<char*>();
  run.call(ZOLP_FORM_describe, form, &type_name, &count, &names, &display_names, &lengths, &values);
  run.out(type_name).out(count).out(values == nullptr ? "null" : "values");
  for (char** array : {names, display_names, values}) {
    for (int i = 0; i < count; ++i) {
      MEM_free(array[i]);
    }
    MEM_free(array);
  }
  MEM_free(type_name);
  MEM_free(lengths);
}

}  // namespace

void add_dataset_cases(Cases& cases) {
  add_creation(cases);
  add_references(cases);
  add_text_import(cases);
  add_described_import(cases, "ZOLP_fct_import_text_dataset_desc",
                       [](tag holder, const char* name, const char* file) {
                         return ZOLP_fct_import_text_dataset_desc(holder, name, "described", file,
                                                                  "note");
                       });
  add_described_import(cases, "ZOLP_fct_import_text_dataset",
                       [](tag holder, const char* name, const char* file) {
                         return ZOLP_fct_import_text_dataset(holder, name, file, "note");
                       });
  add_exports_and_copies(cases);
  add_forms(cases);
  cases.add("ZOLP_FORM_describe", "a form without the fields").call(describe_form);
}

}  // namespace sweep
