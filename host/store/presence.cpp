#include "presence.h"

#include <filesystem>
#include <fstream>
#include <system_error>

#include "failure.h"
#include "ork/ork.h"
#include "os.h"
#include "random_name.h"
#include "utf8_path.h"

namespace host {

namespace {

constexpr const char* name_in_memory = "memory";

/** Others remove the folder when they leave, and files that nobody holds. */
constexpr int attempts = 100;

}  // namespace

Presence::Presence(const std::string& site_path) : site_path_(site_path) {
  if (site_path == ":memory:") {
    name_ = name_in_memory;
    return;
  }
  // One folder by whatever path the site is opened, and if the program changes its folder.
  site_path_ = std::filesystem::weakly_canonical(utf8_path(site_path)).string();
  folder_ = site_path_ + ".processes";
}

const std::string& Presence::name() {
  if (!name_.empty()) {
    return name_;
  }
  for (int attempt = 1;; ++attempt) {
    const std::string name = random_name();
    try {
      os::make_folder_like(folder_, site_path_);
      file_ = std::make_unique<os::HeldFile>(path_of(name), site_path_);
      name_ = name;
      return name_;
    } catch (const std::system_error& error) {
      if (attempt == attempts || error.code() == std::errc::permission_denied ||
          error.code() == std::errc::no_lock_available) {
        refuse(ORK_site_not_available, folder_ + ": " + error.code().message());
      }
    }
  }
}

bool Presence::lives(const std::string& name) const {
  return !name.empty() && (name == name_ || (!folder_.empty() && is_random_name(name) &&
                                             os::is_held(path_of(name))));
}

void Presence::note(const std::string& name_of_contents) {
  name();
  if (file_) {
    file_->write(notes_size_, name_of_contents + "\n");
    notes_size_ += name_of_contents.size() + 1;
  }
}

void Presence::keep_notes(const std::vector<std::string>& names) {
  if (!file_) {
    return;
  }
  // Lines are equally long and stay in their order: each goes to a place before its own, or the
  // same, so that whatever a kill cuts off, no name that is kept is missing.
  std::string lines;
  for (const std::string& kept : names) {
    lines += kept + "\n";
  }
  file_->write(0, lines);
  file_->cut(lines.size());
  notes_size_ = lines.size();
}

void Presence::leave() {
  if (!file_) {
    return;
  }
  std::error_code ignored;
#if defined(_WIN32)
  file_.reset();  // an open file cannot be removed
#endif
  std::filesystem::remove(utf8_path(path_of(name_)), ignored);
  file_.reset();
  name_.clear();
  notes_size_ = 0;
  std::filesystem::remove(utf8_path(folder_), ignored);  // unless others are there
}

std::vector<std::string> Presence::left_behind() const {
  std::vector<std::string> names;
  std::error_code none;
  if (folder_.empty()) {
    return names;
  }
  for (const auto& entry : std::filesystem::directory_iterator(utf8_path(folder_), none)) {
    const std::string name = entry.path().filename().string();
    if (is_random_name(name) && name != name_ && !os::is_held(path_of(name))) {
      names.push_back(name);
    }
  }
  return names;
}

std::vector<std::string> Presence::notes_of(const std::string& name) const {
  std::vector<std::string> lines;
  std::error_code ignored;
  // Anything else would not end, or stands elsewhere.
  if (std::filesystem::is_regular_file(
          std::filesystem::symlink_status(utf8_path(path_of(name)), ignored))) {
    std::ifstream file(utf8_path(path_of(name)));
    for (std::string line; std::getline(file, line);) {
      lines.push_back(line);
    }
  }
  return lines;
}

void Presence::forget(const std::string& name) const {
  os::remove_unheld(path_of(name));
  std::error_code ignored;
  std::filesystem::remove(utf8_path(folder_), ignored);
}

}  // namespace host
