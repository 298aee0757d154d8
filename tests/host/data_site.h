/** @file The demo site with dataset types, files and forms, and short forms for asking about them.
 */
#pragma once

#include <string>
#include <vector>

#include "objects_site.h"
#include "ork/access.h"
#include "ork/dset.h"
#include "ork/file.h"
#include "ork/form.h"
#include "ork/obj.h"
#include "ork/rel.h"
#include "ork/type.h"
#include "ork/wso.h"
#include "tests/support/temporary_folder.h"

namespace test {

inline constexpr const char* data_seed = R"({
  "tools": [{"name": "Modeller", "output_formats": ["PRT", "BINARY"]}, {"name": "Viewer"}],
  "dataset_types": [
    {"name": "Model", "tool": "Modeller", "references": [
      {"name": "Part", "files": [{"template": "*.prt", "format": "PRT"},
                                 {"template": "*.bin", "format": "BINARY"}]},
      {"name": "Release"}]},
    {"name": "Assembly", "parent": "Model"},
    {"name": "Loose", "parent": "Dataset", "tool": "Viewer"}],
  "form_types": [
    {"name": "Mass", "fields": [
      {"name": "material", "kind": "text", "length": 8}, {"name": "pieces", "kind": "integer"},
      {"name": "weight", "kind": "real"}, {"name": "bought", "kind": "logical"},
      {"name": "weighed", "kind": "date"}, {"name": "weigher", "kind": "reference"}]},
    {"name": "ExactMass", "parent": "Mass", "fields": [{"name": "error", "kind": "real"}]}],
  "items": [
    {"id": "000100", "name": "Bracket",
     "master_form": {"type": "Mass", "values": {"material": "steel", "weight": "1.25"}},
     "revisions": [
      {"id": "A", "datasets": [
        {"name": "model", "type": "Assembly",
         "files": [{"reference": "Part", "path": "a.prt"},
                   {"reference": "Part", "path": "a.prt", "name": "b.prt"}],
         "forms": [{"reference": "Release", "type": "FreigabeInfo",
                    "values": {"UGezPerson": "wagner", "UGezDate": "21-Nov-2026"}}]}]}]}]
})";

class DataSite : public ObjectsSite {
 protected:
  void SetUp() override {
    ObjectsSite::SetUp();
    folder_.write("a.prt", "part a");
    ASSERT_EQ(seed(data_seed), ORK_ok) << last_error();
    log_in();
  }

  /** Seeds from a file, so that paths start in its folder. */
  int seed(const std::string& json) const {
    return ork_host_seed_file(folder_.write("seed.json", json).c_str());
  }

  static tag dataset(const char* name) {
    tag found = NULLTAG;
    EXPECT_EQ(DSET_find_dataset(name, &found), ORK_ok);
    return found;
  }

  static tag dataset_type(const char* name) {
    tag found = NULLTAG;
    EXPECT_EQ(DSET_find_datasettype(name, &found), ORK_ok);
    return found;
  }

  static tag make_dataset(const char* type, const char* name) {
    tag made = NULLTAG;
    EXPECT_EQ(DSET_create_dataset_with_id(dataset_type(type), name, nullptr, "", nullptr, &made),
              ORK_ok)
        << last_error();
    return made;
  }

  tag import_file(const char* name) const {
    tag file = NULLTAG;
    EXPECT_EQ(FILE_import_file(folder_.path(name).c_str(), nullptr, SS_TEXT, &file, nullptr) |
                  OBJ_save(file),
              ORK_ok)
        << last_error();
    return file;
  }

  struct Reference {
    std::string name;
    int type;
    tag object;
    bool operator==(const Reference&) const = default;
  };

  static std::vector<Reference> references(tag dataset) {
    int count = -1;
    EXPECT_EQ(DSET_get_dataset_ref_count(dataset, &count), ORK_ok) << last_error();
    std::vector<Reference> all;
    for (int i = 0; i < count; ++i) {
      char name[DSET_name_size + 1];
      Reference found{};
      EXPECT_EQ(DSET_find_dataset_named_ref(dataset, i, name, &found.type, &found.object), ORK_ok);
      found.name = name;
      all.push_back(found);
    }
    return all;
  }

  static std::string value(tag object, const char* attribute) {
    char* text = nullptr;
    EXPECT_EQ(OBJ_UIF_get_value(object, attribute, &text), ORK_ok) << last_error();
    return test::take(text);
  }

  TemporaryFolder folder_;
};

/** Texts that the host handed out in one block, which is freed here. */
inline std::vector<std::string> take(int count, char** texts) {
  const std::vector<std::string> copy(texts, texts + count);
  MEM_free(texts);
  return copy;
}

}  // namespace test
