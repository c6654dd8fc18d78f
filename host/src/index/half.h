// Numbers of half precision: IEEE 754 binary16.
#pragma once

#include <bit>
#include <cstdint>

namespace velmora::host::index {

// The bits of one. A type of its own, so that none is taken for a whole number.
enum class Half : std::uint16_t {};

// Exact. Without a branch, so that compilers turn loops over it into wide instructions.
[[nodiscard]] inline float to_float(Half half) {
  const auto bits = std::uint32_t{static_cast<std::uint16_t>(half)};
  // The exponents of float begin 112 lower.
  const float size = std::bit_cast<float>((bits & 0x7FFFU) << 13) * 0x1p112F;
  const std::uint32_t beyond = (bits & 0x7C00U) == 0x7C00U ? 0x7F800000U : 0U;  // infinite, or NaN
  return std::bit_cast<float>(std::bit_cast<std::uint32_t>(size) | beyond | (bits & 0x8000U) << 16);
}

// The nearest half, of two equally near ones the even one; infinite from 65520 on.
[[nodiscard]] inline Half to_half(float value) {
  const auto bits = std::bit_cast<std::uint32_t>(value);
  const std::uint32_t sign = bits >> 16 & 0x8000U;
  const std::uint32_t size = bits & 0x7FFFFFFFU;
  std::uint32_t half = 0;
  if (size > 0x7F800000U) {
    half = 0x7E00U;  // NaN
  } else if (size >= 0x477FF000U) {
    half = 0x7C00U;  // 65520 and more
  } else if (size < 0x38800000U) {
    // Below 2^-14 a half counts steps of 2^-24, which is what the last bit of 0.5 is: the addition
    // rounds as wanted.
    half = std::bit_cast<std::uint32_t>(std::bit_cast<float>(size) + 0.5F) - 0x3F000000U;
  } else {
    const std::uint32_t even = size >> 13 & 1U;
    half = (size - (112U << 23) + 0xFFFU + even) >> 13;
  }
  return static_cast<Half>(sign | half);
}

}  // namespace velmora::host::index
