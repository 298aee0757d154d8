#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <windows.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <utility>

#include "system.h"

namespace basetool {

// Never set: the system refuses to shorten a file over which a window lies.
volatile std::sig_atomic_t window_lost = 0;
volatile std::sig_atomic_t recording_lost = 0;

namespace {

// The file grows by 256 KiB, to a multiple of that, and the window ends where the file ends: the
// system does not lay one over more. A full disk is noticed when the line feeds are written.
constexpr uint64_t growth_step = 256 * 1024;

constexpr size_t fill_size = 64 * 1024;
constexpr std::array<char, fill_size> fill = [] {
  std::array<char, fill_size> line_feeds{};
  line_feeds.fill('\n');
  return line_feeds;
}();

// The window. There is one in a process.
char* window_begin = nullptr;
uint64_t window_size = 0;
uint64_t window_offset = 0;  // the byte of the file that stands at its begin

HANDLE as_handle(Descriptor descriptor) {
  return reinterpret_cast<HANDLE>(descriptor);
}

Descriptor as_descriptor(HANDLE handle) {
  return reinterpret_cast<Descriptor>(handle);
}

/** A path in the form in which the system takes names of all languages; empty when too long. */
struct WidePath {
  explicit WidePath(const char* path) {
    const int size = static_cast<int>(text.size());
    // What is no UTF-8 comes from a program that uses the system's older encodings.
    if (MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, path, -1, text.data(), size) == 0 &&
        MultiByteToWideChar(CP_ACP, 0, path, -1, text.data(), size) == 0) {
      text[0] = L'\0';
    }
  }
  std::array<wchar_t, 4200> text;
};

/** Where the system is to write: an offset, or the end of the file. */
OVERLAPPED place(uint64_t offset) {
  OVERLAPPED result{};
  result.Offset = static_cast<DWORD>(offset);
  result.OffsetHigh = static_cast<DWORD>(offset >> 32);
  return result;
}
constexpr uint64_t end_of_file = UINT64_MAX;

uint64_t round_down(uint64_t number, uint64_t step) {
  return number / step * step;
}
uint64_t round_up(uint64_t number, uint64_t step) {
  return round_down(number + step - 1, step);
}

/** Windows begin at multiples of this. */
uint64_t window_step() {
  static const uint64_t step = [] {
    SYSTEM_INFO info;
    GetSystemInfo(&info);
    return uint64_t{info.dwAllocationGranularity};
  }();
  return step;
}

bool is_on_disk(HANDLE file) {
  return GetFileType(file) == FILE_TYPE_DISK;
}

/** Identity of the file that a path names. It may be open elsewhere, whatever for. */
bool read_state_at(const char* path, FileState& state) {
  constexpr DWORD shared_with_all = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
  HANDLE file = CreateFileW(WidePath(path).text.data(), FILE_READ_ATTRIBUTES, shared_with_all,
                            nullptr, OPEN_EXISTING, 0, nullptr);
  if (file == INVALID_HANDLE_VALUE) {
    return false;
  }
  const bool is_known = is_on_disk(file) && read_state(as_descriptor(file), state);
  CloseHandle(file);
  return is_known;
}

/** The standard stream that goes to the file at a path; null when none does. */
HANDLE stream_at(const char* path) {
  FileState there;
  if (!read_state_at(path, there)) {
    return nullptr;
  }
  for (const DWORD which : {STD_OUTPUT_HANDLE, STD_ERROR_HANDLE}) {
    FileState standard;
    HANDLE stream = GetStdHandle(which);
    if (is_on_disk(stream) && read_state(as_descriptor(stream), standard) &&
        standard.is_same_file(there)) {
      return stream;
    }
  }
  return nullptr;
}

/** Opens for writing. Others may read and rename the file meanwhile, but not write to it. */
HANDLE open_file(const char* path, Wanted wanted) {
  const WidePath wide_path(path);
  constexpr DWORD sharing = FILE_SHARE_READ | FILE_SHARE_DELETE;
  if (wanted == Wanted::old_file) {
    return CreateFileW(wide_path.text.data(), GENERIC_READ | GENERIC_WRITE, sharing, nullptr,
                       OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OPEN_REPARSE_POINT,
                       nullptr);
  }
  if (wanted == Wanted::new_file) {
    return CreateFileW(wide_path.text.data(), GENERIC_READ | GENERIC_WRITE, sharing, nullptr,
                       CREATE_NEW, FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OPEN_REPARSE_POINT, nullptr);
  }
  HANDLE file = CreateFileW(wide_path.text.data(), GENERIC_READ | GENERIC_WRITE, sharing, nullptr,
                            OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE && GetLastError() == ERROR_ACCESS_DENIED) {
    file = CreateFileW(wide_path.text.data(), GENERIC_WRITE, sharing, nullptr, OPEN_ALWAYS,
                       FILE_ATTRIBUTE_NORMAL, nullptr);
  }
  return file;
}

}  // namespace

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

bool remove_file(const char* path) {
  // A file that somebody has open keeps its name until that one closes it; so it gets another one.
  std::array<char, 4200> doomed;
  snprintf(doomed.data(), doomed.size(), "%s.%lu-%lu", path, process_id(), GetTickCount());
  return rename_file(path, doomed.data()) && DeleteFileW(WidePath(doomed.data()).text.data()) != 0;
}

bool rename_file(const char* path, const char* new_path) {
  return MoveFileExW(WidePath(path).text.data(), WidePath(new_path).text.data(),
                     MOVEFILE_REPLACE_EXISTING) != 0;
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

Opening open_for_appending(const char* path, Wanted wanted, OpenFile& opened) {
  HANDLE file = open_file(path, wanted);
  if (file == INVALID_HANDLE_VALUE) {
    if (wanted == Wanted::new_file) {
      return GetLastError() == ERROR_FILE_EXISTS ? Opening::taken : Opening::failed;
    }
    if (GetLastError() != ERROR_SHARING_VIOLATION) {
      return Opening::failed;
    }
    HANDLE stream = stream_at(path);
    if (stream == nullptr) {
      return Opening::taken;
    }
    // The program writes there too, at its own position: share it.
    opened = {.descriptor = as_descriptor(stream)};
    return Opening::done;
  }
  opened = {.descriptor = as_descriptor(file), .is_owned = true, .is_regular = is_on_disk(file)};
  if (opened.is_regular && !read_state(opened.descriptor, opened.state)) {
    const DWORD error = GetLastError();
    CloseHandle(file);
    SetLastError(error);
    return Opening::failed;
  }
  return Opening::done;
}

Descriptor standard_error() {
  return as_descriptor(GetStdHandle(STD_ERROR_HANDLE));
}

void close_file(Descriptor file) {
  CloseHandle(as_handle(file));
}

bool read_state(Descriptor file, FileState& state) {
  BY_HANDLE_FILE_INFORMATION information;
  if (GetFileInformationByHandle(as_handle(file), &information) == 0) {
    return false;
  }
  const auto join = [](DWORD high, DWORD low) { return uint64_t{high} << 32 | low; };
  state.device = information.dwVolumeSerialNumber;
  state.inode = join(information.nFileIndexHigh, information.nFileIndexLow);
  state.size = join(information.nFileSizeHigh, information.nFileSizeLow);
  return true;
}

bool leads_to(const char* path, const FileState& file) {
  FileState there;
  return read_state_at(path, there) && there.is_same_file(file);
}

bool read_at(Descriptor file, uint64_t offset, char* bytes, size_t size) {
  OVERLAPPED where = place(offset);
  DWORD count = 0;
  return ReadFile(as_handle(file), bytes, static_cast<DWORD>(size), &count, &where) != 0 &&
         count == size;
}

size_t append(const OpenFile& file, const char* text, size_t size) {
  constexpr size_t most_at_once = 1 << 30;
  size_t done = 0;
  while (done < size) {
    OVERLAPPED end = place(end_of_file);
    DWORD written = 0;
    const DWORD part = static_cast<DWORD>(std::min(size - done, most_at_once));
    if (WriteFile(as_handle(file.descriptor), text + done, part, &written,
                  file.is_regular ? &end : nullptr) == 0 ||
        written == 0) {
      break;
    }
    done += written;
  }
  return done;
}

uint64_t append_line_feeds(Descriptor file, uint64_t size, uint64_t needed) {
  const uint64_t wanted = round_up(needed, growth_step);
  while (size < wanted) {
    const size_t part = static_cast<size_t>(std::min<uint64_t>(wanted - size, fill.size()));
    const size_t written = append({.descriptor = file, .is_regular = true}, fill.data(), part);
    size += written;
    if (written < part) {
      break;
    }
  }
  return size;
}

bool cut_off(Descriptor file, uint64_t size) {
  take_window_away();  // no file is shortened below a window
  LARGE_INTEGER end;
  end.QuadPart = static_cast<LONGLONG>(size);
  return SetFilePointerEx(as_handle(file), end, nullptr, FILE_BEGIN) != 0 &&
         SetEndOfFile(as_handle(file)) != 0;
}

bool lay_window(Descriptor file, uint64_t from, uint64_t file_size) {
  take_window_away();
  HANDLE section = CreateFileMappingW(as_handle(file), nullptr, PAGE_READWRITE, 0, 0, nullptr);
  if (section == nullptr) {
    return false;
  }
  const uint64_t begin = round_down(from, window_step());
  const OVERLAPPED where = place(begin);
  void* view = MapViewOfFile(section, FILE_MAP_WRITE, where.OffsetHigh, where.Offset,
                             static_cast<SIZE_T>(file_size - begin));
  const DWORD error = GetLastError();
  CloseHandle(section);
  SetLastError(error);
  window_begin = static_cast<char*>(view);
  window_offset = begin;
  window_size = file_size - begin;
  return view != nullptr;
}

char* in_window(uint64_t from, uint64_t end) {
  const bool is_covered =
      window_begin != nullptr && from >= window_offset && end <= window_offset + window_size;
  return is_covered ? window_begin + (from - window_offset) : nullptr;
}

namespace {
char* recording_begin = nullptr;
}

bool allocate(Descriptor file, uint64_t size) {
  LARGE_INTEGER end;
  end.QuadPart = static_cast<LONGLONG>(size);
  return SetFilePointerEx(as_handle(file), end, nullptr, FILE_BEGIN) != 0 &&
         SetEndOfFile(as_handle(file)) != 0;
}

char* map_recording(Descriptor file, uint64_t size) {
  HANDLE section = CreateFileMappingW(as_handle(file), nullptr, PAGE_READWRITE, 0, 0, nullptr);
  if (section == nullptr) {
    return nullptr;
  }
  void* view = MapViewOfFile(section, FILE_MAP_WRITE, 0, 0, static_cast<SIZE_T>(size));
  const DWORD error = GetLastError();
  CloseHandle(section);
  SetLastError(error);
  recording_begin = static_cast<char*>(view);
  return recording_begin;
}

void provide_pages(const OpenFile&, uint64_t, uint64_t, size_t) {
  // One by one, when they are needed.
}

void abandon_recording() {
  recording_begin = nullptr;
}

void unmap_recording() {
  if (recording_begin != nullptr) {
    UnmapViewOfFile(recording_begin);
  }
  recording_begin = nullptr;
}

void take_window_away() {
  if (window_begin != nullptr) {
    UnmapViewOfFile(window_begin);
  }
  window_begin = nullptr;
}

}  // namespace basetool
