/** @file `zolp dataset import`: brings a file into a new dataset. */
#include <array>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "commands/dataset.h"
#include "copy_progress.h"
#include "error.h"
#include "objects.h"
#include "ork/dset.h"
#include "ork/file.h"
#include "ork/obj.h"
#include "ork/wso.h"
#include "os.h"
#include "platform_block.h"
#include "site.h"
#include "streams.h"
#include "utf8_path.h"
#include "zolp_orktool.h"

namespace tool {

namespace {

/** The texts of an array that the platform hands out in one block. */
std::vector<std::string> texts_of(int count, char** texts) {
  const PlatformBlock<char*> block(texts);
  return {texts, texts + count};
}

struct FileKind {
  std::string reference;
  std::string format;
};

/** The reference of a dataset type that suits a file's name best, or the one that is wanted. */
FileKind choose_kind(tag type, const DatasetOptions& options) {
  int count = 0;
  char** texts = nullptr;
  require(DSET_get_datasettype_refs(type, &count, &texts), "dataset type " + options.type);
  const std::string file_name = host::utf8_path(options.file).filename().string();
  std::optional<FileKind> found;
  for (const std::string& reference : texts_of(count, texts)) {
    if (!options.reference.empty() && reference != options.reference) {
      continue;
    }
    int files = 0;
    char** templates = nullptr;
    char** formats = nullptr;
    require(DSET_get_datasettype_file_refs(type, reference.c_str(), &files, &templates, &formats),
            "reference " + reference);
    const std::vector<std::string> all_templates = texts_of(files, templates);
    const std::vector<std::string> all_formats = texts_of(files, formats);
    for (std::size_t i = 0; i < all_templates.size(); ++i) {
      if (os::fits_file_template(file_name, all_templates[i])) {
        return {reference, all_formats[i]};
      }
    }
    if (!found && !all_formats.empty()) {
      found = {reference, all_formats.front()};
    }
  }
  if (!found) {
    throw Error("dataset type " + options.type + " takes no files" +
                    (options.reference.empty() ? "" : " as " + options.reference),
                "see \"zolp host show SITE dataset_types\" for what there is");
  }
  return *found;
}

void import_text(const DatasetOptions& options, const InputFile& file, const std::string& name,
                 tag owner) {
  const std::string file_name = host::utf8_path(file.path()).filename().string();
  const LibraryCall call;
  require_done(ZOLP_fct_import_text_dataset_desc(owner, name.c_str(), options.description.c_str(),
                                                 file.path().c_str(), file_name.c_str()),
               "cannot import " + file.name());
}

void import_file(const DatasetOptions& options, const InputFile& file, const std::string& name,
                 tag owner) {
  const std::string problem = "cannot import " + file.name();
  tag type = NULLTAG;
  require(DSET_find_datasettype(options.type.c_str(), &type), "dataset type " + options.type);
  if (type == NULLTAG) {
    throw Error("there is no dataset type " + options.type,
                "see \"zolp host show SITE dataset_types\" for what there is");
  }
  const FileKind kind = choose_kind(type, options);
  const int file_type = kind.format == "TEXT" ? SS_TEXT : kind.format == "BINARY" ? SS_BINARY : 0;
  tag imported = NULLTAG;
  require_done(FILE_import_file(file.path().c_str(), nullptr, file_type, &imported, nullptr),
               problem);
  require_done(OBJ_save(imported), problem);
  const LibraryCall call;
  tag dataset = NULLTAG;
  const int status = ZOLP_createDataset(options.type.c_str(), name.c_str(), kind.reference.c_str(),
                                        nullptr, options.description.c_str(), &dataset);
  require_done(status, problem);
  require_done(ZOLP_attachNamedReference(dataset, imported, kind.reference.c_str()), problem,
               {DSET_no_named_reference});
  require_done(OBJ_refresh(imported, 0), problem);
  require_done(ZOLP_createRelation(owner, dataset, dataset_relation), problem);
}

void import_dataset(const DatasetOptions& options) {
  if (options.file == standard_stream && options.name.empty()) {
    throw usage_error("standard input has no name", "name the dataset with --name");
  }
  const tag owner = find_owner(options);
  const std::string name =
      options.name.empty() ? host::utf8_path(options.file).stem().string() : options.name;
  check_length("name", name, WSO_name_size);
  check_length("description", options.description, WSO_description_size);
  require_no_more_datasets(owner, name, 0);
  const std::string id = id_of(owner);
  const InputFile file(options.file, name);
  Json card;
  {
    const CopyProgress progress("importing " + file.name());
    Change change;
    if (options.type == text_type) {
      import_text(options, file, name, owner);
    } else {
      import_file(options, file, name, owner);
    }
    require_no_more_datasets(owner, name, 1);
    card = dataset_card(find_dataset_of(owner, name));
    require_done(change.keep(), "cannot import " + file.name());
  }
  if (options.json) {
    print_json(card);
  } else {
    std::printf("imported %s as dataset %s of %s\n", printable(file.name()).c_str(),
                printable(name).c_str(), printable(id).c_str());
  }
}

}  // namespace

void add_dataset_import(CommandParser& group) {
  const auto options = std::make_shared<DatasetOptions>();
  CommandParser& command = add_dataset_command(
      group, "import", "Import a file into a new dataset of an item or revision",
      "\nExamples: zolp dataset import report.txt --item SH-200 --rev A --name \"Check report\"\n"
      "          zolp dataset import front.png --type Image --item SH-200 --rev A",
      options, import_dataset);
  command.add_option("FILE", options->file, "The file; - for standard input")
      .required()
      .type_name("");
  add_owner_options(command, *options, true);
  command.add_option("--name", options->name, "Name of the dataset; the file's without ending")
      .type_name("NAME");
  command.add_option("--description", options->description, "Description of the dataset")
      .type_name("TEXT");
  command.add_option("--type", options->type, "Type of the dataset")
      .type_name("TYPE")
      .shows_preset();
  command
      .add_option("--reference", options->reference,
                  "Reference of that type; the one whose file names fit best")
      .type_name("NAME");
}

}  // namespace tool
