#include <stdio.h>

#include <algorithm>
#include <array>
#include <cstdint>

#include "rounding.h"
#include "windows_types.h"

namespace basetool {

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

constexpr uint64_t end_of_file = UINT64_MAX;

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

bool allocate(Descriptor file, uint64_t size) {
  LARGE_INTEGER end;
  end.QuadPart = static_cast<LONGLONG>(size);
  return SetFilePointerEx(as_handle(file), end, nullptr, FILE_BEGIN) != 0 &&
         SetEndOfFile(as_handle(file)) != 0;
}

void provide_pages(const OpenFile&, uint64_t, uint64_t, size_t) {
  // One by one, when they are needed.
}

}  // namespace basetool
