// The next one needs it.
#include <windows.h>

#include <psapi.h>

#include <filesystem>
#include <stdexcept>
#include <utility>

#include "host/system/utf8_path.h"
#include "process.h"

namespace test {

namespace {

constexpr UINT code_of_the_killed = 0x6B696C6C;

HANDLE as_handle(std::intptr_t value) {
  return reinterpret_cast<HANDLE>(value);
}

std::intptr_t as_number(HANDLE handle) {
  return reinterpret_cast<std::intptr_t>(handle);
}

std::wstring wide(const std::string& text) {
  return host::utf8_path(text).wstring();
}

/** A word as the C runtime takes it off a command line again. */
std::wstring quoted(const std::wstring& word) {
  std::wstring result = L"\"";
  std::size_t backslashes = 0;
  for (const wchar_t letter : word) {
    // Backslashes count only in front of a quote.
    result.append(letter == L'"' ? backslashes + 1 : 0, L'\\');
    backslashes = letter == L'\\' ? backslashes + 1 : 0;
    result += letter;
  }
  return result.append(backslashes, L'\\') + L'"';
}

std::wstring command_line(const std::vector<std::string>& command) {
  std::wstring line;
  for (const std::string& word : command) {
    line += (line.empty() ? L"" : L" ") + quoted(wide(word));
  }
  return line;
}

std::wstring environment_block(const std::vector<std::string>& variables) {
  std::wstring block;
  for (const std::string& variable : variables) {
    block += wide(variable) + L'\0';
  }
  // The system's own libraries want to know where the system is.
  if (const wchar_t* const root = _wgetenv(L"SystemRoot")) {
    block += std::wstring(L"SystemRoot=") + root + L'\0';
  }
  return block + L'\0';
}

/** A handle that the program inherits. */
class Inherited {
 public:
  explicit Inherited(HANDLE handle) : handle_(handle) {
    SetHandleInformation(handle_, HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT);
  }
  Inherited(const std::string& file, DWORD access, DWORD disposition)
      : Inherited(CreateFileW(wide(file).c_str(), access,
                              FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                              disposition, FILE_ATTRIBUTE_NORMAL, nullptr)) {}
  ~Inherited() { CloseHandle(handle_); }
  Inherited(const Inherited&) = delete;
  Inherited& operator=(const Inherited&) = delete;

  HANDLE get() const { return handle_; }

 private:
  HANDLE handle_;
};

struct Pipe {
  Pipe() {
    if (CreatePipe(&reading, &writing, nullptr, 0) == 0) {
      throw std::runtime_error("no pipe");
    }
  }
  HANDLE reading = nullptr;
  HANDLE writing = nullptr;
};

}  // namespace

std::vector<std::string> own_environment() {
  std::vector<std::string> variables;
  wchar_t* const block = GetEnvironmentStringsW();
  for (const wchar_t* variable = block; *variable != L'\0'; variable += wcslen(variable) + 1) {
    variables.push_back(std::filesystem::path(variable).string());
  }
  FreeEnvironmentStringsW(block);
  return variables;
}

std::size_t peak_memory() {
  PROCESS_MEMORY_COUNTERS counters{};
  K32GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters);
  return counters.PeakWorkingSetSize;
}

Process::Process(const Launch& launch) {
  const Pipe input;
  const Pipe output;
  const bool has_pipes = launch.output.empty();
  const Inherited input_end(input.reading);
  const Inherited output_end(output.writing);
  const Inherited nothing("NUL", GENERIC_READ, OPEN_EXISTING);
  const Inherited output_file(has_pipes ? "NUL" : launch.output, GENERIC_WRITE,
                              has_pipes ? OPEN_EXISTING : CREATE_ALWAYS);
  const Inherited error_file(launch.error.empty() ? "NUL" : launch.error, FILE_APPEND_DATA,
                             launch.error.empty() ? OPEN_EXISTING : OPEN_ALWAYS);
  STARTUPINFOW start{};
  start.cb = sizeof start;
  start.dwFlags = STARTF_USESTDHANDLES;
  start.hStdInput = has_pipes ? input_end.get() : nothing.get();
  start.hStdOutput = has_pipes ? output_end.get() : output_file.get();
  start.hStdError = launch.error.empty() ? GetStdHandle(STD_ERROR_HANDLE) : error_file.get();

  std::wstring line = command_line(launch.command);
  std::wstring environment = environment_block(launch.environment);
  PROCESS_INFORMATION made{};
  const auto start_program = [&] {
    return CreateProcessW(wide(launch.command[0]).c_str(), line.data(), nullptr, nullptr, TRUE,
                          CREATE_UNICODE_ENVIRONMENT, environment.data(), nullptr, &start,
                          &made) != 0;
  };
  // Wine loses a new process now and then before it has begun, and calls that an internal error.
  bool has_started = start_program();
  for (int i = 0; i < 5 && !has_started && GetLastError() == ERROR_INTERNAL_ERROR; ++i) {
    has_started = start_program();
  }
  if (!has_started) {
    throw std::runtime_error("cannot start " + launch.command[0] + ": error " +
                             std::to_string(GetLastError()));
  }
  CloseHandle(made.hThread);
  id_ = made.dwProcessId;
  process_ = as_number(made.hProcess);
  input_ = as_number(input.writing);
  output_ = as_number(output.reading);
  if (!launch.has_reader) {
    CloseHandle(as_handle(std::exchange(output_, -1)));
  }
}

Process::~Process() {
  kill();
  close_input();
  if (output_ != -1) {
    CloseHandle(as_handle(output_));
  }
  CloseHandle(as_handle(process_));
}

bool Process::write(const std::string& text) {
  DWORD written = 0;
  return WriteFile(as_handle(input_), text.data(), static_cast<DWORD>(text.size()), &written,
                   nullptr) != 0;
}

void Process::close_input() {
  if (input_ != -1) {
    CloseHandle(as_handle(input_));
  }
  input_ = -1;
}

bool Process::read(char& character) {
  DWORD count = 0;
  return ReadFile(as_handle(output_), &character, 1, &count, nullptr) != 0 && count == 1;
}

void Process::kill() {
  TerminateProcess(as_handle(process_), code_of_the_killed);
  WaitForSingleObject(as_handle(process_), INFINITE);
}

void Process::interrupt() {
  kill();
}

int Process::wait() {
  WaitForSingleObject(as_handle(process_), INFINITE);
  DWORD code = 0;
  GetExitCodeProcess(as_handle(process_), &code);
  return code == code_of_the_killed ? killed : static_cast<int>(code);
}

}  // namespace test
