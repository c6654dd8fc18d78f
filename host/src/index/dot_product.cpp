#include "index/dot_product.h"

#include <algorithm>
#include <array>

#if defined(__x86_64__)
#include <cpuid.h>
#include <immintrin.h>
#endif

namespace velmora::host::index {
namespace {

// The sum of so many products of a 16-bit and an 8-bit number fits into 32 bits.
constexpr std::size_t INT8_BLOCK = 512;

using Lanes = std::array<double, SUM_LANES>;

double number(float value) { return value; }
double number(Half value) { return to_float(value); }

// Adds up what the lanes hold and the products from `first` on.
template <class Number>
double sum(const Lanes& lanes, const double* query, const Number* row, std::size_t first,
           std::size_t length) {
  double total = 0.0;
  for (std::size_t i = first; i < length; ++i) total += query[i] * number(row[i]);
  for (const double lane : lanes) total += lane;
  return total;
}

// --- For every processor ------------------------------------------------------------------------

template <class Number>
double portable(const double* query, const Number* row, std::size_t length) {
  Lanes lanes{};
  std::size_t i = 0;
  for (; i + SUM_LANES <= length; i += SUM_LANES) {
    for (std::size_t lane = 0; lane < SUM_LANES; ++lane) {
      lanes[lane] += query[i + lane] * number(row[i + lane]);
    }
  }
  return sum(lanes, query, row, i, length);
}

float portable_rough(const float* query, const Half* row, std::size_t length) {
  std::array<float, SUM_LANES> lanes{};
  std::size_t i = 0;
  for (; i + SUM_LANES <= length; i += SUM_LANES) {
    for (std::size_t lane = 0; lane < SUM_LANES; ++lane) {
      lanes[lane] += query[i + lane] * to_float(row[i + lane]);
    }
  }
  float total = 0.0F;
  for (; i < length; ++i) total += query[i] * to_float(row[i]);
  for (const float lane : lanes) total += lane;
  return total;
}

double portable_int8(const std::int16_t* query, const std::int8_t* row, std::size_t length) {
  double total = 0.0;
  for (std::size_t start = 0; start < length; start += INT8_BLOCK) {
    const std::size_t end = std::min(start + INT8_BLOCK, length);
    std::int32_t block = 0;
    for (std::size_t i = start; i < end; ++i) {
      block += std::int32_t{query[i]} * std::int32_t{static_cast<std::int16_t>(row[i])};
    }
    total += block;
  }
  return total;
}

constexpr DotProducts PORTABLE = {"portable", portable<float>, portable<Half>, portable_rough,
                                  portable_int8};

#if defined(__x86_64__)

// --- For those with AVX2 ------------------------------------------------------------------------
// A fused multiplication and addition rounds once; of an exact product that is the same.

#define VELMORA_AVX2 __attribute__((target("avx2,fma,f16c")))

// Four registers hold the lanes.
struct WideLanes {
  __m256d a, b, c, d;
};

VELMORA_AVX2 inline void store(const WideLanes& wide, Lanes& lanes) {
  _mm256_storeu_pd(lanes.data(), wide.a);
  _mm256_storeu_pd(lanes.data() + 4, wide.b);
  _mm256_storeu_pd(lanes.data() + 8, wide.c);
  _mm256_storeu_pd(lanes.data() + 12, wide.d);
}

VELMORA_AVX2 double avx2_float32(const double* query, const float* row, std::size_t length) {
  const __m256d zero = _mm256_setzero_pd();
  WideLanes wide{zero, zero, zero, zero};
  std::size_t i = 0;
  for (; i + SUM_LANES <= length; i += SUM_LANES) {
    const double* const q = query + i;
    const float* const r = row + i;
    wide.a = _mm256_fmadd_pd(_mm256_loadu_pd(q), _mm256_cvtps_pd(_mm_loadu_ps(r)), wide.a);
    wide.b = _mm256_fmadd_pd(_mm256_loadu_pd(q + 4), _mm256_cvtps_pd(_mm_loadu_ps(r + 4)), wide.b);
    wide.c = _mm256_fmadd_pd(_mm256_loadu_pd(q + 8), _mm256_cvtps_pd(_mm_loadu_ps(r + 8)), wide.c);
    wide.d =
        _mm256_fmadd_pd(_mm256_loadu_pd(q + 12), _mm256_cvtps_pd(_mm_loadu_ps(r + 12)), wide.d);
  }
  Lanes lanes;
  store(wide, lanes);
  return sum(lanes, query, row, i, length);
}

// Eight halves as floats.
VELMORA_AVX2 inline __m256 load_halves(const Half* halves) {
  return _mm256_cvtph_ps(_mm_loadu_si128(reinterpret_cast<const __m128i*>(halves)));
}

VELMORA_AVX2 double avx2_float16(const double* query, const Half* row, std::size_t length) {
  const __m256d zero = _mm256_setzero_pd();
  WideLanes wide{zero, zero, zero, zero};
  std::size_t i = 0;
  for (; i + SUM_LANES <= length; i += SUM_LANES) {
    const double* const q = query + i;
    const __m256 low = load_halves(row + i);
    const __m256 high = load_halves(row + i + 8);
    wide.a =
        _mm256_fmadd_pd(_mm256_loadu_pd(q), _mm256_cvtps_pd(_mm256_castps256_ps128(low)), wide.a);
    wide.b = _mm256_fmadd_pd(_mm256_loadu_pd(q + 4), _mm256_cvtps_pd(_mm256_extractf128_ps(low, 1)),
                             wide.b);
    wide.c = _mm256_fmadd_pd(_mm256_loadu_pd(q + 8), _mm256_cvtps_pd(_mm256_castps256_ps128(high)),
                             wide.c);
    wide.d = _mm256_fmadd_pd(_mm256_loadu_pd(q + 12),
                             _mm256_cvtps_pd(_mm256_extractf128_ps(high, 1)), wide.d);
  }
  Lanes lanes;
  store(wide, lanes);
  return sum(lanes, query, row, i, length);
}

VELMORA_AVX2 float avx2_rough_float16(const float* query, const Half* row, std::size_t length) {
  const __m256 zero = _mm256_setzero_ps();
  __m256 a = zero, b = zero, c = zero, d = zero;
  std::size_t i = 0;
  for (; i + 32 <= length; i += 32) {
    const float* const q = query + i;
    const Half* const r = row + i;
    a = _mm256_fmadd_ps(_mm256_loadu_ps(q), load_halves(r), a);
    b = _mm256_fmadd_ps(_mm256_loadu_ps(q + 8), load_halves(r + 8), b);
    c = _mm256_fmadd_ps(_mm256_loadu_ps(q + 16), load_halves(r + 16), c);
    d = _mm256_fmadd_ps(_mm256_loadu_ps(q + 24), load_halves(r + 24), d);
  }
  a = _mm256_add_ps(_mm256_add_ps(a, b), _mm256_add_ps(c, d));
  std::array<float, 8> lanes;
  _mm256_storeu_ps(lanes.data(), a);
  float total = 0.0F;
  for (; i < length; ++i) total += query[i] * to_float(row[i]);
  for (const float lane : lanes) total += lane;
  return total;
}

// Sixteen products, added up in pairs.
VELMORA_AVX2 inline __m256i products(const std::int16_t* query, const std::int8_t* row) {
  return _mm256_madd_epi16(
      _mm256_loadu_si256(reinterpret_cast<const __m256i*>(query)),
      _mm256_cvtepi8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(row))));
}

VELMORA_AVX2 double avx2_int8(const std::int16_t* query, const std::int8_t* row,
                              std::size_t length) {
  double total = 0.0;
  std::size_t start = 0;
  while (start + 32 <= length) {
    const std::size_t end = std::min(start + INT8_BLOCK, length);
    __m256i a = _mm256_setzero_si256(), b = a;
    for (; start + 32 <= end; start += 32) {
      a = _mm256_add_epi32(a, products(query + start, row + start));
      b = _mm256_add_epi32(b, products(query + start + 16, row + start + 16));
    }
    a = _mm256_add_epi32(a, b);
    __m128i four = _mm_add_epi32(_mm256_castsi256_si128(a), _mm256_extracti128_si256(a, 1));
    four = _mm_add_epi32(four, _mm_shuffle_epi32(four, 0x4E));
    four = _mm_add_epi32(four, _mm_shuffle_epi32(four, 0xB1));
    total += _mm_cvtsi128_si32(four);
  }
  return total + portable_int8(query + start, row + start, length - start);
}

constexpr DotProducts AVX2 = {"avx2", avx2_float32, avx2_float16, avx2_rough_float16, avx2_int8};

bool has_avx2() {
  // Clang's __builtin_cpu_supports does not know f16c.
  unsigned a = 0, b = 0, c = 0, d = 0;
  return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma") &&
         __get_cpuid(1, &a, &b, &c, &d) != 0 && (c & bit_F16C) != 0;
}

constexpr std::array KINDS = {PORTABLE, AVX2};

#else

constexpr std::array KINDS = {PORTABLE};
bool has_avx2() { return false; }

#endif

}  // namespace

std::span<const DotProducts> dot_product_kinds() {
  static const std::size_t count = has_avx2() ? KINDS.size() : 1;
  return std::span(KINDS).first(count);
}

}  // namespace velmora::host::index
