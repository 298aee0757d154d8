// Dataset types, tools, and what datasets hold.

#include "data_site.h"

namespace {

std::vector<std::string> reference_names(tag type) {
  return list(DSET_get_datasettype_refs, type);
}

/** Templates and formats, "*.prt PRT". */
std::vector<std::string> files_of(tag type, const char* reference) {
  int count = -1;
  char** templates = nullptr;
  char** formats = nullptr;
  EXPECT_EQ(DSET_get_datasettype_file_refs(type, reference, &count, &templates, &formats), ORK_ok);
  std::vector<std::string> files = test::take(count, templates);
  const std::vector<std::string> their_formats = test::take(count, formats);
  for (std::size_t i = 0; i < files.size(); ++i) {
    files[i] += " " + their_formats[i];
  }
  return files;
}

/** Name of a type's default tool with its output formats, "TextEditor TEXT". */
std::string tool_of(tag type) {
  const tag tool = ask(DSET_get_datasettype_def_tool, type);
  std::string text = ask(DSET_get_tool_name, tool);
  for (const std::string& format : list(DSET_get_tool_output_formats, tool)) {
    text += " " + format;
  }
  return text;
}

}  // namespace

TEST_F(DataSite, TypesKnowToolsReferencesAndFiles) {
  EXPECT_EQ(tool_of(dataset_type("Text")), "TextEditor TEXT");
  EXPECT_THAT(files_of(dataset_type("Text"), "Text"), ElementsAre("*.txt TEXT"));
  EXPECT_THAT(files_of(dataset_type("Image"), "Image"),
              ElementsAre("*.png BINARY", "*.jpg BINARY"));

  const tag assembly = dataset_type("Assembly");
  EXPECT_EQ(tool_of(assembly), "Modeller PRT BINARY") << "that of the type above";
  EXPECT_THAT(reference_names(assembly), ElementsAre("Part", "Release"));
  EXPECT_THAT(files_of(assembly, "Part"), ElementsAre("*.prt PRT", "*.bin BINARY"));
  EXPECT_THAT(files_of(assembly, "Release"), IsEmpty());

  const tag loose = dataset_type("Loose");
  EXPECT_EQ(tool_of(loose), "Viewer");
  EXPECT_THAT(reference_names(loose), IsEmpty());
  EXPECT_THAT(files_of(loose, "Anything"), IsEmpty());
  EXPECT_EQ(dataset_type("Item"), NULLTAG);
  EXPECT_EQ(dataset_type("VELO_reference"), NULLTAG);
  EXPECT_EQ(dataset_type("text"), NULLTAG);

  EXPECT_EQ(refusal(DSET_get_datasettype_def_tool, dataset_type("Drawing")), DSET_no_default_tool);
  EXPECT_EQ(last_error(), "The dataset type has no default tool: Drawing");
  EXPECT_EQ(refusal(DSET_get_datasettype_file_refs, assembly, "part"), DSET_unknown_reference_name);
  const tag item_type = test::type_named("Item");
  EXPECT_EQ(refusal(DSET_get_datasettype_refs, item_type), DSET_not_a_dataset_type);
  EXPECT_EQ(refusal(DSET_get_datasettype_refs, find("000100")), DSET_not_a_dataset_type);
  EXPECT_EQ(refusal(DSET_get_tool_output_formats, item_type), DSET_not_a_tool);
}

TEST_F(DataSite, DatasetsKeepToolFormatLimitAndReferencesInOrder) {
  const tag made = make_dataset("Model", "frame");
  const tag tool = ask(DSET_get_datasettype_def_tool, dataset_type("Model"));
  EXPECT_EQ(DSET_set_dataset_tool(made, tool), ORK_ok);
  EXPECT_EQ(DSET_set_dataset_tool(made, find("000100")), DSET_not_a_tool);
  EXPECT_EQ(DSET_set_dataset_format(made, std::string(DSET_name_size, 'f').c_str()), ORK_ok);
  EXPECT_EQ(DSET_set_dataset_format(made, std::string(DSET_name_size + 1, 'f').c_str()),
            STORE_value_too_long);
  EXPECT_EQ(ask(DSET_get_dataset_def_rev_limit), 3);
  const char* const preferred[] = {"7", "3 or so"};
  ASSERT_EQ(ork_host_set_preference("DSET_default_revision_limit", 1, preferred), ORK_ok);
  EXPECT_EQ(WSO_set_revision_limit(made, ask(DSET_get_dataset_def_rev_limit)), ORK_ok);
  ASSERT_EQ(ork_host_set_preference("DSET_default_revision_limit", 1, preferred + 1), ORK_ok);
  EXPECT_EQ(refusal(DSET_get_dataset_def_rev_limit), ORK_invalid_argument);
  EXPECT_EQ(WSO_set_revision_limit(made, 0), ORK_invalid_argument);

  const tag file = import_file("a.prt");
  const tag other = import_file("a.prt");
  EXPECT_EQ(DSET_add_dataset_named_ref(made, "Part", DSET_PART_OF, file), ORK_ok);
  EXPECT_EQ(DSET_add_dataset_named_ref(made, "Release", DSET_ASSOCIATION, find("000100")), ORK_ok);
  EXPECT_EQ(DSET_add_dataset_named_ref(made, "Part", DSET_PART_OF, other), ORK_ok);
  EXPECT_EQ(DSET_add_dataset_named_ref(made, "Plan", DSET_PART_OF, file),
            DSET_unknown_reference_name);
  EXPECT_THAT(last_error(), HasSubstr("Plan, dataset frame of type Model"));
  EXPECT_EQ(DSET_add_dataset_named_ref(made, "Part", 0, file), DSET_unknown_reference_type);
  EXPECT_EQ(DSET_add_dataset_named_ref(made, "Part", DSET_PART_OF, 999'999), STORE_unknown_tag);
  ASSERT_EQ(OBJ_save(made) | OBJ_refresh(made, 0) | OBJ_unload(made), ORK_ok) << last_error();

  EXPECT_EQ(dataset("frame"), made);
  EXPECT_EQ(dataset("Frame"), NULLTAG);
  EXPECT_THAT(references(made), ElementsAre(Reference{"Part", DSET_PART_OF, file},
                                            Reference{"Release", DSET_ASSOCIATION, find("000100")},
                                            Reference{"Part", DSET_PART_OF, other}));
  EXPECT_EQ(ask(DSET_get_dataset_tool, made), tool);
  EXPECT_EQ(ask(DSET_get_dataset_format, made), std::string(DSET_name_size, 'f'));
  EXPECT_EQ(shown(made, "revision_limit"), "7");

  int type = -1;
  EXPECT_EQ(ask(DSET_get_dataset_named_ref, made, "Part", &type), file) << "the first of two";
  EXPECT_EQ(refusal(DSET_get_dataset_named_ref, made, "Plan"), 9037);
  EXPECT_EQ(last_error(),
            "The dataset has no such named reference: Plan, dataset frame of type Model");
  for (const int place : {-1, 3}) {
    EXPECT_EQ(refusal(DSET_find_dataset_named_ref, made, place), DSET_no_such_reference);
  }

  EXPECT_EQ(DSET_replace_dataset_named_ref(made, file, "Part", DSET_PART_OF, other),
            STORE_not_locked);
  ASSERT_EQ(OBJ_lock(made), ORK_ok);
  EXPECT_EQ(DSET_replace_dataset_named_ref(made, file, "Release", DSET_PART_OF, other),
            DSET_no_such_reference);
  EXPECT_EQ(DSET_replace_dataset_named_ref(made, other, "Part", DSET_ASSOCIATION, find("000200")),
            ORK_ok);
  EXPECT_EQ(references(made)[2], (Reference{"Part", DSET_ASSOCIATION, find("000200")}));
  EXPECT_EQ(OBJ_refresh(made, 0), ORK_ok);
  EXPECT_EQ(references(made)[2].object, other) << "it was not saved";
  EXPECT_EQ(refusal(DSET_get_dataset_ref_count, find("000100")), DSET_not_a_dataset);
}

TEST_F(DataSite, WhatATypeDoesNotNameADatasetMayHoldUnderAnyName) {
  const tag made = make_dataset("Loose", "sketch");
  EXPECT_EQ(DSET_add_dataset_named_ref(made, "Anything", DSET_PART_OF, import_file("a.prt")),
            ORK_ok);
  EXPECT_EQ(DSET_add_dataset_named_ref(made, std::string(DSET_name_size + 1, 'n').c_str(),
                                       DSET_PART_OF, find("000100")),
            STORE_value_too_long);
  EXPECT_EQ(references(made).size(), 1U);
  const tag unsaved = ask(FORM_create, "form", nullptr, "Mass");
  EXPECT_EQ(DSET_add_dataset_named_ref(made, "Form", DSET_PART_OF, unsaved), ORK_ok);
  EXPECT_EQ(OBJ_save(made), STORE_refers_to_unsaved);
  EXPECT_EQ(OBJ_save(unsaved) | OBJ_save(made), ORK_ok) << last_error();
}

TEST_F(DataSite, CopiesShareTheirFilesAndDeletingTheLastDeletesThem) {
  const tag original = dataset("model");
  ASSERT_EQ(OBJ_lock(original), ORK_ok);
  EXPECT_EQ(OBJ_delete(original), STORE_referenced) << "its revision refers to it";
  EXPECT_EQ(test::lock_of(references(original)[0].object), STORE_no_lock)
      << "its parts are left as they were";
  const tag copy = ask(DSET_copy_dataset_with_id, original, "copy", nullptr, nullptr);
  EXPECT_THAT(references(copy), testing::ContainerEq(references(original)));
  ASSERT_EQ(OBJ_save(copy), ORK_ok) << last_error();
  EXPECT_EQ(ask(WSO_get_object_type, copy), "Assembly");
  const std::vector<Reference> parts = references(original);
  ASSERT_EQ(parts.size(), 3U);
  const tag linked = import_file("a.prt");
  ASSERT_EQ(OBJ_refresh(linked, 0), ORK_ok);
  EXPECT_EQ(DSET_add_dataset_named_ref(copy, "Part", DSET_ASSOCIATION, linked) | OBJ_save(copy),
            ORK_ok);

  for (const auto& record : list(REL_list_all_related_objects, original)) {
    ASSERT_EQ(OBJ_lock(record.relation) | OBJ_delete(record.relation), ORK_ok);
  }
  EXPECT_EQ(OBJ_delete(original), ORK_ok) << last_error();
  for (const Reference& part : parts) {
    EXPECT_TRUE(is_valid(part.object)) << "the copy has it";
  }
  EXPECT_EQ(FILE_export_file(parts[0].object, folder_.path("out").c_str()), ORK_ok);
  EXPECT_EQ(folder_.read("out"), "part a");
  EXPECT_EQ(OBJ_delete(copy), ORK_ok) << last_error();
  for (const Reference& part : parts) {
    EXPECT_FALSE(is_valid(part.object));
  }
  EXPECT_TRUE(is_valid(linked)) << "a link is no part";
}

TEST_F(DataSite, CopiesAndExportsNeedReadAccess) {
  const tag model = dataset("model");
  const tag file = references(model)[0].object;
  ork_host_close();
  ObjectsSite::SetUp();
  ASSERT_EQ(seed_file(test::data_seed), ORK_ok);
  seed(R"({"access_rules": [
      {"deny": ["READ"], "to": {"user": "wagner"}, "on": {"class": "Dataset"}},
      {"deny": ["READ"], "to": {"user": "wagner"}, "on": {"class": "VeloFile"}}]})");
  log_in_as_designer();
  EXPECT_EQ(refusal(DSET_copy_dataset_with_id, model, "copy", nullptr, nullptr), ACCESS_denied);
  EXPECT_EQ(FILE_export_file(file, folder_.path("out").c_str()), ACCESS_denied);
  EXPECT_FALSE(folder_.has("out"));
}

TEST_F(DataSite, SeedsAreTakenAnyNumberOfTimesAndFollowTheFiles) {
  const tag model = dataset("model");
  const std::vector<Reference> before = references(model);
  ASSERT_EQ(before.size(), 3U);
  const std::string described = test::describe("objects");
  EXPECT_THAT(described, testing::AllOf(HasSubstr("\"b.prt\""), HasSubstr("\"size\": 6")));
  ASSERT_EQ(ORK_exit_module(0), ORK_ok);
  ASSERT_EQ(seed_file(test::data_seed), ORK_ok) << last_error();
  EXPECT_EQ(test::describe("objects"), described);

  // Of a name, the last part counts; so it does when the file is looked for.
  const std::string renamed = R"({"items": [{"id": "000100", "name": "Bracket", "revisions": [
      {"id": "A", "datasets": [{"name": "model", "files": [
        {"reference": "Part", "path": "a.prt", "name": "C:\\x\\b.prt"}]}]}]}]})";
  ASSERT_EQ(seed_file(renamed), ORK_ok) << last_error();
  EXPECT_EQ(test::describe("objects"), described);

  folder_.write("a.prt", "part A");
  ASSERT_EQ(seed_file(test::data_seed), ORK_ok) << last_error();
  log_in();
  const std::vector<Reference> after = references(model);
  ASSERT_EQ(after.size(), 3U);
  EXPECT_NE(after[0].object, before[0].object);
  EXPECT_FALSE(is_valid(before[0].object));
  EXPECT_EQ(after[2], before[2]);
  EXPECT_EQ(FILE_export_file(after[1].object, folder_.path("out").c_str()), ORK_ok);
  EXPECT_EQ(folder_.read("out"), "part A");

  expect_refused("refused_datasets.txt", [this](const char* json) { return seed_file(json); });
  EXPECT_THAT(references(model), testing::ContainerEq(after));
}

TEST_F(DataSite, UidsStandForObjectsAndForNothingElse) {
  const tag item = find("000100");
  const std::string text = ask(STORE_tag_to_uid, item);
  EXPECT_EQ(text.size(), 14U);
  EXPECT_EQ(ask(STORE_uid_to_tag, text.c_str()), item);
  std::string slip = text;
  slip[10] = slip[10] == 'B' ? 'C' : 'B';
  for (const std::string& wrong :
       {slip, std::string(14, 'A'), std::string(), text + "A", text.substr(1), std::string("?")}) {
    EXPECT_EQ(refusal(STORE_uid_to_tag, wrong.c_str()), STORE_unknown_tag) << wrong;
  }
  EXPECT_EQ(refusal(STORE_tag_to_uid, NULLTAG), STORE_unknown_tag);
  const tag made = make_dataset("Text", "made");
  const std::string uid = ask(STORE_tag_to_uid, made);
  EXPECT_EQ(OBJ_save(made) | OBJ_delete(made), ORK_ok);
  EXPECT_EQ(refusal(STORE_uid_to_tag, uid.c_str()), STORE_deleted_tag);
}
