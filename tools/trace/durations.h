/** @file How long calls took, in little memory for any number of them. */
#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>
#include <vector>

namespace trace {

/** A sum that stays at the end of its range: a damaged trace may have any times. */
inline int64_t sum_of_times(int64_t one, int64_t other) {
  const bool is_positive = other > 0;
  const int64_t end = is_positive ? INT64_MAX : -INT64_MAX;
  return (is_positive ? one > end - other : one < end - other) ? end : one + other;
}

/**
 * Durations in nanoseconds. Each power of two is divided into 32 steps, so that a percentile is
 * exact to 3 %; all else is exact.
 */
class Durations {
 public:
  void add(int64_t duration) {
    const auto nanoseconds = static_cast<uint64_t>(std::max<int64_t>(duration, 0));
    min_ = count_ == 0 ? nanoseconds : std::min(min_, nanoseconds);
    max_ = std::max(max_, nanoseconds);
    sum_ += nanoseconds;
    ++count_;
    const size_t step = step_of(nanoseconds);
    if (step >= steps_.size()) {
      steps_.resize(step + 1);
    }
    ++steps_[step];
  }

  uint64_t count() const { return count_; }
  int64_t min() const { return static_cast<int64_t>(min_); }
  int64_t max() const { return static_cast<int64_t>(max_); }
  int64_t mean() const { return count_ == 0 ? 0 : static_cast<int64_t>(sum_ / count_); }

  /** What this part of the durations, of 100, does not exceed. */
  int64_t percentile(unsigned percent) const {
    const uint64_t rank = (count_ * percent + 99) / 100;
    uint64_t passed = 0;
    for (size_t step = 0; step < steps_.size(); ++step) {
      passed += steps_[step];
      if (passed >= rank) {
        return static_cast<int64_t>(std::clamp(end_of(step), min_, max_));
      }
    }
    return max();
  }

 private:
  static constexpr unsigned bits = 5;
  static constexpr uint64_t steps_per_octave = uint64_t{1} << bits;

  static size_t step_of(uint64_t value) {
    if (value < steps_per_octave) {
      return value;
    }
    const auto octave = static_cast<unsigned>(std::bit_width(value)) - 1 - bits;
    return (octave + 1) * steps_per_octave + (value >> octave) - steps_per_octave;
  }

  /** The highest value of a step. */
  static uint64_t end_of(size_t step) {
    if (step < steps_per_octave) {
      return step;
    }
    const size_t octave = step / steps_per_octave - 1;
    return ((step % steps_per_octave + steps_per_octave + 1) << octave) - 1;
  }

  uint64_t count_ = 0;
  uint64_t sum_ = 0;
  uint64_t min_ = 0;
  uint64_t max_ = 0;
  std::vector<uint32_t> steps_;
};

}  // namespace trace
