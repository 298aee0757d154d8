// Stands in for the C library's allocation functions, where the checkers do not do so themselves.

#include "heap.h"

#include <cstddef>

#if defined(__GLIBC__) && !defined(__SANITIZE_ADDRESS__)

#include <dlfcn.h>
#include <execinfo.h>

#include <array>
#include <cerrno>

#include "ork_host.h"

extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
}

namespace sweep {

namespace {

int requests_until_refusal = 0;  // 0 when nothing is to be refused
bool has_refused = false;
bool is_looking = false;

/** The loaded file that an address lies in. */
const void* file_of(const void* address) {
  Dl_info info;
  return dladdr(address, &info) != 0 ? info.dli_fbase : nullptr;
}

/** Whether the library stands nearer on the stack than the platform. */
[[gnu::noinline]] bool is_from_library() {
  // The library's objects are linked into this program. The platform is a library of its own.
  const void* const own_file = file_of(&requests_until_refusal);
  const void* const platform_file = file_of(reinterpret_cast<const void*>(&ork_host_block_count));
  std::array<void*, 64> frames;
  const int count = backtrace(frames.data(), static_cast<int>(frames.size()));
  constexpr int own_frames = 3;  // this function, `refuses` and the one that stands in
  for (int i = own_frames; i < count; ++i) {
    const void* const file = file_of(frames[static_cast<std::size_t>(i)]);
    if (file == own_file || file == platform_file) {
      return file == own_file;
    }
  }
  return false;
}

[[gnu::noinline]] bool refuses() {
  if (requests_until_refusal == 0 || is_looking) {
    return false;
  }
  is_looking = true;
  const bool refused = is_from_library() && --requests_until_refusal == 0;
  is_looking = false;
  has_refused = has_refused || refused;
  if (refused) {
    errno = ENOMEM;
  }
  return refused;
}

}  // namespace

bool can_refuse_heap_requests() {
  return true;
}

void refuse_heap_request(int nth) {
  has_refused = false;
  requests_until_refusal = nth;
}

bool stop_refusing_heap_requests() {
  requests_until_refusal = 0;
  return has_refused;
}

}  // namespace sweep

// Seen by the libraries, too.
#pragma GCC visibility push(default)
extern "C" {

void* malloc(std::size_t size) {
  return sweep::refuses() ? nullptr : __libc_malloc(size);
}

void* calloc(std::size_t count, std::size_t size) {
  return sweep::refuses() ? nullptr : __libc_calloc(count, size);
}

void* realloc(void* block, std::size_t size) {
  return sweep::refuses() ? nullptr : __libc_realloc(block, size);
}
}
#pragma GCC visibility pop

#else

namespace sweep {

bool can_refuse_heap_requests() {
  return false;
}
void refuse_heap_request(int) {}
bool stop_refusing_heap_requests() {
  return false;
}

}  // namespace sweep

#endif
