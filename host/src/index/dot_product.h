// Dot products of a query with stored vectors.
//
// A product of two floats is exact in double precision, and every implementation adds the products
// up in the same order: all of them give the same sums to the last bit, so that an answer does not
// depend on the processor. The order is that of SUM_LANES sums, the i-th product to sum i modulo
// SUM_LANES; what is left over at the end goes to one more, to which those are added, first to
// last.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "index/half.h"

namespace velmora::host::index {

constexpr std::size_t SUM_LANES = 16;

// One implementation. No pointer needs an alignment beyond its type's.
struct DotProducts {
  std::string_view name;

  double (*float32)(const double* query, const float* row, std::size_t length);
  double (*float16)(const double* query, const Half* row, std::size_t length);
  // In single precision and in any order: as fast as memory, and as wrong as `rough_error` says.
  float (*rough_float16)(const float* query, const Half* row, std::size_t length);
  // In whole numbers, exact up to 2^53.
  double (*int8)(const std::int16_t* query, const std::int8_t* row, std::size_t length);
};

// How far a rough product of a row with a query of length one, rounded to float, may be from the
// true one, as a part of the row's length. Rounding the query costs 2^-24, and a sum of n products
// in single precision, whatever its order, n * 2^-24 / (1 - n * 2^-24) of the sum of their sizes,
// which is at most the row's length; the factor of two covers the denominator up to n = 2^23.
[[nodiscard]] constexpr double rough_error(std::size_t length) {
  return static_cast<double>(length + 8) * 0x1p-23;
}

// Those that this processor can run, the portable one first, the fastest last.
[[nodiscard]] std::span<const DotProducts> dot_product_kinds();

// The fastest.
[[nodiscard]] inline const DotProducts& dot_products() { return dot_product_kinds().back(); }

}  // namespace velmora::host::index
