/** @file `zolp dataset export-images`: brings images of a revision to the disk. */
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "commands/dataset.h"
#include "copy_progress.h"
#include "error.h"
#include "objects.h"
#include "ork/dset.h"
#include "output_files.h"
#include "site.h"
#include "utf8_path.h"
#include "zolp_orktool.h"

namespace fs = std::filesystem;

namespace tool {

namespace {

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
  NewFiles written;
  for (const Image& image : images) {
    if (!image.is_taken) {
      written.add(image.path);
    }
  }
  {
    const CopyProgress progress("exporting images");
    const LibraryCall call;
    require_done(ZOLP_exportImage(datasets.data(), static_cast<int>(datasets.size()), path.data(),
                                  options.reference.c_str(), "no", revision),
                 "cannot export images of " + options.item + "/" + options.revision,
                 {DSET_no_such_reference});
  }
  stop_if_interrupted();
  for (const Image& image : images) {
    if (!fs::exists(image.path, ignored)) {
      throw Error(
          "the image of dataset " + image.dataset + " is not exported to " + image.path.string(),
          "see the call trace, set ZOLP_TRACE_LEVEL=4");
    }
  }
  written.keep();
  print_images(options, images, datasets.size());
}

}  // namespace

void add_dataset_export_images(CommandParser& group) {
  const auto options = std::make_shared<DatasetOptions>();
  options->reference = "Image";
  CommandParser& command = add_dataset_command(
      group, "export-images", "Export images of a revision's datasets as ITEM_REV_DATASET",
      "\nThe first dataset yields its first reference, the second its second, and so on; those\n"
      "whose reference has another name are passed over. Existing files are kept.\n"
      "Example: zolp dataset export-images --item SH-200 --rev A --out images",
      options, export_images);
  add_owner_options(command, *options, true);
  command.option("--rev").required();
  command.add_option("--reference", options->reference, "Name of the references")
      .type_name("NAME")
      .shows_preset();
  command.add_option("--out", options->folder, "The folder to write to")
      .type_name("FOLDER")
      .shows_preset();
}

}  // namespace tool
