/** @file How the sources for Windows name things of the system. */
#pragma once

#include <windows.h>

#include <array>
#include <cstdint>

#include "system.h"

namespace basetool {

inline HANDLE as_handle(Descriptor descriptor) {
  return reinterpret_cast<HANDLE>(descriptor);
}

inline Descriptor as_descriptor(HANDLE handle) {
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
inline OVERLAPPED place(uint64_t offset) {
  OVERLAPPED result{};
  result.Offset = static_cast<DWORD>(offset);
  result.OffsetHigh = static_cast<DWORD>(offset >> 32);
  return result;
}

}  // namespace basetool
