/** @file The demo site with dataset types, files and forms, and short forms for asking about them.
 */
#pragma once

#include "objects_site.h"

namespace test {

inline const std::string data_seed = file_text("host/seeds/data.json");

class DataSite : public ObjectsSite {
 protected:
  void SetUp() override {
    ObjectsSite::SetUp();
    folder_.write("a.prt", "part a");
    ASSERT_EQ(seed_file(data_seed), ORK_ok) << last_error();
    log_in();
  }

  /** Seeds from a file, so that paths start in its folder. */
  int seed_file(const std::string& json) const {
    return ork_host_seed_file(folder_.write("seed.json", json).c_str());
  }

  static tag dataset(const char* name) { return ask(DSET_find_dataset, name); }

  static tag dataset_type(const char* name) { return ask(DSET_find_datasettype, name); }

  static tag make_dataset(const char* type, const char* name) {
    return ask(DSET_create_dataset_with_id, dataset_type(type), name, nullptr, "", nullptr);
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
    std::vector<Reference> all(static_cast<std::size_t>(ask(DSET_get_dataset_ref_count, dataset)));
    int place = 0;
    for (Reference& found : all) {
      char name[DSET_name_size + 1] = "";
      EXPECT_EQ(DSET_find_dataset_named_ref(dataset, place++, name, &found.type, &found.object),
                ORK_ok);
      found.name = name;
    }
    return all;
  }

  /** An attribute's value as users see it. */
  static std::string shown(tag object, const char* attribute) {
    return ask(OBJ_UIF_get_value, object, attribute);
  }

  TemporaryFolder folder_;
};

}  // namespace test

using test::DataSite;
