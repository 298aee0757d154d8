/** @file Types of attachments, one for each object, as the platform takes them. */
#pragma once

#include <algorithm>
#include <cstddef>

#include "host_memory.h"

namespace orktool {

/** The same type for each of a number of objects; null when memory is exhausted. */
inline HostPtr<int> attachment_types(int object_count, int type) {
  const auto size = static_cast<std::size_t>(std::max(object_count, 0));
  HostPtr<int> types(static_cast<int*>(MEM_alloc(size * sizeof(int))));
  if (types != nullptr) {
    std::fill_n(types.get(), size, type);
  }
  return types;
}

}  // namespace orktool
