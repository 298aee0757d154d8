#include "seed_export.h"

#include <filesystem>
#include <system_error>

#include "export_definitions.h"
#include "failure.h"
#include "files.h"
#include "json_values.h"
#include "object_id.h"
#include "ork/file.h"
#include "utf8_path.h"

namespace host {

namespace fs = std::filesystem;

namespace {

using Json = nlohmann::ordered_json;

/** Where a file's contents are is the business of the site that has it. */
bool is_of_contents(const Attribute& attribute) {
  return attribute.name == "contents" || attribute.name == "byte_size" ||
         attribute.name == "digest";
}

class SiteExport {
 public:
  SiteExport(Site& site, const ExportWishes& wishes)
      : site_(site), store_(site.store()), wishes_(wishes), places_(store_) {}

  Json seed() {
    Json seed = Json::object();
    export_definitions(site_, places_, seed);
    Unsaid unsaid;
    export_objects(site_, wishes_, places_, seed, unsaid);
    export_access_rules(site_, places_, seed);
    Json objects = keyed_objects();
    for (const auto& [object, attributes] : unsaid) {
      objects.push_back({{"object", places_.of(object)}, {"values", values(object, attributes)}});
    }
    if (!objects.empty()) {
      seed["objects"] = std::move(objects);
    }
    return seed;
  }

 private:
  /** What no other section has said. */
  Json keyed_objects() {
    Json all = Json::array();
    for (const tag object : store_.find("Object")) {
      if (places_.has(object)) {
        continue;
      }
      const Class& type = store_.class_of(object);
      Json described = {{"key", places_.key(object)}, {"class", type.name}};
      const bool is_file = type.name == "VeloFile";
      if (is_file) {
        described["path"] = path_of_contents(store_, wishes_, object);
      }
      std::vector<const Attribute*> attributes;
      for (const Attribute* attribute : type.slots) {
        const bool is_wanted = !store_.values(object, attribute->name).empty() &&
                               !(is_file && is_of_contents(*attribute)) &&
                               (wishes_.has_dates || !is_of_making(*attribute));
        if (is_wanted) {
          attributes.push_back(attribute);
        }
      }
      described["values"] = values(object, attributes);
      all.push_back(std::move(described));
    }
    return all;
  }

  Json values(tag object, const std::vector<const Attribute*>& attributes) {
    Json all = Json::object();
    for (const Attribute* attribute : attributes) {
      const Values& held = store_.values(object, attribute->name);
      Json& value = all[attribute->name];
      if (attribute->list) {
        value = Json::array();
        for (const Scalar& element : held) {
          value.push_back(value_of(element));
        }
      } else if (!held.empty()) {
        value = value_of(held.front());
      }
    }
    return all;
  }

  Json value_of(const Scalar& value) {
    const tag* const object = std::get_if<tag>(&value);
    const date_s* const date = std::get_if<date_s>(&value);
    if (date != nullptr && *date == date_s{}) {
      return nullptr;
    }
    return object != nullptr ? places_.of(*object) : value_json(value);
  }

  Site& site_;
  Store& store_;
  const ExportWishes& wishes_;
  ExportPlaces places_;
};

/** Removed again unless all is there. */
class FilesFolder {
 public:
  explicit FilesFolder(const std::string& path) : path_(path) {
    std::error_code failed;
    if (!fs::create_directory(utf8_path(path), failed)) {
      refuse(failed ? FILE_cannot_open : FILE_exists,
             path + (failed ? ": " + failed.message() : ""));
    }
  }
  ~FilesFolder() {
    if (!is_kept_) {
      std::error_code ignored;
      fs::remove_all(utf8_path(path_), ignored);
    }
  }
  FilesFolder(const FilesFolder&) = delete;
  FilesFolder& operator=(const FilesFolder&) = delete;

  void fill(Site& site) const {
    for (const tag file : site.store().find("VeloFile")) {
      const Contents contents = contents_of(site.store(), file);
      const std::string target = path_ + "/" + contents.digest;
      if (!fs::exists(utf8_path(target))) {
        site.vault().take_out(contents, target, {});
      }
    }
  }

  void keep() { is_kept_ = true; }

 private:
  std::string path_;
  bool is_kept_ = false;
};

std::string text_of(const Json& seed) {
  try {
    return seed.dump(2) + "\n";
  } catch (const Json::type_error&) {
    refuse(ORK_invalid_argument,
           "the site has a text that is not in UTF-8, which no seed can have");
  }
}

}  // namespace

std::string export_site(Site& site, ExportWishes wishes, const std::string& files) {
  if (site.store().has_unsaved_changes()) {
    refuse(ORK_invalid_argument, "the session has unsaved changes; save or drop them first");
  }
  site.reload_store();
  const Reading one_state(site.database());
  wishes.has_files = !files.empty();
  std::string text = text_of(SiteExport(site, wishes).seed());
  if (!files.empty()) {
    FilesFolder folder(files);
    folder.fill(site);
    folder.keep();
  }
  return text;
}

}  // namespace host
