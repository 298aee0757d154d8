/** @file Files as the vault needs them. Failures are thrown as std::system_error. */
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace host::os {

class FileDescriptor {
 public:
  /** Takes a descriptor; a negative one is thrown as the error that `errno` says. */
  explicit FileDescriptor(int number);
  ~FileDescriptor();
  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;

  int number() const { return number_; }

  /** Writes all of a text. */
  void write(std::string_view data) const;

  /** Closes it and tells what the system has kept back until now. */
  void close();

 private:
  int number_;
};

/** A file to read from its start to its end. Opening one never waits, whatever the path names. */
class SourceFile {
 public:
  enum class Links { followed, refused };

  explicit SourceFile(const std::string& path, Links links = Links::followed);

  /** Whether it is a file with contents, and no folder, pipe or device. */
  bool is_regular() const { return is_regular_; }

  /** Its size when it was opened. */
  std::int64_t size() const { return size_; }

  /** Reads up to a number of bytes and returns how many they are: 0 at the end. */
  std::size_t read(char* buffer, std::size_t size) const;

 private:
  FileDescriptor file_;
  bool is_regular_ = false;
  std::int64_t size_ = 0;
};

/**
 * A file that appears under its name once it is complete, and not at all otherwise. Until then it
 * has no name, where the file system can do that, or else one of its own in the same folder.
 */
class NewFile {
 public:
  enum class Mode : unsigned { usual = 0666, read_only = 0444 };

  /** @param[in] own_name name for file systems that want one. */
  NewFile(const std::string& folder, const std::string& own_name, Mode mode);
  ~NewFile();
  NewFile(const NewFile&) = delete;
  NewFile& operator=(const NewFile&) = delete;

  void write(std::string_view data) const { file_.write(data); }

  /** Waits until the contents are on the disk. */
  void sync() const;

  /** Gives it its name, in the same folder; an existing file is refused with EEXIST. */
  void publish(const std::string& path);

 private:
  std::string own_path_; /**< empty for a file without a name */
  FileDescriptor file_;
};

/** Makes an empty file that its owner alone can read and write, if nothing is there. */
void make_private_file(const std::string& path);

/** A file to whose end lines are added; it is made when it does not exist. */
FileDescriptor open_for_appending(const std::string& path);

/**
 * Makes a file with another one's contents that takes no room of its own as long as neither is
 * changed, where the file system can do that. @return false otherwise; then nothing is made.
 */
bool clone_file(const std::string& from, const std::string& to) noexcept;

/** Whether another process has a SQLite file open, be it damaged. This one must not have it. */
bool is_database_in_use(const std::string& path) noexcept;

/** Waits until the names in a folder are on the disk. */
void sync_folder(const std::string& folder);

/** What names of temporary folders begin with. */
inline constexpr const char* temporary_folder_prefix = "ork-vault-";

/** A new folder for this process alone. */
std::string make_temporary_folder();

}  // namespace host::os
