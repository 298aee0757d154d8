/** @file Blocks of the platform's allocator with an owner, and texts in buffers of fixed size. */
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>

#include "ork/mem.h"

namespace orktool {

struct HostFree {
  void operator()(void* block) const { MEM_free(block); }
};

/** A block that the platform handed out and that is freed when its owner goes. */
template <typename T>
using HostPtr = std::unique_ptr<T, HostFree>;

/** Lets a platform operation put its out-parameter into a HostPtr: `operation(out(pointer))`. */
template <typename T>
class Out {
 public:
  explicit Out(HostPtr<T>& target) : target_(target) {}
  ~Out() { target_.reset(block_); }
  Out(const Out&) = delete;
  Out& operator=(const Out&) = delete;
  // NOLINTNEXTLINE(google-explicit-constructor): stands where the operation wants a T**
  operator T**() { return &block_; }

 private:
  HostPtr<T>& target_;
  T* block_ = nullptr;
};

template <typename T>
Out<T> out(HostPtr<T>& target) {
  return Out<T>(target);
}

/** A text, or the empty text in place of null. */
inline const char* text_or_empty(const char* text) {
  return text != nullptr ? text : "";
}

/**
 * Copies a text into a buffer of `size` bytes, cut where it does not fit and always terminated.
 * Null is copied as the empty text.
 */
inline void copy_text(char* buffer, std::size_t size, const char* text) {
  const std::size_t length = strnlen(text_or_empty(text), size - 1);
  std::memcpy(buffer, text_or_empty(text), length);
  buffer[length] = '\0';
}

template <std::size_t Size>
void copy_text(char (&buffer)[Size], const char* text) {
  copy_text(buffer, Size, text);
}

/** Appends a text to the one in a buffer, cut where it does not fit. */
template <std::size_t Size>
void append_text(char (&buffer)[Size], const char* text) {
  const std::size_t length = std::strlen(buffer);
  copy_text(buffer + length, Size - length, text);
}

}  // namespace orktool
