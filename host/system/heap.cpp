#include "heap.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory_resource>
#include <mutex>
#include <new>
#include <unordered_map>

#include "origin.h"

namespace host::heap {

namespace {

using Sizes = std::pmr::unordered_map<void*, size_t>;

struct Heap {
  // Entries come from a pool of their own, since there is one for each block.
  std::pmr::unsynchronized_pool_resource entries;
  Sizes sizes{&entries};
  size_t bytes = 0;
  std::unordered_map<void*, Origin> origins; /**< where they are wanted */
  int calls_to_failure = 0;
  std::mutex mutex; /**< blocks are anybody's: no status could refuse other threads */
};

Heap& heap() {
  // Never destroyed: programs may free blocks while they end.
  static Heap& instance = *new Heap;
  return instance;
}

std::unique_lock<std::mutex> locked() {
  return std::unique_lock(heap().mutex);
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

void* allocate_locked(std::size_t size) {
  if (fails_now()) {
    return nullptr;
  }
  void* block = resize(nullptr, size);
  if (block == nullptr) {
    return nullptr;
  }
  try {
    heap().sizes.emplace(block, size);
    if (reports_origins()) {
      heap().origins[block] = this_origin();
    }
  } catch (const std::bad_alloc&) {
    heap().sizes.erase(block);
    std::free(block);
    return nullptr;
  }
  heap().bytes += size;
  return block;
}

}  // namespace

void* allocate(std::size_t size) {
  const auto lock = locked();
  return allocate_locked(size);
}

void* reallocate(const char* operation, void* block, std::size_t size, std::size_t* old_size) {
  const auto lock = locked();
  *old_size = 0;
  if (block == nullptr) {
    return allocate_locked(size);
  }
  Sizes& sizes = heap().sizes;
  const auto entry = sizes.find(block);
  if (!is_ours(entry, operation, block) || fails_now()) {
    return nullptr;
  }
  *old_size = entry->second;
  auto origin = heap().origins.extract(block);
  void* moved = resize(block, size);
  if (origin) {
    if (moved != nullptr) {
      origin.key() = moved;
    }
    heap().origins.insert(std::move(origin));
  }
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

void release(const char* operation, void* block) {
  if (block == nullptr) {
    return;
  }
  const auto lock = locked();
  Sizes& sizes = heap().sizes;
  const auto entry = sizes.find(block);
  if (!is_ours(entry, operation, block)) {
    return;
  }
  heap().bytes -= entry->second;
  sizes.erase(entry);
  heap().origins.erase(block);
  std::free(block);
}

void fail_allocation(int nth) {
  const auto lock = locked();
  heap().calls_to_failure = nth;
}

void report_blocks() {
  report_at_end([] {
    const auto lock = locked();
    BlocksByOrigin left;
    for (const auto& [block, size] : heap().sizes) {
      const auto origin = heap().origins.find(block);
      auto& [count, bytes] = left[origin != heap().origins.end() ? origin->second : Origin()];
      ++count;
      bytes += size;
    }
    return left;
  });
}

std::size_t block_count() {
  const auto lock = locked();
  return heap().sizes.size();
}

std::size_t block_bytes() {
  const auto lock = locked();
  return heap().bytes;
}

}  // namespace host::heap
