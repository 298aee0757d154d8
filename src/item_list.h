/** @file The reader of item lists: a level and an item id in each line. */
#pragma once

#include <cstdio>
#include <cstdlib>
#include <new>
#include <string_view>
#include <unordered_map>
#include <utility>

namespace orktool {

/** The entries of an item list: growing arrays on the C heap that are handed to the caller. */
class ItemListArrays {
 public:
  ItemListArrays() = default;
  ItemListArrays(const ItemListArrays&) = delete;
  ItemListArrays& operator=(const ItemListArrays&) = delete;
  ~ItemListArrays() {
    for (int i = 0; i < size_; ++i) {
      std::free(item_ids_[i]);
      std::free(levels_[i]);
    }
    std::free(item_ids_);
    std::free(levels_);
    std::free(counts_);
  }

  /** Appends an entry and returns its item id; throws std::bad_alloc. */
  const char* append(std::string_view item_id, std::string_view level) {
    if (size_ == capacity_) {
      const int capacity = size_ + growth;
      resize(item_ids_, capacity);
      resize(levels_, capacity);
      resize(counts_, capacity);
      capacity_ = capacity;
    }
    char* item_id_copy = copy(item_id);
    item_ids_[size_] = item_id_copy;
    levels_[size_] = nullptr;
    ++size_;
    levels_[size_ - 1] = copy(level);
    return item_id_copy;
  }

  /** Sets each entry's count to the number of entries with its item id. */
  void count_occurrences() {
    std::unordered_map<std::string_view, int> occurrences;
    for (int i = 0; i < size_; ++i) {
      ++occurrences[item_ids_[i]];
    }
    for (int i = 0; i < size_; ++i) {
      counts_[i] = occurrences.find(item_ids_[i])->second;
    }
  }

  void hand_over(int* count, char*** item_ids, char*** levels, int** counts) {
    *count = std::exchange(size_, 0);
    *item_ids = std::exchange(item_ids_, nullptr);
    *levels = std::exchange(levels_, nullptr);
    *counts = std::exchange(counts_, nullptr);
  }

 private:
  static constexpr int growth = 51;

  template <typename T>
  static void resize(T*& array, int capacity) {
    auto* resized =
        static_cast<T*>(std::realloc(array, static_cast<std::size_t>(capacity) * sizeof(T)));
    if (resized == nullptr) {
      throw std::bad_alloc();
    }
    array = resized;
  }

  static char* copy(std::string_view text) {
    auto* block = static_cast<char*>(std::malloc(text.size() + 1));
    if (block == nullptr) {
      throw std::bad_alloc();
    }
    block[text.copy(block, text.size())] = '\0';
    return block;
  }

  int size_ = 0;
  int capacity_ = 0;
  char** item_ids_ = nullptr;
  char** levels_ = nullptr;
  int* counts_ = nullptr;
};

/** Reads the lines that have a level; throws std::bad_alloc. */
void read_item_list(std::FILE* file, ItemListArrays& items);

}  // namespace orktool
