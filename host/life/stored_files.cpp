#include "stored_files.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <system_error>

#include "random_name.h"
#include "utf8_path.h"

namespace host {

namespace fs = std::filesystem;

namespace {

/** Values of single attributes of files, by their names. */
constexpr const char* file_rows =
    "SELECT i.tag, "
    "max(CASE a.name WHEN 'contents' THEN v.content END), "
    "max(CASE a.name WHEN 'byte_size' THEN v.content END), "
    "max(CASE a.name WHEN 'digest' THEN v.content END) "
    "FROM class c JOIN attribute a ON a.class = c.id JOIN value v ON v.attribute = a.id "
    "JOIN instance i ON i.tag = v.instance "
    "WHERE c.name = 'VeloFile' AND i.deleted = 0 GROUP BY i.tag ORDER BY i.tag";

std::string canonical(const std::string& site_path) {
  return fs::weakly_canonical(utf8_path(site_path)).string();
}

}  // namespace

std::vector<StoredFile> stored_files(Database& database) {
  std::vector<StoredFile> files;
  for (Query rows(database, file_rows); rows.next();) {
    StoredFile file;
    file.object = static_cast<tag>(rows.integer(0));
    file.contents.name = rows.text(1);
    const std::string size = rows.text(2);
    std::from_chars(size.data(), size.data() + size.size(), file.contents.size);
    file.contents.digest = rows.text(3);
    files.push_back(std::move(file));
  }
  return files;
}

bool is_claimed(Database& database, const std::string& contents_name) {
  Query query(database,
              "SELECT 1 FROM value v JOIN attribute a ON a.id = v.attribute JOIN class c ON "
              "c.id = a.class JOIN instance i ON i.tag = v.instance WHERE c.name = 'VeloFile' AND "
              "a.name = 'contents' AND v.content = ? AND i.deleted = 0",
              contents_name);
  return query.next();
}

std::string vault_of(const std::string& site_path) {
  return canonical(site_path) + ".vault";
}

std::string processes_of(const std::string& site_path) {
  return canonical(site_path) + ".processes";
}

std::vector<std::string> names_in_vault(const std::string& folder) {
  std::vector<std::string> names;
  std::error_code none;
  if (folder.empty()) {
    return names;
  }
  for (const auto& entry : fs::directory_iterator(utf8_path(folder), none)) {
    const std::string name = entry.path().filename().string();
    if (is_random_name(name) && is_plain_file(entry.path().string())) {
      names.push_back(name);
    }
  }
  std::sort(names.begin(), names.end());
  return names;
}

bool is_plain_file(const std::string& path) {
  std::error_code ignored;
  return fs::is_regular_file(fs::symlink_status(utf8_path(path), ignored));
}

}  // namespace host
