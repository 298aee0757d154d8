/** @file Arrays of texts that callers get. */
#pragma once

#include "host_memory.h"
#include "zolp_orktool.h"

namespace orktool {

/** Texts from ZOLP_CopyString in an array from MEM_alloc, freed together until handed over. */
class HostTexts {
 public:
  explicit HostTexts(int count)
      : texts_(static_cast<char**>(MEM_alloc(static_cast<std::size_t>(count) * sizeof(char*)))) {}
  HostTexts(const HostTexts&) = delete;
  HostTexts& operator=(const HostTexts&) = delete;
  ~HostTexts() {
    for (int i = 0; i < size_; ++i) {
      MEM_free(texts_.get()[i]);
    }
  }

  bool is_allocated() const { return texts_ != nullptr; }

  /** Appends a copy of a text; false when memory is exhausted. */
  bool append(const char* text) {
    char* copy = ZOLP_CopyString(text_or_empty(text));
    if (copy == nullptr) {
      return false;
    }
    texts_.get()[size_++] = copy;
    return true;
  }

  char** hand_over() {
    size_ = 0;
    return texts_.release();
  }

 private:
  HostPtr<char*> texts_;
  int size_ = 0;
};

}  // namespace orktool
