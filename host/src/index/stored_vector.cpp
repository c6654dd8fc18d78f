#include "index/stored_vector.h"

#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>

#include "index/half.h"

namespace velmora::host::index {
namespace {

static_assert(std::endian::native == std::endian::little,
              "vectors are stored as they are in memory");

constexpr std::array<std::string_view, 3> KIND_NAMES = {"float32", "float16", "int8"};

// By the power of two that brings the largest below 2^15: no number is too large for a half, and
// one that is too small for its full precision is below 2^-28 of the largest.
std::vector<Half> halves(std::span<const float> values) {
  int largest = std::numeric_limits<int>::min();
  for (const float value : values) {
    if (value != 0.0F) largest = std::max(largest, std::ilogb(value));
  }
  std::vector<Half> halves;
  halves.reserve(values.size());
  for (const float value : values) halves.push_back(to_half(std::ldexp(value, 14 - largest)));
  return halves;
}

template <class Number>
std::vector<std::byte> bytes_of(std::span<const Number> numbers) {
  const auto bytes = std::as_bytes(numbers);
  return {bytes.begin(), bytes.end()};
}

}  // namespace

std::string_view kind_name(VectorKind kind) { return KIND_NAMES[static_cast<std::size_t>(kind)]; }

VectorKind kind_of(std::string_view name) {
  const auto at = std::find(KIND_NAMES.begin(), KIND_NAMES.end(), name);
  if (at == KIND_NAMES.end()) {
    throw std::invalid_argument("there is no kind of vectors " + std::string(name));
  }
  return static_cast<VectorKind>(at - KIND_NAMES.begin());
}

std::size_t number_size(VectorKind kind) {
  constexpr std::array<std::size_t, 3> SIZES = {sizeof(float), sizeof(Half), sizeof(std::int8_t)};
  return SIZES[static_cast<std::size_t>(kind)];
}

void require_direction(std::span<const float> values, std::string_view what) {
  if (values.empty()) throw std::invalid_argument(std::string(what) + " is empty");
  if (!std::ranges::all_of(values, [](float v) { return std::isfinite(v); })) {
    throw std::invalid_argument(std::string(what) + " holds a value that is not finite");
  }
  if (std::ranges::all_of(values, [](float v) { return v == 0.0F; })) {
    throw std::invalid_argument(std::string(what) + " is all zero");
  }
}

std::vector<std::byte> stored_vector(std::span<const float> values, VectorKind kind) {
  switch (kind) {
    case VectorKind::float32:
      break;
    case VectorKind::float16:
      return bytes_of<Half>(halves(values));
    case VectorKind::int8: {
      std::vector<std::int8_t> numbers(values.size());
      write_direction<std::int8_t>(values, numbers);
      return bytes_of<std::int8_t>(numbers);
    }
  }
  return bytes_of<float>(values);
}

}  // namespace velmora::host::index
