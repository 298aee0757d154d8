#include "writer_note.h"

#include <algorithm>
#include <exception>
#include <filesystem>
#include <fstream>

#include "dates.h"
#include "held_file.h"
#include "os.h"
#include "process_id.h"
#include "utf8_path.h"

namespace host {

namespace {

constexpr const char* mark = "writes: ";

/** How much is read of a file that others have written. */
constexpr std::size_t longest_note = 300;

std::string system_user() {
  for (const char* variable : {"USER", "USERNAME", "LOGNAME"}) {
    if (const std::string name = os::environment(variable); !name.empty()) {
      return name;
    }
  }
  return "(unknown)";
}

std::string program_name() {
  const std::vector<std::string> arguments = os::command_line();
  return arguments.empty() ? "" : utf8_path(arguments.front()).stem().string();
}

std::string this_process() {
  return "process " + std::to_string(os::process_id()) + " (" + program_name() + ")";
}

std::string note_in(const std::filesystem::path& path) {
  std::ifstream file(path);
  std::string line(longest_note, '\0');
  file.read(line.data(), static_cast<std::streamsize>(line.size()));
  line.resize(static_cast<std::size_t>(file.gcount()));
  line.erase(std::min(line.size(), line.find('\n')));
  // It is shown on a terminal, and anybody may have written it.
  std::replace_if(
      line.begin(), line.end(), [](char c) { return static_cast<unsigned char>(c) < ' '; }, '?');
  return line.starts_with(mark) ? line.substr(std::string(mark).size()) : "";
}

}  // namespace

WriterNote::WriterNote(const std::string& site_path, const std::string& user)
    : presence_(site_path) {
  try {
    presence_.note(mark + this_process() + " of user " + (user.empty() ? system_user() : user) +
                   " on " + os::node_name() + ", since " + date_text(os::local_time()));
  } catch (const std::exception&) {
    // Others wait without knowing for whom.
  }
}

WriterNote::~WriterNote() {
  presence_.leave();
}

std::string writers_of(const std::string& site_path) {
  std::string writers;
  std::error_code none;
  const std::string folder =
      std::filesystem::weakly_canonical(utf8_path(site_path), none).string() + ".processes";
  for (const auto& entry : std::filesystem::directory_iterator(utf8_path(folder), none)) {
    if (!std::filesystem::is_regular_file(entry.symlink_status(none)) ||
        !os::is_held(entry.path().string())) {
      continue;
    }
    const std::string note = note_in(entry.path());
    if (!note.empty() && !note.starts_with(this_process())) {
      writers += (writers.empty() ? "" : "; ") + note;
    }
  }
  return writers;
}

}  // namespace host
