/** @file `zolp dataset`: files into datasets and out of them. */
#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "commands.h"
#include "copy_progress.h"
#include "error.h"
#include "login.h"
#include "objects.h"
#include "ork/dset.h"
#include "ork/file.h"
#include "ork/item.h"
#include "ork/obj.h"
#include "ork/rel.h"
#include "ork/wso.h"
#include "os.h"
#include "output_files.h"
#include "platform_block.h"
#include "site.h"
#include "text.h"
#include "utf8_path.h"
#include "zolp_orktool.h"

namespace fs = std::filesystem;

namespace tool {

namespace {

constexpr const char* text_type = "Text";
constexpr const char* dataset_relation = "VELO_reference";

struct DatasetOptions {
  std::string dataset;
  std::string item, revision; /**< what the dataset belongs to; may be empty */
  std::string file, name, description, type = text_type, reference, folder = ".", target;
  bool json = false;
  LoginOptions login;
};

std::string advice_for(int status) {
  switch (status) {
    case FILE_exists:
      return "remove it or choose another target";
    case FILE_cannot_read:
    case FILE_cannot_open:
      return "check the path";
    case FILE_cannot_write:
      return "make room, or choose a place that can be written";
    case FILE_damaged:
      return "restore the site's vault from a backup";
    default:
      return "see the call trace, set ZOLP_TRACE_LEVEL=4";
  }
}

/** Reports what could not be done; an interruption as such. */
void require_done(int status, const std::string& problem) {
  if (status == FILE_cancelled) {
    stop_if_interrupted();
  }
  if (status != ORK_ok) {
    throw Error(problem + " (" + platform_error_text(status) + ")", advice_for(status));
  }
}

// ------------------------------------------------------------------------------ what is there

/** The item or revision that the options name; NULLTAG when they name none. */
tag find_owner(const DatasetOptions& options) {
  if (options.item.empty()) {
    return NULLTAG;
  }
  tag owner = NULLTAG;
  if (options.revision.empty()) {
    require(ZOLP_ITEM_find_item(options.item.c_str(), &owner), "item " + options.item);
  } else {
    require(ZOLP_ITEM_find_rev(options.item.c_str(), options.revision.c_str(), &owner),
            "revision " + options.item + "/" + options.revision);
  }
  if (owner == NULLTAG) {
    throw Error("there is no item " + options.item +
                    (options.revision.empty() ? "" : " with revision " + options.revision),
                "see \"zolp find '*'\" for what there is");
  }
  return owner;
}

bool is_dataset(tag object) {
  int ignored = 0;
  return DSET_get_dataset_ref_count(object, &ignored) == ORK_ok;
}

std::string name_of(tag object) {
  std::array<char, WSO_name_size + 1> name{};
  require(WSO_get_name(object, name.data()), "the name");
  return name.data();
}

/** Datasets of an item or revision, in the order in which they were related to it. */
std::vector<tag> datasets_of(tag owner) {
  int count = 0;
  REL_record_s* records = nullptr;
  require(REL_list_all_related_objects(owner, &count, &records), "the relations");
  const PlatformBlock<REL_record_s> block(records);
  std::vector<tag> datasets;
  for (int i = 0; i < count; ++i) {
    if (records[i].primary == owner && is_dataset(records[i].secondary)) {
      datasets.push_back(records[i].secondary);
    }
  }
  return datasets;
}

tag find_dataset_of(tag owner, const std::string& name) {
  for (const tag dataset : datasets_of(owner)) {
    if (name_of(dataset) == name) {
      return dataset;
    }
  }
  return NULLTAG;
}

tag find_dataset(const DatasetOptions& options) {
  const tag owner = find_owner(options);
  tag dataset = NULLTAG;
  if (owner != NULLTAG) {
    dataset = find_dataset_of(owner, options.dataset);
  } else {
    require(DSET_find_dataset(options.dataset.c_str(), &dataset), "dataset " + options.dataset);
  }
  if (dataset == NULLTAG) {
    throw Error((owner != NULLTAG ? id_of(owner) + " has no dataset " : "there is no dataset ") +
                    options.dataset,
                "see \"zolp find '*'\" or \"zolp show ID/REV\" for what there is");
  }
  return dataset;
}

struct Reference {
  std::string name;
  int type = 0;
  tag object = NULLTAG;
};

std::vector<Reference> references_of(tag dataset) {
  int count = 0;
  require(DSET_get_dataset_ref_count(dataset, &count), "the references");
  std::vector<Reference> references;
  for (int i = 0; i < count; ++i) {
    std::array<char, DSET_name_size + 1> name{};
    Reference reference;
    require(
        DSET_find_dataset_named_ref(dataset, i, name.data(), &reference.type, &reference.object),
        "a reference");
    reference.name = name.data();
    references.push_back(reference);
  }
  return references;
}

bool is_file(tag object) {
  return class_of(object) == "VeloFile";
}

std::string original_name(tag file) {
  std::array<char, FILE_original_name_size + 1> name{};
  require(FILE_get_original_file_name(file, name.data()), "the file's name");
  return name.data();
}

Json describe_file(tag file) {
  std::int64_t size = 0;
  int type = 0;
  std::array<char, FILE_digest_size + 1> digest{};
  require(FILE_describe(file, &size, &type, digest.data()), "the file");
  return {{"name", original_name(file)},
          {"size", size},
          {"type", type == SS_TEXT     ? "text"
                   : type == SS_BINARY ? "binary"
                                       : "unknown"},
          {"digest", digest.data()}};
}

Json card_of(tag dataset) {
  std::array<char, WSO_name_size + 1> type{};
  std::array<char, DSET_name_size + 1> tool_name{};
  std::array<char, DSET_name_size + 1> format{};
  tag tool = NULLTAG;
  require(WSO_get_object_type(dataset, type.data()), "the type");
  require(DSET_get_dataset_tool(dataset, &tool), "the tool");
  require(DSET_get_dataset_format(dataset, format.data()), "the format");
  if (tool != NULLTAG) {
    require(DSET_get_tool_name(tool, tool_name.data()), "the tool");
  }
  Json references = Json::array();
  for (const Reference& reference : references_of(dataset)) {
    Json entry = {{"name", reference.name}, {"part", reference.type == DSET_PART_OF}};
    if (is_file(reference.object)) {
      entry["file"] = describe_file(reference.object);
    } else {
      entry["object"] = id_of(reference.object);
      entry["class"] = class_of(reference.object);
    }
    references.push_back(std::move(entry));
  }
  return {{"name", name_of(dataset)},
          {"type", type.data()},
          {"description", display_value(dataset, "object_desc")},
          {"owner", display_value(dataset, "owning_user")},
          {"tool", tool_name.data()},
          {"format", format.data()},
          {"references", references}};
}

void print_card(const Json& card) {
  std::puts(printable(card["name"].get<std::string>()).c_str());
  for (const char* field : {"type", "description", "owner", "tool", "format"}) {
    std::printf("  %-12s %s\n", field, printable(card[field].get<std::string>()).c_str());
  }
  if (card["references"].empty()) {
    return;
  }
  Table table({"  reference", "holds", "bytes", "what"});
  for (const Json& reference : card["references"]) {
    const std::string name = "  " + reference["name"].get<std::string>();
    const char* const holds = reference["part"].get<bool>() ? "part" : "link";
    if (const auto file = reference.find("file"); file != reference.end()) {
      table.add_row({name, holds, (*file)["size"].dump(), (*file)["name"]});
    } else {
      table.add_row({name, holds, "",
                     reference["object"].get<std::string>() + "  (" +
                         reference["class"].get<std::string>() + ")"});
    }
  }
  table.print();
}

void show_dataset(const DatasetOptions& options) {
  const Json card = card_of(find_dataset(options));
  if (options.json) {
    print_json(card);
  } else {
    print_card(card);
  }
}

// ------------------------------------------------------------------------------------- import

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

/** Objects that are deleted again unless the work on them ends well. */
class MadeObjects {
 public:
  MadeObjects() = default;
  MadeObjects(const MadeObjects&) = delete;
  MadeObjects& operator=(const MadeObjects&) = delete;
  ~MadeObjects() {
    for (auto object = objects_.rbegin(); object != objects_.rend(); ++object) {
      if (OBJ_refresh(*object, 1) == ORK_ok) {
        OBJ_delete(*object);
      }
    }
  }

  void add(tag object) {
    if (object != NULLTAG) {
      objects_.push_back(object);
    }
  }
  void keep() { objects_.clear(); }

 private:
  std::vector<tag> objects_;
};

void import_text(const DatasetOptions& options, const std::string& name, tag owner) {
  const std::string file_name = host::utf8_path(options.file).filename().string();
  const LibraryCall call;
  require_done(ZOLP_fct_import_text_dataset_desc(owner, name.c_str(), options.description.c_str(),
                                                 options.file.c_str(), file_name.c_str()),
               "cannot import " + options.file);
}

void import_file(const DatasetOptions& options, const std::string& name, tag owner) {
  const std::string problem = "cannot import " + options.file;
  tag type = NULLTAG;
  require(DSET_find_datasettype(options.type.c_str(), &type), "dataset type " + options.type);
  if (type == NULLTAG) {
    throw Error("there is no dataset type " + options.type,
                "see \"zolp host show SITE dataset_types\" for what there is");
  }
  const FileKind kind = choose_kind(type, options);
  const int file_type = kind.format == "TEXT" ? SS_TEXT : kind.format == "BINARY" ? SS_BINARY : 0;
  MadeObjects made;
  tag file = NULLTAG;
  require_done(FILE_import_file(options.file.c_str(), nullptr, file_type, &file, nullptr), problem);
  require_done(OBJ_save(file), problem);
  made.add(file);
  const LibraryCall call;
  tag dataset = NULLTAG;
  const int status = ZOLP_createDataset(options.type.c_str(), name.c_str(), kind.reference.c_str(),
                                        nullptr, options.description.c_str(), &dataset);
  made.add(dataset);
  require_done(status, problem);
  require_done(ZOLP_attachNamedReference(dataset, file, kind.reference.c_str()), problem);
  require_done(OBJ_refresh(file, 0), problem);
  require_done(ZOLP_createRelation(owner, dataset, dataset_relation), problem);
  made.keep();
}

/** Refuses what would be refused when the files are copied already. */
void check_length(const char* what, const std::string& text, std::size_t limit) {
  if (text.size() > limit) {
    throw Error(std::string("the ") + what + " is longer than " + std::to_string(limit) + " bytes",
                "choose a shorter one");
  }
}

void import_dataset(const DatasetOptions& options) {
  const tag owner = find_owner(options);
  const std::string name =
      options.name.empty() ? host::utf8_path(options.file).stem().string() : options.name;
  check_length("name", name, WSO_name_size);
  check_length("description", options.description, WSO_description_size);
  if (find_dataset_of(owner, name) != NULLTAG) {
    throw Error(id_of(owner) + " has a dataset " + name, "choose another name with --name");
  }
  {
    const CopyProgress progress("importing " + options.file);
    if (options.type == text_type) {
      import_text(options, name, owner);
    } else {
      import_file(options, name, owner);
    }
  }
  const Json card = card_of(find_dataset_of(owner, name));
  if (options.json) {
    print_json(card);
  } else {
    std::printf("imported %s as dataset %s of %s\n", printable(options.file).c_str(),
                printable(name).c_str(), printable(id_of(owner)).c_str());
  }
}

// ------------------------------------------------------------------------------------- export

/** Files that are removed again unless all of them are there. */
class ExportedFiles {
 public:
  ExportedFiles() = default;
  ExportedFiles(const ExportedFiles&) = delete;
  ExportedFiles& operator=(const ExportedFiles&) = delete;
  ~ExportedFiles() {
    for (const fs::path& path : paths_) {
      std::error_code ignored;
      fs::remove(path, ignored);
    }
  }

  const std::vector<fs::path>& paths() const { return paths_; }
  void add(const fs::path& path) { paths_.push_back(path); }
  void keep() { paths_.clear(); }

 private:
  std::vector<fs::path> paths_;
};

/** The path, or the next one with a number that no other file of the dataset has been given. */
fs::path numbered(const fs::path& path, const std::vector<fs::path>& given) {
  fs::path candidate = path;
  for (int number = 2; std::find(given.begin(), given.end(), candidate) != given.end(); ++number) {
    candidate = path;
    candidate.replace_filename(path.stem());
    candidate += "-" + std::to_string(number);
    candidate += path.extension();
  }
  return candidate;
}

/** Where a file is to go: into a folder under its own name, or to the path that is given. */
fs::path target_of(const DatasetOptions& options, tag file) {
  const fs::path target = host::utf8_path(options.target.empty() ? "." : options.target);
  std::error_code ignored;
  if (!fs::is_directory(target, ignored)) {
    return target;
  }
  const std::string name = original_name(file);
  if (name.empty() || name == "." || name == "..") {
    throw Error("the file has the name \"" + name + "\"", "give a path for it with --out");
  }
  return target / host::utf8_path(name);
}

void export_dataset(const DatasetOptions& options) {
  const tag dataset = find_dataset(options);
  std::vector<tag> files;
  for (const Reference& reference : references_of(dataset)) {
    const bool is_wanted = options.reference.empty() || reference.name == options.reference;
    if (is_wanted && is_file(reference.object)) {
      files.push_back(reference.object);
    }
  }
  if (files.empty()) {
    throw Error("dataset " + options.dataset + " has no file" +
                    (options.reference.empty() ? "" : " as " + options.reference),
                "see \"zolp dataset show\" for what it has");
  }
  Json paths = Json::array();
  ExportedFiles exported;
  for (const tag file : files) {
    const fs::path target = numbered(target_of(options, file), exported.paths());
    if (files.size() > 1 && target == options.target) {
      throw Error("dataset " + options.dataset + " has " + std::to_string(files.size()) + " files",
                  "name a folder with --out, or one of them with --reference");
    }
    const CopyProgress progress("exporting " + target.string());
    require_done(FILE_export_file(file, target.string().c_str()),
                 "cannot export " + target.string());
    exported.add(target);
    paths.push_back(target.string());
  }
  exported.keep();
  if (options.json) {
    print_json({{"files", paths}});
    return;
  }
  for (const Json& path : paths) {
    std::printf("wrote %s\n", printable(path.get<std::string>()).c_str());
  }
}

/** The path to which a dataset's image of a revision is exported. */
fs::path image_path(const DatasetOptions& options, tag dataset) {
  std::string name = options.item + "_" + options.revision + "_" + name_of(dataset);
  ZOLP_RepSpecialChar(name.data());
  return host::utf8_path(options.folder) / host::utf8_path(name.c_str());
}

struct Image {
  std::string dataset;
  fs::path path;
  bool is_taken; /**< something was there before */
};

/** Which images the library will export: of the first dataset the first reference, and so on. */
std::vector<Image> expected_images(const DatasetOptions& options,
                                   const std::vector<tag>& datasets) {
  std::vector<Image> images;
  for (std::size_t i = 0; i < datasets.size(); ++i) {
    const std::vector<Reference> references = references_of(datasets[i]);
    if (i < references.size() && references[i].name == options.reference) {
      const fs::path path = image_path(options, datasets[i]);
      std::error_code ignored;
      images.push_back({name_of(datasets[i]), path, fs::exists(path, ignored)});
    }
  }
  return images;
}

void print_images(const DatasetOptions& options, const std::vector<Image>& images,
                  std::size_t dataset_count) {
  Json written = Json::array();
  Json kept = Json::array();
  for (const Image& image : images) {
    (image.is_taken ? kept : written).push_back(image.path.string());
  }
  if (options.json) {
    print_json({{"written", written}, {"kept", kept}, {"datasets", dataset_count}});
    return;
  }
  for (const Json& path : written) {
    std::printf("wrote %s\n", printable(path.get<std::string>()).c_str());
  }
  for (const Json& path : kept) {
    std::printf("kept %s, which was there\n", printable(path.get<std::string>()).c_str());
  }
  std::printf("%s of %s\n", counted(images.size(), "image").c_str(),
              counted(dataset_count, "dataset").c_str());
}

void export_images(const DatasetOptions& options) {
  const tag revision = find_owner(options);
  std::error_code ignored;
  if (!fs::is_directory(host::utf8_path(options.folder), ignored)) {
    throw Error(options.folder + " is no folder", "name one with --out");
  }
  std::vector<tag> datasets = datasets_of(revision);
  const std::vector<Image> images = expected_images(options, datasets);
  std::string path = (host::utf8_path(options.folder) / "").string();
  path.resize(path.size() + ZOLP_IMAGE_NAME_SIZE);
  {
    const CopyProgress progress("exporting images");
    const LibraryCall call;
    require_done(ZOLP_exportImage(datasets.data(), static_cast<int>(datasets.size()), path.data(),
                                  options.reference.c_str(), "no", revision),
                 "cannot export images of " + options.item + "/" + options.revision);
  }
  stop_if_interrupted();
  for (const Image& image : images) {
    if (!fs::exists(image.path, ignored)) {
      throw Error(
          "the image of dataset " + image.dataset + " is not exported to " + image.path.string(),
          "see the call trace, set ZOLP_TRACE_LEVEL=4");
    }
  }
  print_images(options, images, datasets.size());
}

// --------------------------------------------------------------------------------------- copy

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
    print_json(card_of(copy));
  } else {
    std::printf("copied %s to %s with %s\n", printable(options.dataset).c_str(),
                printable(options.name).c_str(),
                counted(references_of(copy).size(), "reference").c_str());
  }
}

// ----------------------------------------------------------------------------------- commands

using Options = std::shared_ptr<DatasetOptions>;

/** A subcommand with the options that all of them have; what it does it does in a session. */
CLI::App* add_command(CLI::App& parent, const char* name, const char* description,
                      const char* footer, const Options& options,
                      void (*work)(const DatasetOptions&)) {
  CLI::App* const command = parent.add_subcommand(name, description);
  work_in_session(*command, options, work);
  command->footer(footer);
  return command;
}

void add_owner_options(CLI::App& command, const Options& options, bool is_required) {
  CLI::Option* const item =
      command.add_option("--item", options->item, "Item of the dataset")->type_name("ITEM");
  CLI::Option* const revision =
      command.add_option("--rev", options->revision, "Revision of that item")->type_name("REV");
  revision->needs(item);
  item->required(is_required);
}

void add_dataset_argument(CLI::App& command, const Options& options) {
  command.add_option("DATASET", options->dataset, "Name of the dataset")->required()->type_name("");
  add_owner_options(command, options, false);
}

void add_import_command(CLI::App& parent) {
  const auto options = std::make_shared<DatasetOptions>();
  CLI::App* const command = add_command(
      parent, "import", "Import a file into a new dataset of an item or revision",
      "\nExamples: zolp dataset import report.txt --item SH-200 --rev A --name \"Check report\"\n"
      "          zolp dataset import front.png --type Image --item SH-200 --rev A",
      options, import_dataset);
  command->add_option("FILE", options->file, "The file")->required()->type_name("");
  add_owner_options(*command, options, true);
  command->add_option("--name", options->name, "Name of the dataset; the file's without ending")
      ->type_name("NAME");
  command->add_option("--description", options->description, "Description of the dataset")
      ->type_name("TEXT");
  command->add_option("--type", options->type, "Type of the dataset")
      ->type_name("TYPE")
      ->capture_default_str();
  command
      ->add_option("--reference", options->reference,
                   "Reference of that type; the one whose file names fit best")
      ->type_name("NAME");
}

void add_export_command(CLI::App& parent) {
  const auto options = std::make_shared<DatasetOptions>();
  CLI::App* const command = add_command(
      parent, "export", "Export the files of a dataset; existing files are never overwritten",
      "\nAll files are exported, or none. Those of the same name get a number.\n"
      "Examples: zolp dataset export \"Check report\"\n"
      "          zolp dataset export \"Check report\" --item SH-200 --rev A --out report.txt",
      options, export_dataset);
  add_dataset_argument(*command, options);
  command->add_option("--reference", options->reference, "Only files under this reference")
      ->type_name("NAME");
  command
      ->add_option("--out", options->target,
                   "A folder, for files under their own names, or a new file; the current folder")
      ->type_name("PATH");
}

void add_export_images_command(CLI::App& parent) {
  const auto options = std::make_shared<DatasetOptions>();
  options->reference = "Image";
  CLI::App* const command = add_command(
      parent, "export-images", "Export images of a revision's datasets as ITEM_REV_DATASET",
      "\nThe first dataset yields its first reference, the second its second, and so on; those\n"
      "whose reference has another name are passed over. Existing files are kept.\n"
      "Example: zolp dataset export-images --item SH-200 --rev A --out images",
      options, export_images);
  add_owner_options(*command, options, true);
  command->get_option("--rev")->required();
  command->add_option("--reference", options->reference, "Name of the references")
      ->type_name("NAME")
      ->capture_default_str();
  command->add_option("--out", options->folder, "The folder to write to")
      ->type_name("FOLDER")
      ->capture_default_str();
}

void add_copy_command(CLI::App& parent) {
  const auto options = std::make_shared<DatasetOptions>();
  CLI::App* const command =
      add_command(parent, "copy", "Copy a dataset with its files",
                  "\nWith --item and --rev the copy is related to them as the dataset is.\n"
                  "Example: zolp dataset copy \"Check report\" \"Check report 2\" --item SH-200 "
                  "--rev A",
                  options, copy_dataset);
  add_dataset_argument(*command, options);
  command->add_option("NAME", options->name, "Name of the copy")->required()->type_name("");
}

}  // namespace

void add_dataset_commands(CLI::App& program) {
  CLI::App* const datasets =
      program.add_subcommand("dataset", "Bring files into datasets and out of them");
  datasets->require_subcommand(1);
  add_import_command(*datasets);
  add_export_command(*datasets);
  add_export_images_command(*datasets);
  add_copy_command(*datasets);
  const auto options = std::make_shared<DatasetOptions>();
  add_dataset_argument(
      *add_command(*datasets, "show", "Print what a dataset holds",
                   "\nExample: zolp dataset show \"Front view\" --json", options, show_dataset),
      options);
}

}  // namespace tool
