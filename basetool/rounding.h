#pragma once

#include <cstdint>

namespace basetool {

constexpr uint64_t round_down(uint64_t number, uint64_t step) {
  return number / step * step;
}

constexpr uint64_t round_up(uint64_t number, uint64_t step) {
  return round_down(number + step - 1, step);
}

}  // namespace basetool
