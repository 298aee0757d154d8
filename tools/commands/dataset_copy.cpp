/** @file `zolp dataset copy`: copies a dataset with its files. */
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>

#include "commands/dataset.h"
#include "copy_progress.h"
#include "ork/wso.h"
#include "os.h"
#include "output_files.h"
#include "site.h"
#include "utf8_path.h"
#include "zolp_orktool.h"

namespace fs = std::filesystem;

namespace tool {

namespace {

/** Files of a copy pass through a folder of its own, so that none is left when it fails. */
class PassageFolder {
 public:
  PassageFolder() : folder_(parent()) { os::set_variable("VK_TMP_DIR", folder_.path().string()); }

 private:
  static fs::path parent() {
    const char* const given = std::getenv("VK_TMP_DIR");
    return given != nullptr ? host::utf8_path(given) : fs::temp_directory_path();
  }

  WorkFolder folder_;
};

void copy_dataset(const DatasetOptions& options) {
  check_length("name", options.name, WSO_name_size);
  const tag owner = find_owner(options);
  const tag dataset = find_dataset(options);
  const std::string problem = "cannot copy dataset " + options.dataset;
  const PassageFolder folder;
  MadeObjects made;
  tag copy = NULLTAG;
  {
    const CopyProgress progress("copying " + options.dataset);
    const LibraryCall call;
    const int status = ZOLP_RealCopyDataset(dataset, options.name.c_str(), &copy);
    made.add(copy);
    require_done(status, problem);
    if (owner != NULLTAG) {
      require_done(ZOLP_createRelation(owner, copy, dataset_relation), problem);
    }
  }
  made.keep();
  if (options.json) {
    print_json(dataset_card(copy));
  } else {
    std::printf("copied %s to %s with %s\n", printable(options.dataset).c_str(),
                printable(options.name).c_str(),
                counted(references_of(copy).size(), "reference").c_str());
  }
}

}  // namespace

void add_dataset_copy(CLI::App& group) {
  const auto options = std::make_shared<DatasetOptions>();
  CLI::App* const command = add_dataset_command(
      group, "copy", "Copy a dataset with its files",
      "\nWith --item and --rev the copy is related to them as the dataset is.\n"
      "Example: zolp dataset copy \"Check report\" \"Check report 2\" --item SH-200 "
      "--rev A",
      options, copy_dataset);
  add_dataset_argument(*command, *options);
  command->add_option("NAME", options->name, "Name of the copy")->required()->type_name("");
}

}  // namespace tool
