#include <windows.h>
// It needs the types of windows.h.
#include <psapi.h>
// These need the types of windows.h.
#include <bcrypt.h>
#include <shellapi.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <system_error>

#include "os.h"
#include "process_id.h"
#include "utf8_path.h"

namespace host::os {

namespace {

std::string utf8(const wchar_t* text) {
  return std::filesystem::path(text).string();
}

std::wstring wide(const std::string& text) {
  return utf8_path(text).wstring();
}

}  // namespace

unsigned forks() {
  return 0;
}

std::uint64_t process_id() {
  return GetCurrentProcessId();
}

std::string node_name() {
  wchar_t name[256] = L"";
  DWORD size = 256;
  if (GetComputerNameExW(ComputerNameDnsHostname, name, &size) == 0) {
    return "unknown";
  }
  return utf8(name);
}

std::vector<std::string> command_line() {
  int count = 0;
  wchar_t** const words = CommandLineToArgvW(GetCommandLineW(), &count);
  std::vector<std::string> arguments;
  for (int i = 0; words != nullptr && i < count; ++i) {
    arguments.push_back(utf8(words[i]));
  }
  LocalFree(words);
  return arguments;
}

void sleep_milliseconds(int milliseconds) {
  Sleep(static_cast<DWORD>(milliseconds));
}

void* symbol_of_library(const std::string& path, const char* symbol, std::string* error) {
  // The library finds those that it needs beside itself.
  const std::filesystem::path whole_path =
      std::filesystem::absolute(utf8_path(path)).make_preferred();
  const HMODULE library =
      LoadLibraryExW(whole_path.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
  const FARPROC found = library != nullptr ? GetProcAddress(library, symbol) : nullptr;
  if (found == nullptr) {
    *error = whole_path.string() + ", " + symbol + ": " +
             std::error_code(static_cast<int>(GetLastError()), std::system_category()).message();
  }
  return reinterpret_cast<void*>(found);
}

void* symbol_of_process(const char* symbol) noexcept {
  HMODULE modules[256];
  DWORD bytes = 0;
  if (K32EnumProcessModules(GetCurrentProcess(), modules, sizeof modules, &bytes) == 0) {
    return nullptr;
  }
  const std::size_t count = std::min<std::size_t>(bytes, sizeof modules) / sizeof *modules;
  for (std::size_t i = 0; i < count; ++i) {
    if (const FARPROC found = GetProcAddress(modules[i], symbol)) {
      return reinterpret_cast<void*>(found);
    }
  }
  return nullptr;
}

date_s local_time() {
  SYSTEMTIME now;
  GetLocalTime(&now);
  return {static_cast<std::int16_t>(now.wYear),   static_cast<std::uint8_t>(now.wMonth - 1),
          static_cast<std::uint8_t>(now.wDay),    static_cast<std::uint8_t>(now.wHour),
          static_cast<std::uint8_t>(now.wMinute), static_cast<std::uint8_t>(now.wSecond)};
}

std::string environment(const char* variable) {
  const wchar_t* const value = _wgetenv(wide(variable).c_str());
  return value != nullptr ? utf8(value) : "";
}

void make_random(std::span<unsigned char> bytes) {
  if (BCryptGenRandom(nullptr, bytes.data(), static_cast<ULONG>(bytes.size()),
                      BCRYPT_USE_SYSTEM_PREFERRED_RNG) < 0) {
    throw std::system_error(std::make_error_code(std::errc::io_error));
  }
}

std::FILE* open_file(const std::string& path, const char* mode) {
  return _wfopen(wide(path).c_str(), wide(mode).c_str());
}

}  // namespace host::os
