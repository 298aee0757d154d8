#include <direct.h>
#include <fcntl.h>
#include <io.h>
#include <process.h>
#include <stdio.h>
// The next one needs it.
#include <windows.h>

#include <shlwapi.h>

#include <algorithm>
#include <cerrno>
#include <string_view>

#include "os.h"
#include "utf8_path.h"

namespace tool::os {

namespace {

constexpr int standard_input = 0;
constexpr int standard_output = 1;
constexpr int standard_error = 2;

volatile LONG interruptions = 0;

BOOL WINAPI note_interruption(DWORD) {
  // The system asks in a thread of its own; the second time it may do as it likes.
  return InterlockedIncrement(&interruptions) == 1 ? TRUE : FALSE;
}

}  // namespace

void prepare_process() {
  SetConsoleOutputCP(CP_UTF8);
}

bool is_error_on_terminal() {
  return _isatty(standard_error) != 0;
}

bool is_input_on_terminal() {
  return _isatty(standard_input) != 0;
}

void pass_bytes_unchanged(std::FILE* stream) {
  _setmode(_fileno(stream), _O_BINARY);
}

bool is_output_on_terminal() {
  return _isatty(standard_output) != 0;
}

OutputProgram start_pager(const std::string& command) {
  fflush(stdout);
  OutputProgram pager;
  pager.pipe = _popen(command.empty() ? "more" : command.c_str(), "w");
  if (pager.pipe != nullptr) {
    pager.earlier_output = _dup(standard_output);
    _dup2(_fileno(pager.pipe), standard_output);
    // An interruption is the pager's: it stays, and so must what feeds it.
    SetConsoleCtrlHandler(nullptr, TRUE);
  }
  return pager;
}

void end_pager(const OutputProgram& pager) {
  if (pager.pipe != nullptr) {
    restore_standard_output(pager.earlier_output);
    _pclose(pager.pipe);
    SetConsoleCtrlHandler(nullptr, FALSE);
  }
}

void pause_milliseconds(int milliseconds) {
  Sleep(static_cast<DWORD>(milliseconds));
}

bool is_accessible(const std::string& path) {
  constexpr int read_and_write = 6;
  return _waccess(host::utf8_path(path).c_str(), read_and_write) == 0;
}

bool fits_file_template(const std::string& name, const std::string& file_template) {
  return PathMatchSpecW(host::utf8_path(name).c_str(), host::utf8_path(file_template).c_str()) !=
         FALSE;
}

bool is_file_name(const std::string& name) {
  static constexpr std::string_view forbidden = "<>:\"|?*";
  if (name.find_first_of(forbidden) != std::string::npos || name.ends_with('.') ||
      name.ends_with(' ')) {
    return false;
  }
  // Devices have these names in every folder, with whatever ending.
  const std::wstring wide = host::utf8_path(name).wstring();
  std::wstring device = wide.substr(0, wide.find(L'.'));
  device.erase(device.find_last_not_of(L' ') + 1);
  const bool has_number =
      device.size() == 4 &&
      std::wstring_view(L"0123456789\u00b9\u00b2\u00b3").find(device[3]) != std::wstring::npos;
  const std::wstring kind = has_number ? device.substr(0, 3) : device;
  const auto is = [&kind](const wchar_t* other) { return _wcsicmp(kind.c_str(), other) == 0; };
  return has_number ? !is(L"COM") && !is(L"LPT")
                    : !is(L"CON") && !is(L"PRN") && !is(L"AUX") && !is(L"NUL") && !is(L"CONIN$") &&
                          !is(L"CONOUT$");
}

bool make_private_folder(const std::filesystem::path& path) {
  errno = 0;
  return _wmkdir(path.c_str()) == 0;
}

bool move_without_replacing(const std::filesystem::path& from, const std::filesystem::path& to) {
  if (MoveFileExW(from.c_str(), to.c_str(), MOVEFILE_WRITE_THROUGH) != 0) {
    return true;
  }
  const DWORD error = GetLastError();
  const bool is_there = error == ERROR_ALREADY_EXISTS || error == ERROR_FILE_EXISTS ||
                        (error == ERROR_ACCESS_DENIED && std::filesystem::exists(to));
  errno = is_there ? EEXIST : EACCES;
  return false;
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

// Ctrl-C ends what is read from a console by itself; what is read from a pipe ends with its writer,
// who gets the Ctrl-C as well.
InterruptibleReads::InterruptibleReads() = default;
InterruptibleReads::~InterruptibleReads() = default;

bool was_interrupted() {
  return interruptions != 0;
}

void end_as_interrupted() {
  fflush(stdout);
  ExitProcess(STATUS_CONTROL_C_EXIT);
}

std::optional<std::string> ask_secretly(const std::string& question) {
  const HANDLE console = CreateFileW(L"CONIN$", GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ,
                                     nullptr, OPEN_EXISTING, 0, nullptr);
  DWORD earlier = 0;
  if (console == INVALID_HANDLE_VALUE || GetConsoleMode(console, &earlier) == 0) {
    return std::nullopt;
  }
  SetConsoleMode(console, earlier & ~static_cast<DWORD>(ENABLE_ECHO_INPUT));
  fputs(question.c_str(), stderr);
  wchar_t typed[256];
  DWORD count = 0;
  const bool is_read = ReadConsoleW(console, typed, 255, &count, nullptr) != 0;
  SetConsoleMode(console, earlier);
  CloseHandle(console);
  fputs("\n", stderr);
  std::wstring answer(typed, is_read ? count : 0);
  answer.erase(std::min(answer.find_first_of(L"\r\n"), answer.size()));
  return std::filesystem::path(answer).string();
}

bool run_program(const std::string& name, const std::vector<std::string>& arguments) {
  // The system joins arguments to one text; those of ours hold no quotes.
  const std::wstring program = host::utf8_path(name).wstring();
  std::vector<std::wstring> quoted{program};
  for (const std::string& argument : arguments) {
    quoted.push_back(L'"' + host::utf8_path(argument).wstring() + L'"');
  }
  std::vector<const wchar_t*> texts;
  for (const std::wstring& text : quoted) {
    texts.push_back(text.c_str());
  }
  texts.push_back(nullptr);
  return _wspawnvp(_P_WAIT, program.c_str(), texts.data()) == 0;
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
