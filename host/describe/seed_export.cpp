#include "seed_export.h"

#include <filesystem>
#include <optional>
#include <system_error>

#include "definitions.h"
#include "failure.h"
#include "files.h"
#include "objects.h"
#include "ork/file.h"
#include "utf8_path.h"

namespace host {

namespace fs = std::filesystem;

namespace {

void write_seed(Site& site, const Wishes& wishes, JsonStream& stream) {
  Places places(site.store());
  Account account;
  ObjectSections objects(site, wishes, places, account);
  const auto write = [&](const char* name, void (ObjectSections::*section)(ElementList&)) {
    ElementList list(stream, name);
    (objects.*section)(list);
    list.end();
  };
  const auto write_unless_empty = [&](const char* name, const nlohmann::ordered_json& section) {
    if (!section.empty()) {
      stream.member(name, section);
    }
  };
  stream.begin_object();
  for (const auto& [name, describe] : definition_sections()) {
    write_unless_empty(name, describe(site, wishes, places, account));
  }
  write("items", &ObjectSections::write_items);
  write("structures", &ObjectSections::write_structures);
  write("folders", &ObjectSections::write_folders);
  write("relations", &ObjectSections::write_relations);
  write_unless_empty("access_rules", describe_access_rules(site, wishes, places, account));
  write("objects", &ObjectSections::write_rest);
  stream.end();
}

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
    for_each_element(site.store(), "VeloFile", [&](tag file) {
      const Contents contents = contents_of(site.store(), file);
      const std::string target = path_ + "/" + contents.digest;
      if (!fs::exists(utf8_path(target))) {
        site.vault().take_out(contents, target, {});
      }
    });
  }

  void keep() { is_kept_ = true; }

 private:
  std::string path_;
  bool is_kept_ = false;
};

}  // namespace

void export_site(Site& site, Wishes wishes, const std::string& files,
                 const JsonStream::Write& write) {
  if (site.store().has_unsaved_changes()) {
    refuse(ORK_invalid_argument, "the session has unsaved changes; save or drop them first");
  }
  site.reload_store();
  const Reading one_state(site.database());
  wishes.is_seed = true;
  wishes.has_files = !files.empty();
  std::optional<FilesFolder> folder;
  if (!files.empty()) {
    folder.emplace(files);
  }
  JsonStream stream(write, JsonStream::OtherBytes::strict);
  try {
    write_seed(site, wishes, stream);
  } catch (const nlohmann::ordered_json::type_error&) {
    refuse(ORK_invalid_argument,
           "the site has a text that is not in UTF-8, which no seed can have");
  }
  write("\n");
  if (folder) {
    folder->fill(site);
    folder->keep();
  }
}

}  // namespace host
