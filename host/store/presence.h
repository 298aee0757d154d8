/**
 * @file
 * Who uses a site: each process that locks objects or has imports under way has a file of its own,
 * on which it holds a lock for as long as it lives (held_file.h).
 *
 *   <site>.processes/<32 hexadecimal digits>   a process; the name is random. Lines name the
 *                                              contents in the vault that it has under way
 *
 * What a process has, it has under the file's name. When the system says that nobody holds the file
 * any more, whatever stands under its name is free.
 */
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "held_file.h"

namespace host {

class Presence {
 public:
  /** @param[in] site_path ":memory:" for a site that no other process sees: it needs no file. */
  explicit Presence(const std::string& site_path);

  Presence(const Presence&) = delete;
  Presence& operator=(const Presence&) = delete;

  /** The name of this process, which has a file from now on. */
  const std::string& name();

  /** The same, empty while there is no file; then nothing stands under it either. */
  const std::string& name_so_far() const { return name_; }

  /** Whether a name is that of a process that lives. */
  bool lives(const std::string& name) const;

  /** Writes the name of contents into this process's file. */
  void note(const std::string& name_of_contents);

  /** Takes all names out of that file but some of those that stand in it, in their order. */
  void keep_notes(const std::vector<std::string>& names);

  /**
   * Gives the name up, and with it all that stands under it. Without this the file is left behind,
   * with its lines, when the process ends.
   */
  void leave();

  /** Names of processes that have ended and left their files. */
  std::vector<std::string> left_behind() const;

  /** The lines of such a file. */
  std::vector<std::string> notes_of(const std::string& name) const;

  /** Removes the file of a process that has ended. */
  void forget(const std::string& name) const;

 private:
  std::string path_of(const std::string& name) const { return folder_ + "/" + name; }

  std::string site_path_;
  std::string folder_; /**< empty for a site in memory */
  std::string name_;
  std::unique_ptr<os::HeldFile> file_;
  std::size_t notes_size_ = 0; /**< bytes of the file that count */
};

}  // namespace host
