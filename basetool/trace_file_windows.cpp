#include <errno.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <windows.h>

#include <algorithm>
#include <array>
#include <cstdint>

#include "trace_file.h"

namespace basetool {

// Never set: the system refuses to shorten a file over which a window lies.
volatile std::sig_atomic_t window_lost = 0;

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

Descriptor standard_stream(DWORD which) {
  return reinterpret_cast<Descriptor>(GetStdHandle(which));
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

/** Writes all of a text. @return number of bytes written; fewer on failure. */
size_t write_all(HANDLE file, const char* text, size_t size, bool appends) {
  constexpr size_t most_at_once = 1 << 30;
  size_t done = 0;
  while (done < size) {
    OVERLAPPED end = place(end_of_file);
    DWORD written = 0;
    const DWORD part = static_cast<DWORD>(std::min(size - done, most_at_once));
    if (WriteFile(file, text + done, part, &written, appends ? &end : nullptr) == 0 ||
        written == 0) {
      break;
    }
    done += written;
  }
  return done;
}

/** Appends line feeds to a file until it has a size. @return the size that it got to. */
uint64_t append_fill(HANDLE file, uint64_t size, uint64_t wanted) {
  while (size < wanted) {
    const size_t part = static_cast<size_t>(std::min<uint64_t>(wanted - size, fill.size()));
    const size_t written = write_all(file, fill.data(), part, true);
    size += written;
    if (written < part) {
      break;
    }
  }
  return size;
}

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

struct FileState {
  uint64_t device = 0;
  uint64_t inode = 0;
  uint64_t size = 0;
};

bool read_state(HANDLE file, FileState& state) {
  BY_HANDLE_FILE_INFORMATION information;
  if (GetFileInformationByHandle(file, &information) == 0) {
    return false;
  }
  const auto join = [](DWORD high, DWORD low) { return uint64_t{high} << 32 | low; };
  state.device = information.dwVolumeSerialNumber;
  state.inode = join(information.nFileIndexHigh, information.nFileIndexLow);
  state.size = join(information.nFileSizeHigh, information.nFileSizeLow);
  return true;
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
  const bool is_known = is_on_disk(file) && read_state(file, state);
  CloseHandle(file);
  return is_known;
}

/** Asks whether a path names the file that was opened as these. */
bool leads_to(const char* path, uint64_t device, uint64_t inode) {
  FileState there;
  return read_state_at(path, there) && there.device == device && there.inode == inode;
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
    if (is_on_disk(stream) && read_state(stream, standard) && standard.device == there.device &&
        standard.inode == there.inode) {
      return stream;
    }
  }
  return nullptr;
}

/** Opens for writing. Others may read and rename the file meanwhile, but not write to it. */
HANDLE open_for_appending(const char* path) {
  const WidePath wide_path(path);
  constexpr DWORD sharing = FILE_SHARE_READ | FILE_SHARE_DELETE;
  HANDLE file = CreateFileW(wide_path.text.data(), GENERIC_READ | GENERIC_WRITE, sharing, nullptr,
                            OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE && GetLastError() == ERROR_ACCESS_DENIED) {
    file = CreateFileW(wide_path.text.data(), GENERIC_WRITE, sharing, nullptr, OPEN_ALWAYS,
                       FILE_ATTRIBUTE_NORMAL, nullptr);
  }
  return file;
}

}  // namespace

void complain(const char* format, ...) {
  char line[1024] = "zolp_basetool: ";
  size_t size = strlen(line);
  va_list arguments;
  va_start(arguments, format);
  int length = vsnprintf(line + size, sizeof line - size - 1, format, arguments);
  va_end(arguments);
  if (length < 0) {
    return;
  }
  size = std::min(size + static_cast<size_t>(length), sizeof line - 2);
  line[size++] = '\n';
  write_all(GetStdHandle(STD_ERROR_HANDLE), line, size, false);
}

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
  if (wide != nullptr && value != nullptr) {
    GetEnvironmentVariableW(name.text.data(), wide, wide_size);
    value[0] = '\0';
    WideCharToMultiByte(CP_UTF8, 0, wide, -1, value, static_cast<int>(most_bytes), nullptr,
                        nullptr);
  }
  free(wide);
  return value;
}

unsigned long process_id() {
  return GetCurrentProcessId();
}

void call_in_forked_child(void (*)()) {
  // There are no forks here.
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

TraceFile::Opening TraceFile::open(const char* path) {
  constexpr int tries = 10;
  for (int i = 0; i < tries; ++i) {
    HANDLE file = open_for_appending(path);
    if (file == INVALID_HANDLE_VALUE) {
      error_ = static_cast<int>(GetLastError());
      if (error_ != ERROR_SHARING_VIOLATION) {
        return Opening::failed;
      }
      if (HANDLE stream = stream_at(path)) {
        // The program writes there too, at its own position: share it.
        descriptor_ = reinterpret_cast<Descriptor>(stream);
        return Opening::done;
      }
      return Opening::taken;
    }
    descriptor_ = reinterpret_cast<Descriptor>(file);
    is_owned_ = true;
    is_regular_ = is_on_disk(file);
    if (!is_regular_) {
      return Opening::done;
    }
    FileState opened;
    if (!read_state(file, opened)) {
      error_ = static_cast<int>(GetLastError());
      close();
      return Opening::failed;
    }
    device_ = opened.device;
    inode_ = opened.inode;
    // Its owner may have renamed it meanwhile, to start a new one.
    if (leads_to(path, device_, inode_)) {
      trim();
      return Opening::done;
    }
    close();
  }
  return Opening::taken;
}

void TraceFile::use_standard_error() {
  descriptor_ = standard_stream(STD_ERROR_HANDLE);
  is_owned_ = false;
  is_regular_ = false;
}

/** Cuts line feeds off that a crashed process has left, and ends a line that it has left open. */
void TraceFile::trim() {
  FileState state;
  size_ = read_state(as_handle(descriptor_), state) ? state.size : 0;
  std::array<char, 16 * 1024> block;
  uint64_t end = size_;
  while (end > 0) {
    size_t part = static_cast<size_t>(std::min<uint64_t>(end, block.size()));
    OVERLAPPED where = place(end - part);
    DWORD count = 0;
    if (ReadFile(as_handle(descriptor_), block.data(), static_cast<DWORD>(part), &count, &where) ==
            0 ||
        count != part) {
      return;
    }
    while (part > 0 && block[part - 1] == '\n') {
      --part, --end;
    }
    if (part > 0) {
      break;
    }
  }
  if (end == size_ && end > 0) {
    write("\n", 1);
  } else if (size_ > end + 1 || end == 0) {
    shorten(end == 0 ? 0 : end + 1);
  }
}

bool TraceFile::refresh() {
  FileState state;
  if (!read_state(as_handle(descriptor_), state) || state.device != device_ ||
      state.inode != inode_) {
    return false;
  }
  size_ = state.size;
  return true;
}

bool TraceFile::write(const char* text, size_t size) {
  size_t written = write_all(as_handle(descriptor_), text, size, is_regular_);
  uint64_t size_before = size_;
  size_ += written;
  if (written == size) {
    return true;
  }
  int error = static_cast<int>(GetLastError());
  if (is_regular_) {
    shorten(size_before);
  }
  error_ = error;
  return false;
}

void TraceFile::shorten(uint64_t size) {
  if (size >= size_) {
    return;  // somebody else shortened it already
  }
  unmap();  // no file is shortened below a window
  LARGE_INTEGER end;
  end.QuadPart = static_cast<LONGLONG>(size);
  if (SetFilePointerEx(as_handle(descriptor_), end, nullptr, FILE_BEGIN) != 0 &&
      SetEndOfFile(as_handle(descriptor_)) != 0) {
    size_ = size;
  } else {
    error_ = static_cast<int>(GetLastError());
  }
}

char* TraceFile::map(uint64_t from, uint64_t needed, char** end) {
  if (size_ < needed) {
    size_ = append_fill(as_handle(descriptor_), size_, round_up(needed, growth_step));
    error_ = static_cast<int>(GetLastError());
  }
  bool is_covered =
      window_begin != nullptr && from >= window_offset && size_ <= window_offset + window_size;
  if (size_ < needed || !(is_covered || lay_window(from))) {
    unmap();
    return nullptr;
  }
  *end = window_begin + (size_ - window_offset);
  return window_begin + (from - window_offset);
}

/** Lays the window over the file from the step of a byte to its end. */
bool TraceFile::lay_window(uint64_t from) {
  unmap();
  HANDLE section =
      CreateFileMappingW(as_handle(descriptor_), nullptr, PAGE_READWRITE, 0, 0, nullptr);
  if (section != nullptr) {
    const uint64_t begin = round_down(from, window_step());
    const OVERLAPPED where = place(begin);
    void* view = MapViewOfFile(section, FILE_MAP_WRITE, where.OffsetHigh, where.Offset,
                               static_cast<SIZE_T>(size_ - begin));
    error_ = static_cast<int>(GetLastError());
    CloseHandle(section);
    window_begin = static_cast<char*>(view);
    window_offset = begin;
    window_size = size_ - begin;
  } else {
    error_ = static_cast<int>(GetLastError());
  }
  return window_begin != nullptr;
}

void TraceFile::unmap() {
  char* begin = window_begin;
  window_begin = nullptr;
  if (begin != nullptr) {
    UnmapViewOfFile(begin);
  }
}

bool TraceFile::is_at(const char* path) const {
  return leads_to(path, device_, inode_);
}

void TraceFile::close() {
  unmap();
  if (is_owned_) {
    CloseHandle(as_handle(descriptor_));
  }
  forget();
}

void TraceFile::forget() {
  unmap();
  descriptor_ = -1;
  is_owned_ = false;
  is_regular_ = false;
  size_ = 0;
}

const char* TraceFile::last_error() const {
  static std::array<char, 256> text;
  constexpr DWORD english = MAKELANGID(LANG_ENGLISH, SUBLANG_ENGLISH_US);
  DWORD size = FormatMessageA(
      FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_MAX_WIDTH_MASK,
      nullptr, static_cast<DWORD>(error_), english, text.data(), static_cast<DWORD>(text.size()),
      nullptr);
  while (size > 0 && (text[size - 1] == ' ' || text[size - 1] == '.')) {
    text[--size] = '\0';
  }
  if (size == 0) {
    snprintf(text.data(), text.size(), "error %d", error_);
  }
  return text.data();
}

}  // namespace basetool
