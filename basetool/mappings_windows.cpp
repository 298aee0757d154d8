#include <csignal>
#include <cstdint>

#include "rounding.h"
#include "windows_types.h"

namespace basetool {

// Never set: the system refuses to shorten a file over which a window lies.
volatile std::sig_atomic_t window_lost = 0;
volatile std::sig_atomic_t recording_lost = 0;

namespace {

// The window. There is one in a process.
char* window_begin = nullptr;
uint64_t window_size = 0;
uint64_t window_offset = 0;  // the byte of the file that stands at its begin

char* recording_begin = nullptr;

/** Windows begin at multiples of this. */
uint64_t window_step() {
  static const uint64_t step = [] {
    SYSTEM_INFO info;
    GetSystemInfo(&info);
    return uint64_t{info.dwAllocationGranularity};
  }();
  return step;
}

}  // namespace

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

void take_window_away() {
  if (window_begin != nullptr) {
    UnmapViewOfFile(window_begin);
  }
  window_begin = nullptr;
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

void abandon_recording() {
  recording_begin = nullptr;
}

void unmap_recording() {
  if (recording_begin != nullptr) {
    UnmapViewOfFile(recording_begin);
  }
  recording_begin = nullptr;
}

}  // namespace basetool
