#include "support/process.h"
#include "support/site.h"

namespace {

using testing::ElementsAreArray;

class Datasets : public test::TestOn<> {
 protected:
  Datasets() {
    EXPECT_EQ(ork_host_seed(test::file_text("orktool/seeds/datasets.json").c_str()), ORK_ok);
    site.log_in();
    EXPECT_EQ(ork_host_find_item("4711", "A", &revision), ORK_ok);
    ERR_clear_errors();
    trace.clear();
  }

  tag make_dataset(const char* type, const char* name, const char* reference) const {
    return ask(ZOLP_createDataset, type, name, reference, nullptr, nullptr);
  }

  /** A saved file of the vault. */
  tag make_file(const std::string& name, const std::string& content, int type = SS_TEXT) const {
    tag file = NULLTAG;
    EXPECT_EQ(FILE_import_file(folder.write(name, content).c_str(), nullptr, type, &file, nullptr),
              ORK_ok);
    EXPECT_EQ(OBJ_save(file), ORK_ok);
    EXPECT_EQ(OBJ_refresh(file, 0), ORK_ok);
    return file;
  }

  std::string exported(tag file) const {
    const std::string name = "out" + std::to_string(file);
    EXPECT_EQ(FILE_export_file(file, folder.path(name).c_str()), ORK_ok);
    return folder.read_bytes(name);
  }

  static tag reference_of(tag dataset, const char* name, int* type = nullptr) {
    int ignored = 0;
    tag object = NULLTAG;
    DSET_get_dataset_named_ref(dataset, name, type != nullptr ? type : &ignored, &object);
    return object;
  }

  static void attach(tag dataset, const char* name, int type, tag object) {
    ASSERT_EQ(OBJ_lock(dataset), ORK_ok);
    ASSERT_EQ(DSET_add_dataset_named_ref(dataset, name, type, object), ORK_ok);
    ASSERT_EQ(OBJ_save(dataset), ORK_ok);
    ASSERT_EQ(OBJ_refresh(dataset, 0), ORK_ok);
  }

  static tag find_dataset(const char* name) { return ask(DSET_find_dataset, name); }

  static bool is_locked(tag object) {
    return ask(STORE_get_instance_lock, object) == STORE_modify_lock;
  }

  static std::string format_of(tag dataset) {
    char format[DSET_name_size + 1];
    EXPECT_EQ(DSET_get_dataset_format(dataset, format), ORK_ok);
    return format;
  }

  std::vector<tag> related() const {
    return test::list(REL_list_secondary_objects_only, revision,
                      ask(REL_find_relation_type, "VELO_reference"));
  }

  test::TemporaryFolder folder;
  tag revision = NULLTAG;
};

// ------------------------------------------------------------------------ creation and references

TEST_F(Datasets, ACreatedDatasetIsCompleteSavedAndUnlocked) {
  const tag dataset = ask(ZOLP_createDataset, "Part", "Gearbox", "Model", nullptr, nullptr);
  EXPECT_THAT(trace.lines()[0], HasSubstr(" ->ZOLP_create_dataset zolp_dataset_utils.cpp:"));
  EXPECT_THAT(trace.lines().back(), HasSubstr(" <-ZOLP_createDataset zolp_dataset_utils.cpp:"));
  EXPECT_EQ(trace.missing({"  datasettype      = Part", "  description      = (null)",
                           "dataset_name, \"\", 0, 0, dataset_tag)", "->OBJ_unlock(...)"}),
            "");
  EXPECT_FALSE(is_locked(dataset));
  EXPECT_EQ(format_of(dataset), "PNG");
  EXPECT_EQ(find_dataset("Gearbox"), dataset);

  const tag described = ask(ZOLP_createDataset, "Part", "Described", "Note",
                            "a format of the caller, cut after 32 bytes", "for \"tests\"");
  EXPECT_EQ(format_of(described), "a format of the caller, cut afte");
  EXPECT_TRUE(trace.has("dataset_name, description, 0, 0, dataset_tag)"));
}

TEST_F(Datasets, CreationRefusesWhatTheTypeLacks) {
  struct Case {
    const char* type;
    const char* reference;
    const char* failing;
    int status;
    std::vector<int> stack;
  };
  const Case cases[] = {
      {"Nowhere", "Text", nullptr, ORK_ok, {}},
      {"Part", "Model", "DSET_find_datasettype", 919246, {failure, 919246}},
      {"NoTool", "Text", nullptr, 919247, {DSET_no_default_tool, 919247}},
      {"Part", "Model", "DSET_get_tool_output_formats", 919247, {failure}},
      {"MuteTool", "Text", nullptr, 919248, {919248}},
      {"Part", "model", nullptr, 919249, {919249}},
      {"Part", "Model", "DSET_get_datasettype_refs", failure, {failure}},
  };
  for (const Case& refused : cases) {
    SCOPED_TRACE(std::string(refused.type) + " " + refused.reference);
    ERR_clear_errors();
    ork_host_clear_faults();
    if (refused.failing != nullptr) {
      ork_host_fail_call(refused.failing, 1, failure);
    }
    tag dataset = 77;
    EXPECT_EQ(
        ZOLP_createDataset(refused.type, "Refused", refused.reference, nullptr, nullptr, &dataset),
        refused.status);
    EXPECT_EQ(dataset, 77U);
    EXPECT_THAT(error_codes(), testing::ElementsAreArray(refused.stack));
    if (refused.status == 919249) {
      EXPECT_EQ(test::error_stack()[0].severity, 3);
      EXPECT_THAT(last_error(), HasSubstr("model"));
    }
  }
  EXPECT_EQ(find_dataset("Refused"), NULLTAG);
  ork_host_clear_faults();
  tag dataset = NULLTAG;
  ork_host_fail_call("DSET_create_dataset_with_id", 1, failure);
  testing::internal::CaptureStdout();
  EXPECT_EQ(ZOLP_createDataset("Part", "Refused", "Model", nullptr, nullptr, &dataset), failure);
  EXPECT_THAT(testing::internal::GetCapturedStdout(),
              testing::MatchesRegex("ERROR: File:zolp_dataset_utils.cpp \\[line:[0-9]+\\] "
                                    "\\(ifail 4711\\)\n"));
}

TEST_F(Datasets, AttachingAddsAndReplaces) {
  const tag dataset = make_dataset("Part", "Gearbox", "Model");
  const tag first = make_file("a.prt", "one");
  const tag second = make_file("b.prt", "two");
  EXPECT_EQ(ZOLP_attachNamedReference(dataset, first, "Model"), ORK_ok);
  EXPECT_TRUE(trace.has("  reference = <Model>"));
  int type = 0;
  EXPECT_EQ(reference_of(dataset, "Model", &type), first);
  EXPECT_EQ(type, DSET_PART_OF);
  EXPECT_FALSE(is_locked(dataset));

  attach(dataset, "Loose", DSET_ASSOCIATION, first);
  EXPECT_EQ(ZOLP_attachNamedReference(dataset, second, "Loose"), ORK_ok);
  EXPECT_EQ(reference_of(dataset, "Loose", &type), second);
  EXPECT_EQ(type, DSET_ASSOCIATION);  // as it was
  tag found = ask(ZOLP_findDatasetNamedRef, "Gearbox", "Loose");
  EXPECT_EQ(found, second);
  EXPECT_EQ(ZOLP_findDatasetNamedRef("Gearbox", "Note", &found), 1);
  EXPECT_EQ(ZOLP_findDatasetNamedRef("Nowhere", "Note", &found), 1);

  ork_host_fail_call("DSET_replace_dataset_named_ref", 1, failure);
  EXPECT_EQ(ZOLP_attachNamedReference(dataset, first, "Loose"), failure);
  EXPECT_TRUE(is_locked(dataset));
}

// ------------------------------------------------------------------ text files in, images out

TEST_F(Datasets, ImportedTextStaysAsItIs) {
  const std::string content("line\r\nbytes \xff\xfe\x80\n\0no end", 24);
  const std::string path = folder.write("report.txt", content);
  const tag plain = ask(ZOLP_importTextDataset, nullptr, "Plain", path.c_str());
  EXPECT_TRUE(trace.has("  Path <" + path + ">"));
  EXPECT_FALSE(is_locked(plain));
  EXPECT_EQ(exported(reference_of(plain, "Text")), content);
  EXPECT_FALSE(is_locked(reference_of(plain, "Text")));
  EXPECT_THAT(related(), IsEmpty());

  EXPECT_EQ(ZOLP_fct_import_text_dataset_desc(revision, "Described", "A report", path.c_str(), "r"),
            ORK_ok);
  EXPECT_EQ(ZOLP_fct_import_text_dataset(revision, "Bare", path.c_str(), "r"), ORK_ok);
  const std::vector<tag> datasets = related();
  ASSERT_EQ(datasets.size(), 2U);
  for (const tag dataset : datasets) {
    EXPECT_EQ(exported(reference_of(dataset, "Text")), content);
    EXPECT_FALSE(is_locked(dataset));
    EXPECT_EQ(format_of(dataset), "TEXT");
  }
  WSO_description_s description;
  WSO_describe(datasets[0], &description);
  EXPECT_STREQ(description.description, "A report");
}

TEST_F(Datasets, AFailedImportLeavesWhatItMade) {
  // The simple form goes on without a file and stops when the dataset would refer to it.
  testing::internal::CaptureStdout();
  tag dataset = NULLTAG;
  EXPECT_NE(ZOLP_importTextDataset(nullptr, "Fileless", "/nowhere/report.txt", &dataset), ORK_ok);
  EXPECT_THAT(testing::internal::GetCapturedStdout(), HasSubstr("ERROR: File:zolp_dataset_utils"));
  EXPECT_EQ(find_dataset("Fileless"), dataset);
  EXPECT_NE(dataset, NULLTAG);

  const std::string path = folder.write("report.txt", "text");
  ork_host_fail_call("OBJ_refresh", 3, failure);  // after those of creation and attachment
  ork_host_fail_call("OBJ_refresh", 4, failure);
  EXPECT_EQ(ZOLP_importTextDataset(nullptr, "Unrefreshed", path.c_str(), &dataset), 1);
  EXPECT_THAT(trace.lines().back(), HasSubstr(" <-ZOLP_importTextDataset with ERROR "));
}

TEST_F(Datasets, ImagesAreExportedUnderGeneratedNames) {
  // The second dataset's reference at the second place counts; the third has no third one.
  std::vector<tag> list;
  for (const char* name : {"../a/b*", "Second", "Short", "First"}) {
    list.push_back(make_dataset("Part", name, "Model"));
    attach(list.back(), "Model", DSET_PART_OF, make_file("m.prt", std::string("model of ") + name));
    attach(list.back(), "Model", DSET_PART_OF,
           make_file("n.prt", std::string("second of ") + name));
  }
  const std::string directory = folder.path("");
  std::vector<char> path(directory.size() + ZOLP_IMAGE_NAME_SIZE);
  std::copy(directory.c_str(), directory.c_str() + directory.size() + 1, path.begin());
  const auto run = [&](const char* mode, tag of, const char* reference = "Model") {
    return ZOLP_exportImage(list.data(), 3, path.data(), reference, mode, of);
  };
  EXPECT_EQ(run("yes", revision), 1);
  EXPECT_EQ(run(nullptr, revision), 1);
  EXPECT_EQ(run("no", NULLTAG), 1);
  EXPECT_EQ(run("no", revision, "Note"), ORK_ok);
  EXPECT_FALSE(folder.has("4711_A_Second"));

  folder.write("4711_A_Second", "was there");
  EXPECT_EQ(run("no", revision), ORK_ok);
  EXPECT_STREQ(path.data(), directory.c_str());
  EXPECT_EQ(folder.read("4711_A_.._a_b_"), "model of ../a/b*");
  EXPECT_EQ(folder.read("4711_A_Second"), "was there");
  std::filesystem::remove(folder.path("4711_A_Second"));
  EXPECT_EQ(run("no", revision), ORK_ok);
  EXPECT_EQ(folder.read("4711_A_Second"), "second of Second");
  EXPECT_FALSE(folder.has("4711_A_Short"));
}

// ------------------------------------------------------------------------------ dataset copies

TEST_F(Datasets, ARealCopyHasFilesOfItsOwn) {
  const std::filesystem::path temporary = folder.path("tmp");
  std::filesystem::create_directory(temporary);
  setenv("VK_TMP_DIR", temporary.string().c_str(), 1);
  const tag original = make_dataset("Part", "X", "Model");
  const std::string binary("\0\x01\xff", 3);
  const tag form = ask(ZOLP_createForm, "Sheet of X", "Sheet", "");
  EXPECT_TRUE(is_locked(form));
  attach(original, "Model", DSET_PART_OF, make_file("a b.prt", binary, SS_BINARY));
  attach(original, "Sheet", DSET_ASSOCIATION, form);
  attach(original, "Note", DSET_ASSOCIATION, make_file("note", "text"));
  attach(original, "Other", DSET_PART_OF, make_file("r.tar.gz", "raw"));
  attach(original, "Loose", DSET_PART_OF, make_file("loose.txt", "loose"));
  const tag copy = ask(ZOLP_RealCopyDataset, original, "X-1");
  EXPECT_TRUE(std::filesystem::is_empty(temporary));
  EXPECT_TRUE(trace.has("no FileRefs Found DSType=Part namedref=Loose"));
  EXPECT_FALSE(is_locked(copy));

  struct Copied {
    const char* reference;
    const char* name;
    int reference_type;
    int file_type;
    std::string content;
  };
  for (const Copied& copied : {Copied{"Model", "X_1.prt", DSET_PART_OF, SS_BINARY, binary},
                               Copied{"Note", "X_1", DSET_ASSOCIATION, SS_TEXT, "text"},
                               Copied{"Other", "X_1.gz", DSET_PART_OF, 0, "raw"}}) {
    SCOPED_TRACE(copied.reference);
    int type = 0;
    const tag file = reference_of(copy, copied.reference, &type);
    EXPECT_NE(file, reference_of(original, copied.reference));
    EXPECT_EQ(type, copied.reference_type);
    char name[FILE_original_name_size + 1];
    EXPECT_EQ(FILE_get_original_file_name(file, name), ORK_ok);
    EXPECT_STREQ(name, copied.name);
    int64_t size = 0;
    char digest[FILE_digest_size + 1];
    EXPECT_EQ(FILE_describe(file, &size, &type, digest), ORK_ok);
    EXPECT_EQ(type, copied.file_type);
    EXPECT_EQ(exported(file), copied.content);
    EXPECT_FALSE(is_locked(file));
  }
  EXPECT_EQ(reference_of(copy, "Sheet"), form);
  EXPECT_EQ(reference_of(copy, "Loose"), reference_of(original, "Loose"));
}

TEST_F(Datasets, AFailedCopyStaysAndIsReported) {
  const tag original = make_dataset("Part", "X", "Model");
  attach(original, "Model", DSET_PART_OF, make_file("a.prt", "model", SS_BINARY));
  const std::filesystem::path temporary = folder.path("tmp");
  std::filesystem::create_directory(temporary);
  setenv("VK_TMP_DIR", temporary.string().c_str(), 1);
  tag copy = NULLTAG;
  ork_host_fail_call("FILE_import_file", 1, failure);
  EXPECT_EQ(ZOLP_RealCopyDataset(original, "Copy", &copy), failure);
  EXPECT_TRUE(std::filesystem::is_empty(temporary));
  // What stands at the file's place and is no file stays.
  std::filesystem::create_directory(temporary / "a.prt");
  EXPECT_EQ(ZOLP_RealCopyDataset(original, "Copy", &copy), FILE_exists);
  EXPECT_TRUE(std::filesystem::is_directory(temporary / "a.prt"));
  // A folder that does not fit a path, and one that is not there.
  setenv("VK_TMP_DIR", std::string(300, 'x').c_str(), 1);
  EXPECT_EQ(ZOLP_RealCopyDataset(original, "Copy", &copy), FILE_cannot_open);
  setenv("VK_TMP_DIR", (temporary / "gone").string().c_str(), 1);
  EXPECT_EQ(ZOLP_RealCopyDataset(original, "Copy", &copy), FILE_cannot_open);
}

TEST(DatasetCopies, ThoseAtOnceKeepFilesOfOneNameApart) {
  const test::TemporaryFolder folder;
  std::filesystem::create_directory(folder.path("tmp"));
  setenv("VK_TMP_DIR", folder.path("tmp").c_str(), 1);
  std::string datasets;
  for (const std::string name : {"one", "two"}) {
    folder.write(name, "contents of " + name);
    datasets += (datasets.empty() ? "" : ", ") + (R"({"name": ")" + name) +
                R"(", "type": "Text", "files": [{"reference": "Text", "name": "a.txt", "path": ")" +
                name + R"("}]})";
  }
  const std::string seed = folder.write("seed.json", R"({
    "site": {"automatic_login": "batch"}, "groups": ["all"], "roles": ["any"],
    "users": [{"id": "batch", "memberships": [{"group": "all", "role": "any"}]}],
    "items": [{"id": "1", "name": "Holder", "revisions": [{"id": "A", "datasets": [)" +
                                                         datasets + "]}]}]}");
  const std::string site = folder.path("site.db");
  ASSERT_EQ(ork_host_open(site.c_str()) | ork_host_seed_file(seed.c_str()), ORK_ok);
  {
    test::Process first(
        {{COPYING_PROGRAM, site, "one", "copy of one"}, test::own_environment(), "", ""});
    test::Process second(
        {{COPYING_PROGRAM, site, "two", "copy of two"}, test::own_environment(), "", ""});
    EXPECT_EQ(first.read_line() + second.read_line(), "readyready");
    first.close_input();
    second.close_input();
    EXPECT_EQ(first.wait(), 0);
    EXPECT_EQ(second.wait(), 0);
  }
  EXPECT_TRUE(std::filesystem::is_empty(folder.path("tmp")));
  ASSERT_EQ(ORK_auto_login(), ORK_ok);
  for (const std::string name : {"one", "two"}) {
    int type = 0;
    tag file = NULLTAG;
    const tag copy = ask(DSET_find_dataset, ("copy of " + name).c_str());
    EXPECT_EQ(DSET_get_dataset_named_ref(copy, "Text", &type, &file), ORK_ok);
    EXPECT_EQ(FILE_export_file(file, folder.path(name + ".out").c_str()), ORK_ok);
    EXPECT_EQ(folder.read_bytes(name + ".out"), "contents of " + name);
  }
  ork_host_close();
}

// --------------------------------------------------------------------------------------- forms

TEST_F(Datasets, FieldsAreReadAndSetAsUsersSeeThem) {
  const tag form = ask(ZOLP_createForm, "Gearbox", "Sheet", "d");
  EXPECT_EQ(ZOLP_FORM_set_value(form, "mass", "12.5"), ORK_ok);
  EXPECT_TRUE(trace.has("  set form field \"mass\" to value \"12.5\""));
  EXPECT_EQ(ZOLP_FORM_set_value(form, "mass", "12.5 kg"), OBJ_value_not_understood);
  EXPECT_EQ(ZOLP_FORM_set_value(form, "note", "Schwei\xc3\x9fnaht"), ORK_ok);
  const auto ask = [form](const char* field, int size, int status = ORK_ok) {
    char value[11] = "x";
    int length = -1;
    EXPECT_EQ(ZOLP_FORM_ask_value(form, field, size, value, &length), status);
    return std::to_string(length) + ":" + (status == ORK_ok ? value : "");
  };
  EXPECT_EQ(ask("mass", 10), "4:12.5");
  EXPECT_EQ(ask("note", 5), "5:Schwe");
  EXPECT_EQ(ask("note", 0), "0:");
  EXPECT_EQ(ask("colour", 5, STORE_unknown_attribute), "0:");
}

TEST_F(Datasets, ReleaseInformationIsDescribedWhole) {
  const tag form = ask(ZOLP_createForm, "Release", "FreigabeInfo", "");
  ASSERT_EQ(ZOLP_FORM_set_value(form, "UGezPerson", "ada"), ORK_ok);
  std::vector<std::string> names;
  std::vector<std::string> values;
  std::vector<int> lengths;
  const auto describe = [&] {
    char* type = nullptr;
    int count = 0;
    char** field_names = nullptr;
    char** display_names = nullptr;
    int* field_lengths = nullptr;
    char** field_values = nullptr;
    EXPECT_EQ(ZOLP_FORM_describe(form, &type, &count, &field_names, &display_names, &field_lengths,
                                 &field_values),
              ORK_ok);
    EXPECT_STREQ(type, "FreigabeInfo");
    names.assign(field_names, field_names + count);
    EXPECT_EQ(std::vector<std::string>(display_names, display_names + count), names);
    values.assign(field_values, field_values + count);
    lengths.assign(field_lengths, field_lengths + count);
    for (char** texts : {field_names, display_names, field_values}) {
      std::for_each(texts, texts + count, MEM_free);
      MEM_free(texts);
    }
    MEM_free(type);
    MEM_free(field_lengths);
  };
  describe();
  EXPECT_THAT(names, ElementsAre("UrRevision", "UGezPerson", "UGezDate", "UGepPerson", "UGepDate",
                                 "UGesPerson", "UGesDate", "UBauPerson", "UBauDate", "UEndPerson",
                                 "UEndDate", "UFreiPerson", "UFreiDate"));
  EXPECT_EQ(values[1], "ada");
  EXPECT_EQ(lengths[1], 3);
  EXPECT_EQ(lengths[2], 0);
  EXPECT_EQ(trace.missing({"szFieldName = (UFreiDate)", "iRetcode = (0)"}), "");

  // Only the last field decides what is returned.
  ork_host_fail_call("OBJ_UIF_get_value", 2, failure);
  describe();
  EXPECT_EQ(values[1], "");
  EXPECT_EQ(lengths[1], 0);
}

TEST_F(Datasets, AMasterFormIsTheOnlyOne) {
  tag form = NULLTAG;
  EXPECT_EQ(ZOLP_GetMasterForm(revision, &form), 919999);
  EXPECT_TRUE(trace.has("ZOLP_GetMasterForm REL_list_secondary_objects_only return 0 Objects"));
  EXPECT_THAT(error_codes(), IsEmpty());
  tag made = ask(ZOLP_createForm, "Master", "Sheet", "");
  ASSERT_EQ(ZOLP_createRelation(revision, made, "VELO_master_form"), ORK_ok);
  EXPECT_EQ(ZOLP_GetMasterForm(revision, &form), ORK_ok);
  EXPECT_EQ(form, made);
  ASSERT_EQ(ZOLP_createForm("Second", "Sheet", "", &made), ORK_ok);
  ASSERT_EQ(ZOLP_createRelation(revision, made, "VELO_master_form"), ORK_ok);
  EXPECT_EQ(ZOLP_GetMasterForm(revision, &form), 919999);
  EXPECT_EQ(form, NULLTAG);
  EXPECT_TRUE(trace.has("return 2 Objects"));
}

TEST_F(Datasets, ANamedFormIsFoundOrMade) {
  const tag dataset = make_dataset("Part", "Gearbox", "Model");
  ERR_clear_errors();
  tag form = 77;
  EXPECT_EQ(ZOLP_GetNamedRefForm(dataset, "Sheet", &form, 0, nullptr), ORK_ok);
  EXPECT_EQ(form, NULLTAG);
  EXPECT_THAT(error_codes(), IsEmpty());
  EXPECT_EQ(ZOLP_GetNamedRefForm(dataset, "Sheet", &form, 1, ""), ORK_ok);
  EXPECT_TRUE(trace.has("Create NamedRefForm-Form:Sheet"));
  EXPECT_EQ(reference_of(dataset, "Sheet"), form);
  char type[WSO_name_size + 1];
  WSO_get_object_type(form, type);
  EXPECT_STREQ(type, "Sheet");
  EXPECT_FALSE(is_locked(form));
  EXPECT_FALSE(is_locked(dataset));
  tag again = NULLTAG;
  EXPECT_EQ(ZOLP_GetNamedRefForm(dataset, "Sheet", &again, 1, nullptr), ORK_ok);
  EXPECT_EQ(again, form);

  EXPECT_EQ(ZOLP_GetNamedRefForm(dataset, "Loose", &form, 1, "Sheet"), ORK_ok);
  EXPECT_NE(form, again);
  WSO_get_object_type(form, type);
  EXPECT_STREQ(type, "Sheet");
}

}  // namespace
