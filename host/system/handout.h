/** @file Results that callers free with MEM_free. Exhausted memory is thrown as std::bad_alloc. */
#pragma once

#include <cstddef>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "heap.h"

namespace host {

void* hand_out_block(std::size_t size);

/** Keeps what will be handed out together with something that may still fail. */
struct FreeHandedOut {
  void operator()(void* block) const { heap::release("MEM_free", block); }
};
template <typename Type>
using HandedOut = std::unique_ptr<Type, FreeHandedOut>;

/** A NUL-terminated copy. */
char* hand_out(std::string_view text);

/** An array of tags or records, with their number; null for none. */
template <typename Element>
void hand_out(const std::vector<Element>& elements, int* count, Element** array) {
  static_assert(std::is_trivially_copyable_v<Element>);
  if (!elements.empty()) {
    const std::size_t size = elements.size() * sizeof(Element);
    *array = static_cast<Element*>(std::memcpy(hand_out_block(size), elements.data(), size));
  }
  *count = static_cast<int>(elements.size());
}

/** An array of texts in one block; null for none. */
char** hand_out(const std::vector<std::string>& texts);

/** Copies a text to a caller's buffer of a size; one that is too long loses its end. */
void copy_out(std::string_view text, char* buffer, std::size_t size);

}  // namespace host
