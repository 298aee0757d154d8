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

void add_creation(Cases& cases) {
  const auto ends = [](const char* operation) { return passes(operation, "none"); };
  cases.add("ZOLP_createDataset", "")
      .good({0, "made"})
      .steps({answers("DSET_find_datasettype", 919246, "none"),
              answers("DSET_get_datasettype_def_tool", 919247, "none"),
              answers("DSET_get_tool_output_formats", 919247, "none"),
              aborts("DSET_get_datasettype_refs", "none"), ends("DSET_create_dataset_with_id"),
              aborts("DSET_set_dataset_tool", "made"), aborts("DSET_set_dataset_format", "made"),
              aborts("DSET_get_dataset_def_rev_limit", "made"),
              aborts("WSO_set_revision_limit", "made"), aborts("OBJ_save", "made"),
              aborts("OBJ_refresh", "made").locks()})
      .call([](Run& run) {
        tag dataset = NULLTAG;
        run.call(ZOLP_createDataset, "Note", numbered("dataset", run).c_str(), "Text", nullptr,
                 nullptr, &dataset);
        run.out(dataset != NULLTAG ? "made" : "none");
      });
  cases.add("ZOLP_createRelation", "")
      .good({0, "1"})
      .steps({passes("REL_find_relation_type", "0"), passes("REL_create_relation", "0"),
              passes("REL_save_relation", "1")})
      .call([](Run& run) {
        const tag dataset = make_dataset(numbered("primary", run));
        run.call(ZOLP_createRelation, dataset, object("100"), "Documents");
        run.out(count_related(dataset));
      });
}

void add_references(Cases& cases) {
  const auto ends = [](const char* operation) { return passes(operation, "none|locked"); };
  // A reference that cannot be read counts as one that is not there.
  cases.add("ZOLP_attachNamedReference", "a new reference")
      .good({0, "there|free"})
      .steps({ignores("STORE_get_instance_state", "there|free"),
              ignores("STORE_get_instance_lock", "there|free"),
              answers("OBJ_lock", STORE_not_locked, "none|free")
                  .calls({"STORE_who_locked_instance", "DSET_get_dataset_named_ref",
                          "DSET_add_dataset_named_ref"}),
              ignores("STORE_who_locked_instance", "there|free"),
              ignores("DSET_get_dataset_named_ref", "there|free"),
              ends("DSET_add_dataset_named_ref"), ends("OBJ_save"),
              passes("OBJ_refresh", "there|locked"), passes("OBJ_unload", "there|free")})
      .allocations({exhausted(0, "there|free")})  // the text of the reference's absence
      .call([](Run& run) {
        const tag dataset = make_dataset(numbered("holder", run));
        const tag file = make_file();
        run.call(ZOLP_attachNamedReference, dataset, file, "Text");
        out_reference(run, dataset, "Text");
      });
  cases.add("ZOLP_findDatasetNamedRef", "")
      .good({0, "there"})
      .steps({answers("DSET_find_dataset", 1, "none"),
              answers("DSET_get_dataset_named_ref", 1, "none")})
      .call([](Run& run) {
        const std::string name = numbered("found", run);
        refer(make_dataset(name), "Text", make_file());
        tag found = NULLTAG;
        run.call(ZOLP_findDatasetNamedRef, name.c_str(), "Text", &found);
        run.out(found != NULLTAG ? "there" : "none");
      });
}

std::vector<std::string> calls_to_attach() {
  return {"STORE_get_instance_state",  "STORE_get_instance_lock",    "OBJ_lock",
          "STORE_who_locked_instance", "DSET_get_dataset_named_ref", "DSET_add_dataset_named_ref"};
}

std::vector<std::string> calls_to_create() {
  return {"DSET_find_datasettype",
          "DSET_get_datasettype_def_tool",
          "DSET_get_datasettype_refs",
          "DSET_create_dataset_with_id",
          "DSET_set_dataset_tool",
          "DSET_set_dataset_format",
          "DSET_get_dataset_def_rev_limit",
          "WSO_set_revision_limit",
          "OBJ_save",
          "OBJ_refresh"};
}

/** The import goes on without a file; the attachment of none is what fails then. */
void add_text_import(Cases& cases) {
  const std::vector<std::string> rest = joined(calls_to_create(), calls_to_attach());
  const auto creation = [](const char* operation) { return aborts(operation, "made").locks(); };
  const auto attaching = [](const char* operation) { return passes(operation, "made").locks(); };
  cases.add("ZOLP_importTextDataset", "")
      .good({0, "made"})
      .steps(
          {answers("FILE_import_file", STORE_unknown_tag, "made")
               .calls(joined({"OBJ_save", "OBJ_lock"}, rest))
               .locks(),
           // the file is not saved, so it cannot be referred to by what is
           answers("OBJ_save", STORE_refers_to_unsaved, "made")
               .calls(joined(joined({"OBJ_lock"}, rest), {"OBJ_save"}))
               .locks(),
           ignores("OBJ_lock", "made"), answers("DSET_find_datasettype", 919246, "none").locks(),
           answers("DSET_get_datasettype_def_tool", 919247, "none").locks(),
           aborts("DSET_get_datasettype_refs", "none").locks(),
           passes("DSET_create_dataset_with_id", "none").locks(), creation("DSET_set_dataset_tool"),
           creation("DSET_set_dataset_format"), creation("DSET_get_dataset_def_rev_limit"),
           creation("WSO_set_revision_limit"), creation("OBJ_save"), creation("OBJ_refresh"),
           ignores("STORE_get_instance_state", "made"), ignores("STORE_get_instance_lock", "made"),
           answers("OBJ_lock", STORE_not_locked, "made")
               .calls({"STORE_who_locked_instance", "DSET_get_dataset_named_ref",
                       "DSET_add_dataset_named_ref"})
               .locks(),
           ignores("STORE_who_locked_instance", "made"),
           ignores("DSET_get_dataset_named_ref", "made"), attaching("DSET_add_dataset_named_ref"),
           attaching("OBJ_save"), attaching("OBJ_refresh"), attaching("OBJ_unload"),
           ignores("OBJ_refresh", "made").locks(), answers("OBJ_refresh", 1, "made")})
      .allocations({exhausted(0, "made")})  // the text of the reference's absence
      .call([](Run& run) {
        tag dataset = untouched_tag;
        const std::string file = text_file();
        run.call(ZOLP_importTextDataset, nullptr, numbered("text", run).c_str(), file.c_str(),
                 &dataset);
        run.out(dataset != NULLTAG ? "made" : "none");
      });
}

std::vector<Step> described_import_steps() {
  const auto ends = [](const char* operation) { return passes(operation, "none"); };
  // What was made before a failure is unlocked.
  const auto unlocks = [](const char* operation) {
    return passes(operation, "none").calls({"OBJ_refresh"});
  };
  return {ends("FILE_import_file"),
          ends("OBJ_save"),
          ends("DSET_find_datasettype").locks(),
          ends("DSET_get_datasettype_def_tool").locks(),
          ends("DSET_create_dataset_with_id").locks(),
          unlocks("DSET_set_dataset_tool").locks(),
          unlocks("DSET_set_dataset_format").locks(),
          unlocks("DSET_add_dataset_named_ref").locks(),
          unlocks("OBJ_save").locks(),
          ignores("OBJ_refresh", "related").unwrapped().locks(),
          ends("STORE_tag_to_uid").locks(),
          ends("REL_find_relation_type").locks(),
          ends("REL_create_relation").locks(),
          passes("REL_save_relation", "related").locks()};
}

template <typename Import>
auto import_for(Import import) {
  return [import](Run& run) {
    const tag holder = make_dataset(numbered("holder", run));
    const std::string file = text_file();
    run.call(import, holder, numbered("described", run).c_str(), file.c_str());
    run.out(count_related(holder) > 0 ? "related" : "none");
  };
}

void add_described_import(Cases& cases) {
  cases.add("ZOLP_fct_import_text_dataset_desc", "")
      .good({0, "related", 0, 0, true})
      .steps(described_import_steps())
      .call(import_for([](tag holder, const char* name, const char* file) {
        return ZOLP_fct_import_text_dataset_desc(holder, name, "described", file, "note");
      }));
  cases.add("ZOLP_fct_import_text_dataset", "")
      .good({0, "related", 0, 0, true})
      .steps(described_import_steps())
      .call(import_for([](tag holder, const char* name, const char* file) {
        return ZOLP_fct_import_text_dataset(holder, name, file, "note");
      }));
}

void add_image_export(Cases& cases) {
  const auto ends = [](const char* operation) { return aborts(operation, "same|none"); };
  cases.add("ZOLP_exportImage", "")
      .good({0, "same|a note\n"})
      .makes_do("same|none")
      .steps({ends("ITEM_get_item_of_rev"), ends("ITEM_get_id"), ends("ITEM_get_rev_id"),
              ignores("DSET_find_dataset_named_ref", "same|none").calls({}), ends("WSO_get_name"),
              ignores("FILE_export_file", "same|none")})
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
}

void add_dataset_copy(Cases& cases) {
  const auto ends = [](const char* operation) { return aborts(operation, "made").locks(); };
  cases.add("ZOLP_RealCopyDataset", "a dataset with a text file")
      .good({0, "made"})
      .steps({aborts("DSET_copy_dataset_with_id", "none"),
              aborts("OBJ_save", "made"),
              ends("OBJ_refresh"),
              ends("WSO_get_object_type"),
              ends("DSET_find_datasettype"),
              ends("DSET_get_dataset_ref_count"),
              ends("DSET_find_dataset_named_ref"),
              ends("STORE_class_of_instance"),
              ends("STORE_name_of_class"),
              ends("DSET_get_datasettype_file_refs"),
              ends("FILE_get_original_file_name"),
              ends("FILE_export_file"),
              ends("FILE_import_file"),
              ends("OBJ_save"),
              ends("DSET_replace_dataset_named_ref"),
              ends("OBJ_lock"),
              ends("FILE_set_original_file_name"),
              ends("OBJ_save"),
              ends("OBJ_refresh"),
              ends("OBJ_save"),
              ends("OBJ_refresh")})
      .call([](Run& run) {
        const tag dataset = make_dataset(numbered("original", run));
        refer(dataset, "Text", make_file());
        tag copy = untouched_tag;
        run.call(ZOLP_RealCopyDataset, dataset, numbered("copy", run).c_str(), &copy);
        run.out(copy != NULLTAG ? "made" : "none");
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
  cases.add("ZOLP_createForm", "")
      .good({0, "made", 0, 0, true})
      .steps({passes("FORM_create", "none"), passes("FORM_initialize", "made"),
              passes("OBJ_save", "made")})
      .call([](Run& run) {
        tag form = NULLTAG;
        run.call(ZOLP_createForm, numbered("form", run).c_str(), "Sheet", "", &form);
        run.out(form != NULLTAG ? "made" : "none");
      });
  cases.add("ZOLP_GetMasterForm", "")
      .good({0, "found"})
      .steps({passes("TYPE_find_type", "none"), passes("REL_list_secondary_objects_only", "none")})
      .call([](Run& run) {
        const tag master = make_form(numbered("master", run));
        const tag holder = make_dataset(numbered("holder", run));
        prepared(ZOLP_createRelation(holder, master, "VELO_master_form"), "relation");
        tag form = untouched_tag;
        run.call(ZOLP_GetMasterForm, holder, &form);
        run.out(form == master ? "found" : "none");
      });
}

void add_named_forms(Cases& cases) {
  // After what fails, dataset and form are unlocked by calls that are not traced.
  const std::vector<std::string> unlocks = {"OBJ_refresh", "OBJ_refresh"};
  const auto ends = [&unlocks](const char* operation) {
    return passes(operation, "made").calls(unlocks);
  };
  cases.add("ZOLP_GetNamedRefForm", "a form is made")
      .good({0, "made"})
      .steps({ignores("OBJ_refresh", "made"),
              passes("DSET_get_dataset_named_ref", "none").calls({"OBJ_refresh"}),
              passes("FORM_create", "none").calls({"OBJ_refresh"}), ends("OBJ_lock"),
              ends("OBJ_save"), ends("DSET_add_dataset_named_ref"), ends("OBJ_save"),
              ignores("OBJ_refresh", "made").unwrapped().locks(),
              ignores("OBJ_refresh", "made").unwrapped().locks()})
      .allocations({exhausted(0, "made")})  // the text of the reference's absence
      .call([](Run& run) {
        const tag dataset = make_dataset(numbered("sheets", run));
        tag form = untouched_tag;
        run.call(ZOLP_GetNamedRefForm, dataset, "Sheet", &form, logical{1}, "");
        run.out(form != NULLTAG ? "made" : "none");
      });
}

void add_form_values(Cases& cases) {
  cases.add("ZOLP_FORM_ask_value", "")
      .good({0, "4|text"})
      .steps({aborts("OBJ_UIF_get_value", "0|")})
      .call([](Run& run) {
        const tag form = make_form(numbered("asked", run));
        prepared(OBJ_lock(form), "lock");
        prepared(ZOLP_FORM_set_value(form, "note", "text"), "value");
        prepared(OBJ_save(form), "save");
        prepared(OBJ_refresh(form, 0), "unlock");
        char value[81] = "x";
        int length = untouched_number;
        run.call(ZOLP_FORM_ask_value, form, "note", 80, value, &length);
        run.out(length).out(value);
      });
  cases.add("ZOLP_FORM_set_value", "").steps({passes("OBJ_UIF_set_value")}).call([](Run& run) {
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
  // none of the fields.
  constexpr int fields = 13;
  std::vector<Step> steps;
  for (int i = 1; i < fields; ++i) {
    steps.push_back(ignores("OBJ_UIF_get_value", "FreigabeInfo|13|values").open(fields));
  }
  steps.push_back(passes("OBJ_UIF_get_value", "FreigabeInfo|13|values").open(fields));
  // The type's name, four arrays and 26 names; then for each field the text of the error, without
  // which it goes on, and the value.
  constexpr int allocations = 1 + 4 + 2 * fields;
  const Outcome good = {STORE_unknown_attribute, "FreigabeInfo|13|values", fields};
  std::vector<Outcome> outcomes(allocations, exhausted(1, "null|0|null"));
  for (int i = 1; i <= fields; ++i) {
    outcomes.push_back(good);
    outcomes.push_back(exhausted(1, "null|0|null", i));
  }
  cases.add("ZOLP_FORM_describe", "a form without the fields")
      .good(good)
      .steps(steps)
      .allocations(outcomes)
      .call(describe_form);
}

}  // namespace

void add_dataset_cases(Cases& cases) {
  add_creation(cases);
  add_references(cases);
  add_text_import(cases);
  add_described_import(cases);
  add_image_export(cases);
  add_dataset_copy(cases);
  add_forms(cases);
  add_named_forms(cases);
  add_form_values(cases);
  add_form_description(cases);
}

}  // namespace sweep
