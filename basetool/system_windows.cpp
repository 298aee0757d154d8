#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <array>
#include <cstdint>
#include <utility>

#include "windows_types.h"

namespace basetool {

const char* environment(const char* variable) {
  const WidePath name(variable);
  const DWORD wide_size = GetEnvironmentVariableW(name.text.data(), nullptr, 0);
  if (wide_size == 0) {
    return nullptr;
  }
  // The values are kept for the life of the process; each is asked for once.
  const size_t most_bytes = 3 * size_t{wide_size};
  auto* wide = static_cast<wchar_t*>(malloc(wide_size * sizeof(wchar_t)));
  auto* value = static_cast<char*>(malloc(most_bytes));
  if (value != nullptr) {
    value[0] = '\0';
  }
  if (wide != nullptr && value != nullptr) {
    GetEnvironmentVariableW(name.text.data(), wide, wide_size);
    WideCharToMultiByte(CP_UTF8, 0, wide, -1, value, static_cast<int>(most_bytes), nullptr,
                        nullptr);
  }
  free(wide);
  return value;
}

unsigned long process_id() {
  return GetCurrentProcessId();
}

size_t missing_part(const char* name, const char* folder) {
  const auto is_separator = [](char character) { return character == '\\' || character == '/'; };
  if (is_separator(name[0])) {
    const bool lacks_drive = !is_separator(name[1]);  // unlike a share or a device
    return lacks_drive && folder[0] != '\0' && folder[1] == ':' ? 2 : 0;
  }
  return name[0] != '\0' && name[1] == ':' ? 0 : strlen(folder);
}

bool current_folder(char* path, size_t size) {
  std::array<wchar_t, 4200> wide;
  const DWORD length = GetCurrentDirectoryW(static_cast<DWORD>(wide.size()), wide.data());
  if (length == 0 || length >= wide.size() ||
      WideCharToMultiByte(CP_UTF8, 0, wide.data(), -1, path, static_cast<int>(size - 1), nullptr,
                          nullptr) == 0) {
    return false;
  }
  strcat(path, "\\");
  return true;
}

uint64_t wall_nanoseconds() {
  constexpr uint64_t ticks_until_1970 = 116'444'736'000'000'000;
  FILETIME time;
  GetSystemTimePreciseAsFileTime(&time);
  const uint64_t ticks = uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
  return (ticks - ticks_until_1970) * 100;
}

bool read_local_time(int64_t seconds, std::tm& parts) {
  const __time64_t time = seconds;
  return _localtime64_s(&parts, &time) == 0;
}

void call_at_end_of_main(void (*function)()) {
  // A library's own `atexit` waits until the system unloads the library. The program's functions
  // are known to its C runtime, which is one of these.
  using Function = int (*)();
  static void (*registered)() = nullptr;
  if (registered != nullptr) {
    return;
  }
  registered = function;
  HMODULE kept = nullptr;
  GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_PIN,
                     reinterpret_cast<const char*>(&call_at_end_of_main), &kept);
  const Function call = [] {
    registered();
    return 0;
  };
  for (const auto& [runtime, name] :
       {std::pair{"ucrtbase.dll", "_crt_atexit"}, std::pair{"msvcrt.dll", "_onexit"}}) {
    HMODULE module = GetModuleHandleA(runtime);
    FARPROC found = module != nullptr ? GetProcAddress(module, name) : nullptr;
    if (found != nullptr) {
      reinterpret_cast<void* (*)(Function)>(reinterpret_cast<void*>(found))(call);
    }
  }
}

void call_around_forks(void (*)(), void (*)(), void (*)()) {
  // There are no forks here.
}

uint64_t thread_id() {
  return GetCurrentThreadId();
}

namespace {

void (*call_at_end_of_thread)(void*) = nullptr;

// What the compiler keeps for a thread is gone before the thread's end can be told.
DWORD slot_of_thread() {
  static const DWORD slot = FlsAlloc([](void* memory) {
    if (memory != nullptr) {
      call_at_end_of_thread(memory);
      free(memory);
    }
  });
  return slot;
}

}  // namespace

void* thread_memory(size_t size, void (*at_end)(void*)) {
  call_at_end_of_thread = at_end;
  void* memory = FlsGetValue(slot_of_thread());
  if (memory == nullptr) {
    memory = calloc(1, size);
    FlsSetValue(slot_of_thread(), memory);
  }
  return memory;
}

bool has_thread_memory() {
  return FlsGetValue(slot_of_thread()) != nullptr;
}

bool is_initial_thread() {
  return false;
}

void read_program_name(char* name, size_t size) {
  std::array<wchar_t, 4200> wide;
  std::array<char, 3 * 4200> path;
  path[0] = '\0';
  if (GetModuleFileNameW(nullptr, wide.data(), static_cast<DWORD>(wide.size())) > 0) {
    WideCharToMultiByte(CP_UTF8, 0, wide.data(), -1, path.data(), static_cast<int>(path.size()),
                        nullptr, nullptr);
  }
  snprintf(name, size, "%s", path.data());
}

uint64_t elapsed_nanoseconds() {
  static const uint64_t frequency = [] {
    LARGE_INTEGER result;
    QueryPerformanceFrequency(&result);
    return static_cast<uint64_t>(result.QuadPart);
  }();
  constexpr uint64_t second = 1'000'000'000;
  LARGE_INTEGER now;
  QueryPerformanceCounter(&now);
  const auto ticks = static_cast<uint64_t>(now.QuadPart);
  return ticks / frequency * second + ticks % frequency * second / frequency;
}

static_assert(sizeof(SRWLOCK) == sizeof(void*));

void Mutex::lock() {
  AcquireSRWLockExclusive(reinterpret_cast<SRWLOCK*>(&lock_));
}

void Mutex::unlock() {
  ReleaseSRWLockExclusive(reinterpret_cast<SRWLOCK*>(&lock_));
}

bool Mutex::is_abandoned() {
  constexpr int patience = 1000;
  for (int i = 0; i < patience; ++i) {
    if (TryAcquireSRWLockExclusive(reinterpret_cast<SRWLOCK*>(&lock_)) != 0) {
      unlock();
      return false;
    }
    yield_processor();
  }
  return true;
}

void Mutex::reset() {
  lock_ = nullptr;
}

void yield_processor() {
  SwitchToThread();
}

bool share_barriers() {
  // Wine has the function that issues them, but in some versions that does nothing.
  HMODULE system = GetModuleHandleA("ntdll.dll");
  return system != nullptr && GetProcAddress(system, "wine_get_version") == nullptr;
}

void issue_barriers() {
  FlushProcessWriteBuffers();
}

ErrorKeeper::ErrorKeeper() : kept_errno_(errno), kept_last_error_(GetLastError()) {}
ErrorKeeper::~ErrorKeeper() {
  errno = kept_errno_;
  SetLastError(kept_last_error_);
}

int system_error() {
  return static_cast<int>(GetLastError());
}

const char* text_of_error(int code) {
  static std::array<char, 256> text;
  constexpr DWORD english = MAKELANGID(LANG_ENGLISH, SUBLANG_ENGLISH_US);
  DWORD size = FormatMessageA(
      FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_MAX_WIDTH_MASK,
      nullptr, static_cast<DWORD>(code), english, text.data(), static_cast<DWORD>(text.size()),
      nullptr);
  while (size > 0 && (text[size - 1] == ' ' || text[size - 1] == '.')) {
    text[--size] = '\0';
  }
  if (size == 0) {
    snprintf(text.data(), text.size(), "error %d", code);
  }
  return text.data();
}

}  // namespace basetool
