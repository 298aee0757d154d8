// MEM_: the platform's allocator.

#include "ork/mem.h"

#include <cstdint>
#include <cstring>

#include "error_stack.h"
#include "heap.h"
#include "origin.h"
#include "ork/err.h"
#include "turn.h"

namespace heap = host::heap;

namespace {

/** Has a block that could not be had noted on the error stack, like each failure. */
void* noted(void* block) {
  if (block != nullptr) {
    return block;
  }
  if (const host::Turn turn; turn.is_granted()) {
    host::push_error(ERR_severity_error, ORK_out_of_memory, {});
  }
  return nullptr;
}

}  // namespace

void* MEM_alloc(size_t size) {
  const host::OperationMark mark("MEM_alloc");
  return noted(heap::allocate(size));
}

void* MEM_realloc(void* block, size_t size) {
  const host::OperationMark mark("MEM_realloc");
  size_t old_size = 0;
  return noted(heap::reallocate("MEM_realloc", block, size, &old_size));
}

void* MEM_crealloc(void* block, size_t count, size_t element_size) {
  const host::OperationMark mark("MEM_crealloc");
  if (element_size != 0 && count > SIZE_MAX / element_size) {
    return noted(nullptr);
  }
  const size_t size = count * element_size;
  size_t old_size = 0;
  void* resized = heap::reallocate("MEM_crealloc", block, size, &old_size);
  if (resized != nullptr && size > old_size) {
    std::memset(static_cast<char*>(resized) + old_size, 0, size - old_size);
  }
  return noted(resized);
}

void MEM_free(void* block) {
  heap::release("MEM_free", block);
}
