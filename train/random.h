// Random numbers that are the same on every machine, which the standard library's are not.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>

namespace velmora::train {

class Random {
 public:
  explicit Random(std::uint64_t seed) : state_(seed) {}

  std::uint64_t next() {  // SplitMix64
    state_ += 0x9E3779B97F4A7C15U;
    std::uint64_t bits = state_;
    bits = (bits ^ (bits >> 30U)) * 0xBF58476D1CE4E5B9U;
    bits = (bits ^ (bits >> 27U)) * 0x94D049BB133111EBU;
    return bits ^ (bits >> 31U);
  }

  // From 0 up to, and without, 1.
  double uniform() { return static_cast<double>(next() >> 11U) * 0x1p-53; }

  // From 0 up to, and without, `count`, which is far below 2^64: the bias does not show.
  std::size_t below(std::size_t count) { return next() % count; }

  template <class Value>
  void shuffle(std::span<Value> values) {
    for (std::size_t left = values.size(); left > 1; --left) {
      std::swap(values[left - 1], values[below(left)]);
    }
  }

 private:
  std::uint64_t state_;
};

}  // namespace velmora::train
