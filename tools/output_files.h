/** @file Output that is either there as a whole or not at all. */
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "utf8_path.h"

namespace tool {

/** The system's folder for temporary files; an Error is thrown where there is none. */
std::filesystem::path temporary_folder();

/** The folder that a file is in, as a path that can be used. */
std::filesystem::path folder_of(const std::filesystem::path& file);

/** A folder with a name of its own, removed with its contents at the end. */
class WorkFolder {
 public:
  /** @param parent the folder to make it in; an Error is thrown when that is not possible. */
  explicit WorkFolder(const std::filesystem::path& parent);
  ~WorkFolder();
  WorkFolder(const WorkFolder&) = delete;
  WorkFolder& operator=(const WorkFolder&) = delete;

  const std::filesystem::path& path() const { return path_; }
  std::string file(const std::string& name) const {
    return (path_ / host::utf8_path(name)).string();
  }

 private:
  std::filesystem::path path_;
};

/**
 * Files that are written beside their target under other names, and take their places together once
 * all are complete. Until then, and when anything fails, earlier files of the same names stay.
 */
class OutputFiles {
 public:
  /** @param folder the target folder; an Error is thrown when it is missing or not writable. */
  explicit OutputFiles(const std::filesystem::path& folder) : target_(folder), work_(folder) {}

  /** Adds a file. @return the path to write it to. */
  std::string add(const std::string& name);

  /** Puts all files into their places. Throws an Error, with all places as before, on failure. */
  void publish();

 private:
  void keep_earlier_file(const std::string& name) const;

  std::filesystem::path target_;
  WorkFolder work_;
  std::vector<std::string> names_;
};

/** One such file, under the name that a user has given. */
class OutputFile {
 public:
  /**
   * @param given a file, which is made or replaced, or a symbolic link, which stays: what it leads
   *              to is written. An Error is thrown for anything else.
   */
  explicit OutputFile(const std::string& given);

  /** The path to write it to. */
  const std::string& path() const { return path_; }

  /** Puts it into its place. Throws an Error, with the place as before, on failure. */
  void publish() { files_.publish(); }

 private:
  explicit OutputFile(const std::filesystem::path& target);

  OutputFiles files_;
  std::string path_;
};

/** Files that are removed again unless all of them are there. */
class NewFiles {
 public:
  NewFiles() = default;
  NewFiles(const NewFiles&) = delete;
  NewFiles& operator=(const NewFiles&) = delete;
  ~NewFiles();

  const std::vector<std::filesystem::path>& paths() const { return paths_; }
  void add(const std::filesystem::path& path) { paths_.push_back(path); }
  void keep() { paths_.clear(); }

 private:
  std::vector<std::filesystem::path> paths_;
};

/**
 * Lets signals that ask the program to end take effect at the next `stop_if_interrupted`; a second
 * one ends it at once. A work folder does so too.
 */
void watch_for_interruption();

bool is_interrupted();

/** Throws an Error when the user has interrupted the program. */
void stop_if_interrupted();

}  // namespace tool
