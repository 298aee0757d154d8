// MEM_: the platform's allocator. Each block is one of the C heap, with nothing around it, so that
// memory checkers see its exact bounds; sizes are kept beside, which tells foreign blocks apart.

#include "ork/mem.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory_resource>
#include <new>
#include <unordered_map>

#include "handout.h"
#include "ork_host.h"

namespace {

using Sizes = std::pmr::unordered_map<void*, size_t>;

struct Heap {
  // Entries come from a pool of their own, since there is one for each block.
  std::pmr::unsynchronized_pool_resource entries;
  Sizes sizes{&entries};
  size_t bytes = 0;
  int calls_to_failure = 0;
};

Heap& heap() {
  // Never destroyed: programs may free blocks while they end.
  static Heap& instance = *new Heap;
  return instance;
}

bool fails_now() {
  int& left = heap().calls_to_failure;
  return left > 0 && --left == 0;
}

/** A block of 0 bytes takes one, so that null always means that memory is exhausted. */
void* resize(void* block, size_t size) {
  if (size > PTRDIFF_MAX) {
    return nullptr;
  }
  return std::realloc(block, size == 0 ? 1 : size);
}

bool is_ours(const Sizes::iterator& entry, const char* operation, void* block) {
  if (entry != heap().sizes.end()) {
    return true;
  }
  std::fprintf(stderr, "%s: block %p was not allocated here or is already freed; ignored\n",
               operation, block);
  return false;
}

void* allocate(size_t size) {
  if (fails_now()) {
    return nullptr;
  }
  void* block = resize(nullptr, size);
  if (block == nullptr) {
    return nullptr;
  }
  try {
    heap().sizes.emplace(block, size);
  } catch (const std::bad_alloc&) {
    std::free(block);
    return nullptr;
  }
  heap().bytes += size;
  return block;
}

/** Resizes a block; `old_size` is set to its size before. */
void* reallocate(const char* operation, void* block, size_t size, size_t* old_size) {
  *old_size = 0;
  if (block == nullptr) {
    return allocate(size);
  }
  Sizes& sizes = heap().sizes;
  const auto entry = sizes.find(block);
  if (!is_ours(entry, operation, block) || fails_now()) {
    return nullptr;
  }
  *old_size = entry->second;
  void* moved = resize(block, size);
  if (moved == nullptr) {
    return nullptr;
  }
  heap().bytes += size - entry->second;
  // The entry itself moves along: making a new one could fail, and the old block is gone.
  auto node = sizes.extract(entry);
  node.key() = moved;
  node.mapped() = size;
  sizes.insert(std::move(node));
  return moved;
}

}  // namespace

void* MEM_alloc(size_t size) {
  return allocate(size);
}

void* MEM_realloc(void* block, size_t size) {
  size_t old_size = 0;
  return reallocate("MEM_realloc", block, size, &old_size);
}

void* MEM_crealloc(void* block, size_t count, size_t element_size) {
  if (element_size != 0 && count > SIZE_MAX / element_size) {
    return nullptr;
  }
  const size_t size = count * element_size;
  size_t old_size = 0;
  void* resized = reallocate("MEM_crealloc", block, size, &old_size);
  if (resized != nullptr && size > old_size) {
    std::memset(static_cast<char*>(resized) + old_size, 0, size - old_size);
  }
  return resized;
}

void MEM_free(void* block) {
  if (block == nullptr) {
    return;
  }
  Sizes& sizes = heap().sizes;
  const auto entry = sizes.find(block);
  if (!is_ours(entry, "MEM_free", block)) {
    return;
  }
  heap().bytes -= entry->second;
  sizes.erase(entry);
  std::free(block);
}

size_t ork_host_block_count(void) {
  return heap().sizes.size();
}

size_t ork_host_block_bytes(void) {
  return heap().bytes;
}

namespace host {

void* hand_out_block(size_t size) {
  void* block = allocate(size);
  if (block == nullptr) {
    throw std::bad_alloc();
  }
  return block;
}

void fail_allocation(int nth) {
  heap().calls_to_failure = nth;
}

char* hand_out(std::string_view text) {
  char* copy = static_cast<char*>(hand_out_block(text.size() + 1));
  text.copy(copy, text.size());
  copy[text.size()] = '\0';
  return copy;
}

void copy_out(std::string_view text, char* buffer, size_t size) {
  buffer[text.copy(buffer, size - 1)] = '\0';
}

char** hand_out(const std::vector<std::string>& texts) {
  if (texts.empty()) {
    return nullptr;
  }
  size_t size = texts.size() * sizeof(char*);
  for (const std::string& text : texts) {
    size += text.size() + 1;
  }
  char** array = static_cast<char**>(hand_out_block(size));
  char* next = reinterpret_cast<char*>(array + texts.size());
  for (size_t i = 0; i < texts.size(); ++i) {
    array[i] = next;
    next = static_cast<char*>(std::memcpy(next, texts[i].c_str(), texts[i].size() + 1)) +
           texts[i].size() + 1;
  }
  return array;
}

}  // namespace host
