#include "vault.h"

#include <gcrypt.h>

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <system_error>

#include "crypto.h"
#include "failure.h"
#include "random_name.h"
#include "utf8_path.h"

namespace host {

namespace {

constexpr std::size_t block_size = std::size_t{1} << 20;

/** Of the name that incomplete contents have, where they need one. */
constexpr const char* own_name_ending = ".part";

/** What a failure of the operating system means: a code, and what it was about. */
struct Meaning {
  int status;
  std::string what;
};

template <typename Action>
auto with_meaning(const Meaning& meaning, const Action& action) {
  try {
    return action();
  } catch (const std::system_error& error) {
    refuse(meaning.status, meaning.what + ": " + error.code().message());
  }
}

class Digest {
 public:
  Digest() {
    start_crypto_library();
    gcry_md_hd_t handle = nullptr;
    if (const gcry_error_t error = gcry_md_open(&handle, GCRY_MD_SHA256, 0); error != 0) {
      refuse(ORK_internal_error, std::string("digest: ") + gcry_strerror(error));
    }
    handle_.reset(handle);
  }

  void add(std::string_view data) { gcry_md_write(handle_.get(), data.data(), data.size()); }

  std::string text() {
    const unsigned char* bytes = gcry_md_read(handle_.get(), GCRY_MD_SHA256);
    return hex_text({bytes, gcry_md_get_algo_dlen(GCRY_MD_SHA256)});
  }

 private:
  struct Close {
    void operator()(gcry_md_hd_t handle) const { gcry_md_close(handle); }
  };
  std::unique_ptr<gcry_md_handle, Close> handle_;
};

/** Reads a file to its end, block by block, and passes each block on. */
template <typename Take>
Contents read_through(const os::SourceFile& source, const Meaning& read_failure, const Take& take) {
  std::vector<char> buffer(block_size);
  Digest digest;
  Contents contents;
  while (const std::size_t count = with_meaning(
             read_failure, [&] { return source.read(buffer.data(), buffer.size()); })) {
    const std::string_view block(buffer.data(), count);
    digest.add(block);
    contents.size += static_cast<std::int64_t>(count);
    take(block, contents.size);
  }
  contents.digest = digest.text();
  return contents;
}

os::SourceFile open_source(const std::string& path, const Meaning& failure) {
  return with_meaning(failure, [&] { return os::SourceFile(path); });
}

void require_regular(const os::SourceFile& source, const std::string& path) {
  if (!source.is_regular()) {
    refuse(FILE_cannot_read, path + ": it is a folder, or no regular file");
  }
}

std::string parent_folder(const std::string& path) {
  const std::string folder = utf8_path(path).parent_path().string();
  return folder.empty() ? "." : folder;
}

/** Whether something has a path, be it a link that leads nowhere. */
bool is_taken(const std::string& path) {
  std::error_code ignored;
  return std::filesystem::exists(std::filesystem::symlink_status(utf8_path(path), ignored));
}

void publish(os::NewFile& file, const std::string& path) {
  try {
    file.publish(path);
  } catch (const std::system_error& error) {
    if (error.code() == std::errc::file_exists) {
      refuse(FILE_exists, path);
    }
    throw;
  }
}

/** In a temporary folder, beside the contents: its maker's, which holds it (held_file.h). */
constexpr const char* temporary_file_of_maker = "/maker";

/** Temporary folders of processes that have ended without removing them. */
void remove_temporary_folders_left_behind() {
  std::error_code none;
  const std::filesystem::path parent = std::filesystem::temp_directory_path(none);
  for (const auto& entry : std::filesystem::directory_iterator(parent, none)) {
    const std::string path = entry.path().string();
    if (!entry.path().filename().string().starts_with(os::temporary_folder_prefix)) {
      continue;
    }
    std::error_code ignored;
    if (entry.is_directory(ignored) && !entry.is_symlink(ignored) &&
        std::filesystem::is_regular_file(
            std::filesystem::symlink_status(utf8_path(path + temporary_file_of_maker), ignored)) &&
        !os::is_held(path + temporary_file_of_maker)) {
      std::filesystem::remove_all(entry.path(), ignored);
    }
  }
}

}  // namespace

void Progress::report(std::int64_t done, std::int64_t total) const {
  if (function != nullptr && function(done, std::max(done, total), context) == 0) {
    refuse(FILE_cancelled, "after " + std::to_string(done) + " bytes");
  }
}

Contents read_contents(const std::string& path) {
  const Meaning failure{FILE_cannot_read, path};
  const os::SourceFile source = open_source(path, failure);
  require_regular(source, path);
  return read_through(source, failure, [](std::string_view, std::int64_t) {});
}

Vault::Vault(const std::string& site_path, Presence& presence)
    : presence_(presence),
      is_temporary_(site_path == ":memory:"),
      // One vault by whatever path the site is opened, and if the program changes its folder.
      site_path_(is_temporary_ ? std::string()
                               : std::filesystem::weakly_canonical(utf8_path(site_path)).string()),
      folder_(is_temporary_ ? std::string() : site_path_ + ".vault") {}

Vault::~Vault() {
  if (is_temporary_ && !folder_.empty() && maker_ == os::forks()) {
    held_.reset();  // some systems remove no open file
    std::error_code ignored;
    std::filesystem::remove_all(utf8_path(folder_), ignored);
  }
}

std::string Vault::path_of(const std::string& name) const {
  if (!is_random_name(name)) {
    refuse(FILE_damaged, "\"" + name + "\" is no name of contents");
  }
  return folder_ + "/" + name;
}

void Vault::make_folder() {
  if (!is_temporary_) {
    os::make_folder_like(folder_, site_path_);
  } else if (folder_.empty()) {
    make_temporary_folder();
  }
}

void Vault::make_temporary_folder() {
  remove_temporary_folders_left_behind();
  constexpr int attempts = 10;  // another process may take it for one that is left behind
  for (int attempt = 1;; ++attempt) {
    const std::string folder = os::make_temporary_folder();
    try {
      held_ = std::make_unique<os::HeldFile>(folder + temporary_file_of_maker, folder);
      folder_ = folder;
      maker_ = os::forks();
      return;
    } catch (const std::system_error&) {
      if (attempt == attempts) {
        throw;
      }
    }
  }
}

/** Names of contents that are saved need not be known any more. */
void Vault::forget_claimed(Store& store) {
  constexpr std::size_t few = 64;
  if (announced_.size() < most_announced_ || store.database().is_in_transaction()) {
    return;  // what is saved in a transaction may still be undone
  }
  std::erase_if(announced_, [&](const std::string& name) {
    return store.find_one("VeloFile", {{"contents", name}}) != NULLTAG;
  });
  with_meaning({FILE_cannot_write, "the vault"}, [&] { presence_.keep_notes(announced_); });
  most_announced_ = 2 * announced_.size() + few;
}

void Vault::announce(const std::string& name) {
  with_meaning({FILE_cannot_write, "the vault"}, [&] {
    make_folder();
    presence_.note(name);
  });
  announced_.push_back(name);
}

Contents Vault::bring_in(Store& store, const std::string& path, const Progress& progress) {
  const Meaning read_failure{FILE_cannot_read, path};
  const Meaning write_failure{FILE_cannot_write, "the vault, for " + path};
  const os::SourceFile source = open_source(path, read_failure);
  require_regular(source, path);
  const std::string name = random_name();
  forget_claimed(store);
  announce(name);
  return with_meaning(write_failure, [&] {
    os::NewFile file(folder_, name + own_name_ending, os::NewFile::Mode::read_only);
    progress.report(0, source.size());
    Contents contents =
        read_through(source, read_failure, [&](std::string_view block, std::int64_t done) {
          file.write(block);
          progress.report(done, source.size());
        });
    if (!is_temporary_) {
      file.sync();
    }
    file.publish(path_of(name));
    if (!is_temporary_) {
      os::sync_folder(folder_);
    }
    contents.name = name;
    return contents;
  });
}

void Vault::take_out(const Contents& contents, const std::string& path,
                     const Progress& progress) const {
  if (path.empty()) {
    refuse(FILE_cannot_open, "the path is empty");
  }
  const Meaning damage{FILE_damaged, "its contents " + contents.name + " cannot be read"};
  const os::SourceFile source = with_meaning(damage, [&] {
    return os::SourceFile(path_of(contents.name), os::SourceFile::Links::refused);
  });
  if (!source.is_regular()) {
    refuse(FILE_damaged, "its contents " + contents.name + " are no file");
  }
  if (is_taken(path)) {
    refuse(FILE_exists, path);  // before much is copied for nothing; publishing asks again
  }
  std::optional<os::NewFile> file;
  with_meaning({FILE_cannot_open, path}, [&] {
    file.emplace(parent_folder(path), ".export-" + random_name(), os::NewFile::Mode::usual);
  });
  with_meaning({FILE_cannot_write, path}, [&] {
    progress.report(0, contents.size);
    const Contents found =
        read_through(source, damage, [&](std::string_view block, std::int64_t done) {
          if (done > contents.size) {
            refuse(FILE_damaged, "its contents " + contents.name +
                                     " are not what was imported: more than " +
                                     std::to_string(contents.size) + " bytes");
          }
          file->write(block);
          progress.report(done, contents.size);
        });
    if (found.size != contents.size || found.digest != contents.digest) {
      refuse(FILE_damaged, "its contents " + contents.name + " are not what was imported: " +
                               std::to_string(found.size) + " bytes of " +
                               std::to_string(contents.size) + ", digest " + found.digest);
    }
    publish(*file, path);
  });
}

void Vault::remove_unclaimed(Store& store, const std::vector<std::string>& names) const {
  for (const std::string& name : names) {
    if (is_random_name(name) && store.find_one("VeloFile", {{"contents", name}}) == NULLTAG) {
      std::error_code ignored;
      std::filesystem::remove(utf8_path(path_of(name)), ignored);
      std::filesystem::remove(utf8_path(path_of(name) + own_name_ending), ignored);
    }
  }
}

void Vault::settle(Store& store) {
  if (announced_.empty()) {
    return;
  }
  remove_unclaimed(store, announced_);
  announced_.clear();
}

void Vault::sweep(Store& store) const {
  for (const std::string& process : presence_.left_behind()) {
    remove_unclaimed(store, presence_.notes_of(process));
    presence_.forget(process);
  }
}

}  // namespace host
