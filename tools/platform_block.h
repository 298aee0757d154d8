/** @file Blocks that the platform and the library hand out, with an owner. */
#pragma once

#include <memory>

#include "ork/mem.h"

namespace tool {

struct PlatformFree {
  void operator()(void* block) const { MEM_free(block); }
};

/** A block from the platform's allocator that is freed when its owner goes. */
template <typename T>
using PlatformBlock = std::unique_ptr<T, PlatformFree>;

}  // namespace tool
