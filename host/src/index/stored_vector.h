// Vectors as the index keeps them.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <span>
#include <string_view>
#include <vector>

#include "velmora/host/index/vector_kind.h"

namespace velmora::host::index {

// The name of a kind in the index, and the kind of a name.
[[nodiscard]] std::string_view kind_name(VectorKind kind);
[[nodiscard]] VectorKind kind_of(std::string_view name);

// The bytes of one number.
[[nodiscard]] std::size_t number_size(VectorKind kind);

// Throws std::invalid_argument unless `values` has a direction: it is not empty, finite, and not
// all zero. `what` begins the message.
void require_direction(std::span<const float> values, std::string_view what);

// The bytes that the index stores of `values`: those of float32, of the direction in float16, or of
// the direction in whole numbers. REQUIRES: `values` has a direction.
[[nodiscard]] std::vector<std::byte> stored_vector(std::span<const float> values, VectorKind kind);

// Writes the direction of `values` in whole numbers: the largest in size becomes the largest of
// its type. REQUIRES: `values` has a direction; `numbers` is as long.
template <class Integer>
void write_direction(std::span<const float> values, std::span<Integer> numbers) {
  double largest = 0.0;
  for (const float value : values)
    largest = std::max(largest, std::abs(static_cast<double>(value)));
  const double scale = std::numeric_limits<Integer>::max() / largest;
  for (std::size_t i = 0; i < values.size(); ++i) {
    numbers[i] = static_cast<Integer>(std::lround(static_cast<double>(values[i]) * scale));
  }
}

}  // namespace velmora::host::index
