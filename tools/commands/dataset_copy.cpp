/** @file `zolp dataset copy`: copies a dataset with its files. */
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "commands/dataset.h"
#include "copy_progress.h"
#include "error.h"
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
    return given != nullptr ? host::utf8_path(given) : temporary_folder();
  }

  WorkFolder folder_;
};

/** The library lets a copy share files whose references are of no known format. */
void require_own_files(tag dataset, tag copy) {
  const std::vector<Reference> references = references_of(dataset);
  for (const Reference& own : references_of(copy)) {
    for (const Reference& reference : references) {
      if (own.object == reference.object && is_file(own.object)) {
        throw Error("file " + original_name(own.object) + " is not copied, for reference " +
                        own.name + " has no format",
                    "give the dataset type one for it");
      }
    }
  }
}

/** Copies a dataset. @return what is shown of the copy. */
Json make_copy(const DatasetOptions& options, tag owner, tag dataset) {
  const std::string problem = "cannot copy dataset " + options.dataset;
  const PassageFolder folder;
  const CopyProgress progress("copying " + options.dataset);
  Change change;
  tag copy = NULLTAG;
  {
    const LibraryCall call;
    require_done(ZOLP_RealCopyDataset(dataset, options.name.c_str(), &copy), problem);
    if (owner != NULLTAG) {
      require_done(ZOLP_createRelation(owner, copy, dataset_relation), problem);
      require_no_more_datasets(owner, options.name, 1);
    }
  }
  require_own_files(dataset, copy);
  Json card = dataset_card(copy);
  require_done(change.keep(), problem);
  return card;
}

void copy_dataset(const DatasetOptions& options) {
  check_length("name", options.name, WSO_name_size);
  const tag owner = find_owner(options);
  const tag dataset = find_dataset(options);
  if (owner != NULLTAG) {
    require_no_more_datasets(owner, options.name, 0);
  }
  const Json card = make_copy(options, owner, dataset);
  if (options.json) {
    print_json(card);
  } else {
    std::printf("copied %s to %s with %s\n", printable(options.dataset).c_str(),
                printable(options.name).c_str(),
                counted(card["references"].size(), "reference").c_str());
  }
}

}  // namespace

void add_dataset_copy(CommandParser& group) {
  const auto options = std::make_shared<DatasetOptions>();
  CommandParser& command = add_dataset_command(
      group, "copy", "Copy a dataset with its files",
      "\nWith --item and --rev the copy is related to them as the dataset is.\n"
      "Example: zolp dataset copy \"Check report\" \"Check report 2\" --item SH-200 "
      "--rev A",
      options, copy_dataset);
  add_dataset_argument(command, *options);
  command.add_option("NAME", options->name, "Name of the copy").required().type_name("");
}

}  // namespace tool
