#include <fcntl.h>
#include <io.h>
#include <stdio.h>
// The next one needs it.
#include <windows.h>

#include <shlwapi.h>

#include <cerrno>

#include "os.h"
#include "utf8_path.h"

namespace tool::os {

namespace {

constexpr int standard_output = 1;
constexpr int standard_error = 2;

volatile LONG interruptions = 0;

BOOL WINAPI note_interruption(DWORD) {
  // The system asks in a thread of its own; the second time it may do as it likes.
  return InterlockedIncrement(&interruptions) == 1 ? TRUE : FALSE;
}

}  // namespace

void prepare_terminal() {
  SetConsoleOutputCP(CP_UTF8);
}

bool is_error_on_terminal() {
  return _isatty(standard_error) != 0;
}

bool is_accessible(const std::string& path) {
  constexpr int read_and_write = 6;
  return _waccess(host::utf8_path(path).c_str(), read_and_write) == 0;
}

bool fits_file_template(const std::string& name, const std::string& file_template) {
  return PathMatchSpecW(host::utf8_path(name).c_str(), host::utf8_path(file_template).c_str()) !=
         FALSE;
}

void set_variable(const char* name, const std::string& value) {
  _putenv_s(name, value.c_str());
}

std::filesystem::path make_work_folder(const std::filesystem::path& parent) {
  const std::string name = ".zolp-" + std::to_string(GetCurrentProcessId()) + "-";
  for (int i = 0; i < 1000; ++i) {
    const std::filesystem::path path = parent / (name + std::to_string(i));
    if (CreateDirectoryW(path.c_str(), nullptr) != 0) {
      return path;
    }
    if (GetLastError() != ERROR_ALREADY_EXISTS) {
      break;
    }
  }
  errno = EACCES;
  return {};
}

void watch_for_interruption() {
  static const BOOL is_watching = SetConsoleCtrlHandler(note_interruption, TRUE);
  static_cast<void>(is_watching);
}

bool was_interrupted() {
  return interruptions != 0;
}

int redirect_standard_output(Redirection where) {
  fflush(stdout);
  const int earlier = _dup(standard_output);
  if (where == Redirection::to_standard_error) {
    _dup2(standard_error, standard_output);
  } else if (const int nowhere = _open("NUL", _O_WRONLY); nowhere >= 0) {
    _dup2(nowhere, standard_output);
    _close(nowhere);
  }
  return earlier;
}

void restore_standard_output(int earlier) {
  fflush(stdout);
  if (earlier < 0) {
    return;
  }
  _dup2(earlier, standard_output);
  _close(earlier);
}

}  // namespace tool::os
