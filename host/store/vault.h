/**
 * @file
 * The vault: the contents of files, in a folder beside the site's file. Which contents belong to
 * which file, the store says (class VeloFile).
 *
 *   <site>.vault/<32 hexadecimal digits>     contents; the name is random
 *
 * Contents come before the file that has them is saved, and go after it is deleted. What a process
 * has under way stands in its own file (presence.h) before it begins; when the session ends, or by
 * the next process that opens the site after it was killed, whatever no saved file has is removed.
 * So nothing is left over, and nothing is taken from a process that is still at work.
 *
 * A site that keeps nothing has a temporary folder, made at the first import. One that a process
 * has left behind goes when the next one makes its own.
 */
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "held_file.h"
#include "ork/file.h"
#include "os_file.h"
#include "store.h"

namespace host {

/** The function that copies report to, and that may end them. */
struct Progress {
  FILE_progress function = nullptr;
  void* context = nullptr;

  /** Reports; refuses with FILE_cancelled when the function wants no more. */
  void report(std::int64_t done, std::int64_t total) const;
};

struct Contents {
  std::string name; /**< in the vault */
  std::int64_t size = 0;
  std::string digest; /**< SHA-256 in hexadecimal digits */
};

/** Size and digest of a file in the file system. */
Contents read_contents(const std::string& path);

class Vault {
 public:
  Vault(const std::string& site_path, Presence& presence);
  ~Vault();
  Vault(const Vault&) = delete;
  Vault& operator=(const Vault&) = delete;

  /** Its folder, which need not be there; empty until a temporary one is made. */
  const std::string& folder() const { return folder_; }

  /** Copies a file into the vault. */
  Contents bring_in(Store& store, const std::string& path, const Progress& progress);

  /** Copies contents to a path where nothing may be, and checks them on the way. */
  void take_out(const Contents& contents, const std::string& path, const Progress& progress) const;

  /** Marks contents as this process's business, before the file that has them is deleted. */
  void announce(const std::string& name);

  /** Removes contents that no saved file has. */
  void remove_unclaimed(Store& store, const std::vector<std::string>& names) const;

  /** Removes what this process has announced and no saved file has. */
  void settle(Store& store);

  /** Removes what processes that have ended had announced and no saved file has. */
  void sweep(Store& store) const;

 private:
  void make_folder();
  void make_temporary_folder();
  void forget_claimed(Store& store);
  std::string path_of(const std::string& name) const;

  Presence& presence_;
  bool is_temporary_;
  unsigned maker_ = 0; /**< of a temporary folder: the half of the fork that removes it */
  std::string site_path_;
  std::string folder_;                 /**< empty until a temporary one is made */
  std::unique_ptr<os::HeldFile> held_; /**< in a temporary one: whose it is */
  std::vector<std::string> announced_;
  std::size_t most_announced_ = 0; /**< how many there may be until those that are saved go */
};

}  // namespace host
