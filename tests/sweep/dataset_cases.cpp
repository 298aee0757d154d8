// Datasets with their files, and forms.

#include <cstdio>
#include <cstdlib>
#include <fstream>

#include "ork/dset.h"
#include "ork/file.h"
#include "ork/form.h"
#include "ork/mem.h"
#include "ork/obj.h"
#include "ork/rel.h"
#include "ork/store.h"
#include "ork_host.h"
#include "sweep.h"
#include "zolp_orktool.h"

namespace sweep {

namespace {

std::string numbered(const char* name, const Run& run) {
  return name + std::string(" ") + std::to_string(run.number);
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

const char* made(tag object_made) {
  return object_made != NULLTAG ? "made" : "none";
}

void add_creation(Cases& cases) {
  cases
      .add("ZOLP_createDataset", "", R"(good 0: made; answers 919246 DSET_find_datasettype: none;
        answers 919247 DSET_get_datasettype_def_tool DSET_get_tool_output_formats: none;
        aborts DSET_get_datasettype_refs: none; passes DSET_create_dataset_with_id: none;
        aborts DSET_set_dataset_tool DSET_set_dataset_format DSET_get_dataset_def_rev_limit
          WSO_set_revision_limit OBJ_save: made; aborts locked OBJ_refresh: made)")
      .call([](Run& run) {
        tag dataset = NULLTAG;
        run.call(ZOLP_createDataset, "Note", numbered("dataset", run).c_str(), "Text", nullptr,
                 nullptr, &dataset);
        run.out(made(dataset));
      });
  cases
      .add("ZOLP_createRelation", "", R"(good 0: 1;
        passes REL_find_relation_type REL_create_relation: 0; passes REL_save_relation: 1)")
      .call([](Run& run) {
        const tag dataset = make_dataset(numbered("primary", run));
        run.call(ZOLP_createRelation, dataset, object("100"), "Documents");
        run.out(count_related(dataset));
      });
}

/** Attaching to a dataset whose lock cannot be had. */
const std::string attaches_without_lock =
    "then STORE_who_locked_instance DSET_get_dataset_named_ref DSET_add_dataset_named_ref";

void add_references(Cases& cases) {
  // A reference that cannot be read counts as one that is not there; the allocation is that of the
  // text of its absence.
  cases
      .add("ZOLP_attachNamedReference", "a new reference",
           R"(good 0: there|free;
        ignores STORE_get_instance_state STORE_get_instance_lock: there|free;
        answers STORE_not_locked +1 OBJ_lock )" +
               attaches_without_lock + R"(: none|free;
        ignores STORE_who_locked_instance DSET_get_dataset_named_ref: there|free;
        aborts DSET_add_dataset_named_ref OBJ_save: none|locked; aborts OBJ_refresh: there|locked;
        aborts OBJ_unload: there|free; exhausted 0: there|free)")
      .call([](Run& run) {
        const tag dataset = make_dataset(numbered("holder", run));
        const tag file = make_file();
        run.call(ZOLP_attachNamedReference, dataset, file, "Text");
        out_reference(run, dataset, "Text");
      });
  cases
      .add("ZOLP_findDatasetNamedRef", "", R"(good 0: there;
        answers 1 DSET_find_dataset DSET_get_dataset_named_ref: none)")
      .call([](Run& run) {
        const std::string name = numbered("found", run);
        refer(make_dataset(name), "Text", make_file());
        tag found = NULLTAG;
        run.call(ZOLP_findDatasetNamedRef, name.c_str(), "Text", &found);
        run.out(found != NULLTAG ? "there" : "none");
      });
}

void add_text_import(Cases& cases) {
  const std::string rest = R"( DSET_find_datasettype DSET_get_datasettype_def_tool
    DSET_get_datasettype_refs DSET_create_dataset_with_id DSET_set_dataset_tool
    DSET_set_dataset_format DSET_get_dataset_def_rev_limit WSO_set_revision_limit OBJ_save
    OBJ_refresh STORE_get_instance_state STORE_get_instance_lock OBJ_lock
    STORE_who_locked_instance DSET_get_dataset_named_ref DSET_add_dataset_named_ref)";
  // The import goes on without a file; the attachment of none is what fails then. A file that is
  // not saved cannot be referred to by what is.
  cases
      .add("ZOLP_importTextDataset", "",
           "good 0: made; answers STORE_unknown_tag +1 locked FILE_import_file then OBJ_save "
           "OBJ_lock" +
               rest + ": made; answers STORE_refers_to_unsaved +1 locked OBJ_save then OBJ_lock" +
               rest + R"( OBJ_save: made; ignores OBJ_lock: made;
             answers 919246 locked DSET_find_datasettype: none;
             answers 919247 locked DSET_get_datasettype_def_tool: none;
             aborts locked DSET_get_datasettype_refs: none;
             passes locked DSET_create_dataset_with_id: none;
             aborts locked DSET_set_dataset_tool DSET_set_dataset_format
               DSET_get_dataset_def_rev_limit WSO_set_revision_limit OBJ_save OBJ_refresh: made;
             ignores STORE_get_instance_state STORE_get_instance_lock: made;
             answers STORE_not_locked +1 locked OBJ_lock )" +
               attaches_without_lock + R"(: made;
             ignores STORE_who_locked_instance DSET_get_dataset_named_ref: made;
             aborts locked DSET_add_dataset_named_ref OBJ_save OBJ_refresh OBJ_unload: made;
             ignores locked OBJ_refresh: made; answers 1 OBJ_refresh: made; exhausted 0: made)")
      .call([](Run& run) {
        tag dataset = untouched_tag;
        const std::string file = text_file();
        run.call(ZOLP_importTextDataset, nullptr, numbered("text", run).c_str(), file.c_str(),
                 &dataset);
        run.out(made(dataset));
      });
}

template <typename Import>
void add_described_import(Cases& cases, const char* function, Import import) {
  // What was made before a failure is unlocked.
  cases
      .add(function, "", R"(good 0 locked: related; passes FILE_import_file OBJ_save: none;
        passes locked DSET_find_datasettype DSET_get_datasettype_def_tool
          DSET_create_dataset_with_id: none;
        passes locked DSET_set_dataset_tool DSET_set_dataset_format DSET_add_dataset_named_ref
          OBJ_save then OBJ_refresh: none;
        ignores locked unwrapped OBJ_refresh: related;
        passes locked STORE_tag_to_uid REL_find_relation_type REL_create_relation: none;
        passes locked REL_save_relation: related)")
      .call([import](Run& run) {
        const tag holder = make_dataset(numbered("holder", run));
        const std::string file = text_file();
        run.call(import, holder, numbered("described", run).c_str(), file.c_str());
        run.out(count_related(holder) > 0 ? "related" : "none");
      });
}

void add_exports_and_copies(Cases& cases) {
  cases
      .add("ZOLP_exportImage", "", R"(good 0: same|a note\n; makes_do: same|none;
        aborts ITEM_get_item_of_rev ITEM_get_id ITEM_get_rev_id: same|none;
        ignores DSET_find_dataset_named_ref then: same|none; aborts WSO_get_name: same|none;
        ignores FILE_export_file: same|none)")
      .call([](Run& run) {
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
  cases
      .add("ZOLP_RealCopyDataset", "a dataset with a text file", R"(good 0: made;
        aborts DSET_copy_dataset_with_id: none; aborts OBJ_save: made;
        aborts locked OBJ_refresh WSO_get_object_type DSET_find_datasettype
          DSET_get_dataset_ref_count DSET_find_dataset_named_ref STORE_class_of_instance
          STORE_name_of_class DSET_get_datasettype_file_refs FILE_get_original_file_name
          FILE_export_file FILE_import_file OBJ_save DSET_replace_dataset_named_ref OBJ_lock
          FILE_set_original_file_name OBJ_save OBJ_refresh OBJ_save OBJ_refresh: made)")
      .call([](Run& run) {
        const tag dataset = make_dataset(numbered("original", run));
        refer(dataset, "Text", make_file());
        tag copy = untouched_tag;
        run.call(ZOLP_RealCopyDataset, dataset, numbered("copy", run).c_str(), &copy);
        run.out(made(copy));
      })
      .prepare([] { setenv("VK_TMP_DIR", path("").c_str(), 1); });
}

tag make_form(const std::string& name) {
  tag form = NULLTAG;
  prepared(ZOLP_createForm(name.c_str(), "Sheet", "", &form), "form");
  prepared(OBJ_refresh(form, 0), "form");
  return form;
}

void add_forms(Cases& cases) {
  cases
      .add("ZOLP_createForm", "", R"(good 0 locked: made; aborts FORM_create: none;
        aborts FORM_initialize OBJ_save: made)")
      .call([](Run& run) {
        tag form = NULLTAG;
        run.call(ZOLP_createForm, numbered("form", run).c_str(), "Sheet", "", &form);
        run.out(made(form));
      });
  cases
      .add("ZOLP_GetMasterForm", "", R"(good 0: found;
        aborts TYPE_find_type REL_list_secondary_objects_only: none)")
      .call([](Run& run) {
        const tag master = make_form(numbered("master", run));
        const tag holder = make_dataset(numbered("holder", run));
        prepared(ZOLP_createRelation(holder, master, "VELO_master_form"), "relation");
        tag form = untouched_tag;
        run.call(ZOLP_GetMasterForm, holder, &form);
        run.out(form == master ? "found" : "none");
      });
  // After what fails, dataset and form are unlocked by calls that are not traced. The allocation is
  // that of the text of the reference's absence.
  cases
      .add("ZOLP_GetNamedRefForm", "a form is made", R"(good 0: made; ignores OBJ_refresh: made;
        passes DSET_get_dataset_named_ref FORM_create then OBJ_refresh: none;
        passes OBJ_lock OBJ_save DSET_add_dataset_named_ref OBJ_save
          then OBJ_refresh OBJ_refresh: made;
        ignores locked unwrapped OBJ_refresh x2: made; exhausted 0: made)")
      .call([](Run& run) {
        const tag dataset = make_dataset(numbered("sheets", run));
        tag form = untouched_tag;
        run.call(ZOLP_GetNamedRefForm, dataset, "Sheet", &form, logical{1}, "");
        run.out(made(form));
      });
  cases.add("ZOLP_FORM_ask_value", "", "good 0: text|4; aborts OBJ_UIF_get_value: |0")
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
  cases.add("ZOLP_FORM_set_value", "", "good 0; aborts OBJ_UIF_set_value").call([](Run& run) {
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

void add_form_description(Cases& cases) {
  // A field that cannot be read leaves its guarded call's frame open, and is empty. The form has
  // none of the fields. The allocations are the type's name, four arrays and 26 names; then for
  // each field the text of the error, without which it goes on, and the value.
  const std::string whole = " STORE_unknown_attribute +13: FreigabeInfo|13|values;";
  std::string promises =
      "good" + whole + R"(ignores +13 OBJ_UIF_get_value x12: FreigabeInfo|13|values;
    passes +13 OBJ_UIF_get_value: FreigabeInfo|13|values; exhausted 1 x31: null|0|null;)";
  for (int i = 1; i <= 13; ++i) {
    promises += "exhausted" + whole + "exhausted 1 +" + std::to_string(i) + ": null|0|null;";
  }
  cases.add("ZOLP_FORM_describe", "a form without the fields", promises).call(describe_form);
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
  add_form_description(cases);
}

}  // namespace sweep
