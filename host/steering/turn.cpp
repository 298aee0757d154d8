#include "turn.h"

namespace host {

namespace {

std::atomic<std::thread::id> owner;

// The owner's alone.
int depth = 0; /**< how many of its turns are inside one another */
bool is_kept = false;
bool is_handed_over = false;

}  // namespace

bool Turn::is_ours() noexcept {
  return owner.load(std::memory_order_relaxed) == std::this_thread::get_id();
}

void Turn::keep(bool is_to_be_kept) noexcept {
  is_kept = is_to_be_kept;
  is_handed_over = false;
}

void Turn::hand_over() noexcept {
  is_handed_over = is_kept;
  is_kept = false;
}

Turn::Turn() noexcept : is_granted_(is_ours()) {
  if (!is_granted_) {
    std::thread::id nobody;
    is_granted_ = owner.compare_exchange_strong(nobody, std::this_thread::get_id(),
                                                std::memory_order_acquire);
    if (is_granted_ && is_handed_over) {
      keep(true);
    }
  }
  if (is_granted_) {
    ++depth;
  }
}

Turn::~Turn() {
  if (is_granted_ && --depth == 0 && !is_kept) {
    owner.store(std::thread::id(), std::memory_order_release);
  }
}

}  // namespace host
