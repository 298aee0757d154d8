#include "handout.h"

#include <cstring>
#include <new>

#include "heap.h"

namespace host {

void* hand_out_block(size_t size) {
  void* block = heap::allocate(size);
  if (block == nullptr) {
    throw std::bad_alloc();
  }
  return block;
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
