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

/** What is kept of a block where origins are. */
struct Note {
  Origin origin;
  std::uint64_t number = 0;
  bool is_told = false;
};

struct Heap {
  // Entries come from a pool of their own, since there is one for each block.
  std::pmr::unsynchronized_pool_resource entries;
  Sizes sizes{&entries};
  size_t bytes = 0;
  std::unordered_map<void*, Note> notes; /**< where origins are kept */
  std::uint64_t next_number = 1;
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
      heap().notes[block] = {this_origin(), heap().next_number++};
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
  auto note = heap().notes.extract(block);
  void* moved = resize(block, size);
  if (note) {
    if (moved != nullptr) {
      note.key() = moved;
    }
    heap().notes.insert(std::move(note));
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
  heap().notes.erase(block);
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
      const auto note = heap().notes.find(block);
      auto& [count, bytes] = left[note != heap().notes.end() ? note->second.origin : Origin()];
      ++count;
      bytes += size;
    }
    return left;
  });
}

std::uint64_t next_number() {
  const auto lock = locked();
  return heap().next_number;
}

BlocksByOrigin take_left_since(std::uint64_t number) {
  const auto lock = locked();
  BlocksByOrigin left;
  for (auto& [block, note] : heap().notes) {
    if (note.number < number || note.is_told) {
      continue;
    }
    note.is_told = true;
    auto& [count, bytes] = left[note.origin];
    ++count;
    bytes += heap().sizes.at(block);
  }
  return left;
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
