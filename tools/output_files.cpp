#include "output_files.h"

#include <cerrno>
#include <cstring>

#include "error.h"
#include "os.h"

namespace fs = std::filesystem;

namespace tool {

namespace {

std::string earlier_name(const std::string& name) {
  return name + ".earlier";
}

/** What a chain of symbolic links leads to, which need not be there. */
fs::path end_of_links(const std::string& given) {
  constexpr int longest_chain = 40;
  fs::path path = host::utf8_path(given);
  if (!path.has_filename()) {
    throw usage_error("\"" + given + "\" names no file", "name one");
  }
  std::error_code none;
  for (int links = 0; fs::is_symlink(path, none); ++links) {
    const fs::path target = fs::read_symlink(path, none);
    if (none || links == longest_chain) {
      throw Error(given + " is a symbolic link that leads nowhere", "name a file");
    }
    path = path.parent_path() / target;
  }
  return path;
}

std::string name_of(const fs::path& file) {
  const std::u8string name = file.filename().u8string();
  return {name.begin(), name.end()};
}

}  // namespace

fs::path folder_of(const fs::path& file) {
  return file.has_parent_path() ? file.parent_path() : fs::path(".");
}

fs::path temporary_folder() {
  std::error_code none;
  const fs::path folder = fs::temp_directory_path(none);
  if (none) {
    throw Error("there is no folder for temporary files", "have TMPDIR name one that exists");
  }
  return folder;
}

void watch_for_interruption() {
  os::watch_for_interruption();
}

WorkFolder::WorkFolder(const fs::path& parent) {
  const std::string shown = parent.string();
  std::error_code problem;
  if (!fs::exists(parent, problem)) {
    throw Error("folder " + shown + " does not exist", "create it or name another one");
  }
  if (!fs::is_directory(parent, problem)) {
    throw Error(shown + " is not a folder", "name a folder");
  }
  os::watch_for_interruption();  // from now on there is something to remove
  path_ = os::make_work_folder(parent);
  if (path_.empty()) {
    throw Error("cannot write to folder " + shown + " (" + std::strerror(errno) + ")",
                "make it writable or name another one");
  }
}

WorkFolder::~WorkFolder() {
  std::error_code ignored;
  fs::remove_all(path_, ignored);
}

std::string OutputFiles::add(const std::string& name) {
  const fs::path target = target_ / host::utf8_path(name);
  std::error_code problem;
  if (fs::is_directory(target, problem)) {
    throw Error(target.string() + " is a folder", "remove it or write somewhere else");
  }
  // A file would take the place of "/dev/null", for all programs.
  if (fs::exists(target, problem) && !fs::is_regular_file(target, problem)) {
    throw Error(target.string() + " is a device, a pipe or the like", "name a file");
  }
  names_.push_back(name);
  return work_.file(name);
}

void OutputFiles::keep_earlier_file(const std::string& name) const {
  const fs::path target = target_ / host::utf8_path(name);
  const fs::path kept = host::utf8_path(work_.file(earlier_name(name)));
  if (!fs::exists(target)) {
    return;
  }
  std::error_code problem;
  fs::create_hard_link(target, kept, problem);
  if (problem) {
    fs::copy_file(target, kept);
  }
}

void OutputFiles::publish() {
  size_t placed = 0;
  try {
    for (const std::string& name : names_) {
      keep_earlier_file(name);
    }
    for (; placed < names_.size(); ++placed) {
      fs::rename(host::utf8_path(work_.file(names_[placed])),
                 target_ / host::utf8_path(names_[placed]));
    }
  } catch (const fs::filesystem_error& problem) {
    while (placed-- > 0) {
      const fs::path target = target_ / host::utf8_path(names_[placed]);
      const fs::path kept = host::utf8_path(work_.file(earlier_name(names_[placed])));
      std::error_code ignored;
      if (fs::exists(kept, ignored)) {
        fs::rename(kept, target, ignored);
      } else {
        fs::remove(target, ignored);
      }
    }
    throw Error(
        "cannot write to folder " + target_.string() + " (" + problem.code().message() + ")",
        "make it writable or name another one");
  }
}

OutputFile::OutputFile(const std::string& given) : OutputFile(end_of_links(given)) {}

OutputFile::OutputFile(const fs::path& target)
    : files_(folder_of(target)), path_(files_.add(name_of(target))) {}

NewFiles::~NewFiles() {
  for (const fs::path& path : paths_) {
    std::error_code ignored;
    fs::remove(path, ignored);
  }
}

bool is_interrupted() {
  return os::was_interrupted();
}

void stop_if_interrupted() {
  if (is_interrupted()) {
    throw Error("interrupted", "nothing was written, start again");
  }
}

}  // namespace tool
