// Seeded random numbers that are the same with every standard library.
#pragma once

#include <cstddef>
#include <cstdint>
#include <random>

namespace velmora::bench {

class Random {
 public:
  explicit Random(std::uint64_t seed) : engine_(seed) {}

  // From 0 to `end` - 1; `end` is far below 2^64, so that the remainder is even enough.
  std::size_t below(std::size_t end) { return engine_() % end; }
  std::size_t between(std::size_t least, std::size_t most) {
    return least + below(most - least + 1);
  }
  // From 0, inclusive, to 1, exclusive.
  double unit() { return static_cast<double>(engine_() >> 11) * 0x1p-53; }

 private:
  std::mt19937_64 engine_;
};

}  // namespace velmora::bench
