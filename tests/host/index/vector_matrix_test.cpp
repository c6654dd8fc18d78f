#include "index/vector_matrix.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>
#include <random>
#include <string>

#include "index/connection.h"
#include "index/stored_vector.h"
#include "support/temporary_folder.h"
#include "velmora/host/index/index.h"

namespace velmora::host::index {
namespace {

using storage::NearestPair;

// What the bits of a finite half mean.
double plain_value(unsigned bits) {
  const int exponent = static_cast<int>(bits >> 10 & 31U), fraction = static_cast<int>(bits & 1023);
  const double size =
      exponent == 0 ? std::ldexp(fraction, -24) : std::ldexp(1024 + fraction, exponent - 25);
  return (bits & 0x8000U) != 0 ? -size : size;
}

TEST(Half, IsTheNearestOfAll65536) {
  for (unsigned bits = 0; bits < 0x10000; ++bits) {
    const auto half = static_cast<Half>(bits);
    if ((bits & 0x7C00U) == 0x7C00U) {
      EXPECT_EQ(std::isnan(to_float(half)), (bits & 1023U) != 0);
      EXPECT_EQ(std::isinf(to_float(half)), (bits & 1023U) == 0);
      EXPECT_EQ(std::signbit(to_float(half)), bits >= 0x8000U);
      EXPECT_TRUE((bits & 1023U) != 0 ? std::isnan(to_float(to_half(to_float(half))))
                                      : to_half(to_float(half)) == half);
      continue;
    }
    ASSERT_EQ(to_float(half), plain_value(bits)) << bits;
    ASSERT_EQ(to_half(to_float(half)), half) << bits;
    // Half way to the next size up; beyond the largest, what would be the next rounds to infinity.
    const double next = (bits & 0x7FFFU) == 0x7BFFU ? std::copysign(65536.0, plain_value(bits))
                                                    : plain_value(bits + 1);
    const auto middle = static_cast<float>((plain_value(bits) + next) / 2);
    const auto up = static_cast<Half>(bits + 1);
    ASSERT_EQ(to_half(middle), bits % 2 == 0 ? half : up) << bits;
    ASSERT_EQ(to_half(std::nextafter(middle, 0.0F)), half) << bits;
    ASSERT_EQ(to_half(std::nextafter(middle, 2 * middle)), up) << bits;
  }
}

// Every implementation, at every length that its steps divide or do not, and from any address.
TEST(DotProducts, AreTheSameToTheLastBit) {
  std::mt19937 random(20260214);
  std::uniform_real_distribution<float> spread(-1.0F, 1.0F);
  constexpr std::size_t LONGEST = 1500;
  for (std::size_t length = 0; length < LONGEST; length += length < 100 ? 1 : 97) {
    const std::size_t from = length % 8;
    std::vector<double> query(from + length);
    std::vector<float> rough_query(from + length), floats(from + length);
    std::vector<Half> halves(from + length);
    std::vector<std::int16_t> query16(from + length);
    std::vector<std::int8_t> bytes(from + length);
    double exact = 0.0, exact_half = 0.0, sizes = 0.0, row = 0.0;
    std::int64_t whole = 0;
    for (std::size_t i = from; i < query.size(); ++i) {
      rough_query[i] = spread(random);
      query[i] = rough_query[i];
      floats[i] = std::ldexp(spread(random), static_cast<int>(random() % 40));
      halves[i] = to_half(64 * spread(random));
      // The largest there are, to overflow what can overflow.
      query16[i] = static_cast<std::int16_t>(length % 2 == 0 ? 32767U : random());
      bytes[i] = static_cast<std::int8_t>(length % 2 == 0 ? 0x80U : random());
      exact += query[i] * floats[i];
      exact_half += query[i] * to_float(halves[i]);
      sizes += query[i] * query[i];
      row += to_float(halves[i]) * static_cast<double>(to_float(halves[i]));
      whole += std::int64_t{query16[i]} * bytes[i];
    }
    const DotProducts& plain = dot_product_kinds().front();
    for (const DotProducts& dots : dot_product_kinds()) {
      const double product = dots.float32(query.data() + from, floats.data() + from, length);
      EXPECT_NEAR(product, exact, 1e-12 * 0x1p40);
      EXPECT_EQ(product, plain.float32(query.data() + from, floats.data() + from, length));
      const double half = dots.float16(query.data() + from, halves.data() + from, length);
      EXPECT_NEAR(half, exact_half, 1e-9);
      EXPECT_EQ(half, plain.float16(query.data() + from, halves.data() + from, length));
      EXPECT_NEAR(dots.rough_float16(rough_query.data() + from, halves.data() + from, length), half,
                  rough_error(length) * std::sqrt(sizes * row));
      EXPECT_EQ(dots.int8(query16.data() + from, bytes.data() + from, length),
                static_cast<double>(whole))
          << dots.name << " " << length;
    }
  }
}

double largest(const std::vector<float>& values) {
  double size = 0.0;
  for (const float value : values) size = std::max(size, std::abs(static_cast<double>(value)));
  return size;
}

// Every vector by a plain loop over what is stored of it, sorted as a whole.
std::vector<NearestPair> plain_nearest(const std::vector<std::vector<float>>& vectors,
                                       VectorKind kind, const std::vector<float>& query) {
  std::vector<NearestPair> pairs;
  for (std::size_t row = 0; row < vectors.size(); ++row) {
    const std::vector<float>& values = vectors[row];
    double dot = 0.0, left = 0.0, right = 0.0;
    for (std::size_t i = 0; i < query.size(); ++i) {
      double a = query[i], b = values[i];
      if (kind == VectorKind::float16) {
        b = plain_value(static_cast<unsigned>(to_half(1024 * values[i])));  // far from the smallest
      }
      if (kind == VectorKind::int8) {
        a = std::round(a * (32767 / largest(query)));
        b = std::round(b * (127 / largest(values)));
      }
      dot += a * b, left += a * a, right += b * b;
    }
    pairs.push_back({static_cast<SymbolId>(row), dot / std::sqrt(left) / std::sqrt(right)});
  }
  std::ranges::stable_sort(pairs, [](const NearestPair& a, const NearestPair& b) {
    return a.similarity - b.similarity > 1e-13;  // equal vectors differ by rounding at most
  });
  return pairs;
}

class VectorMatrixTest : public ::testing::Test {
 protected:
  // Stores `vectors` under the model "m", with the ids 0, 1, 2 and so on.
  void store(const std::vector<std::vector<float>>& vectors, VectorKind kind) {
    std::size_t row = 0;
    Index::open_or_create(file)->replace(
        [&]() -> std::optional<Symbol> {
          if (row == vectors.size()) return std::nullopt;
          Symbol symbol{
              static_cast<SymbolId>(row), "f", "f", "function", "c", "f.c", 1, 1, {}, {}, {},
              {{"m", vectors[row]}}};
          ++row;
          return symbol;
        },
        kind);
  }

  const test::TemporaryFolder folder;
  const std::filesystem::path file = folder.path() / "index.db";
};

TEST_F(VectorMatrixTest, NearestIsExactWithTiesByLowerId) {
  std::mt19937 random(20240611);
  std::normal_distribution<float> spread;
  for (const std::size_t length : {1U, 3U, 7U, 383U, 384U, 385U}) {
    for (const std::size_t rows : {1U, 120U, 1100U}) {
      // A cloud whose cosines differ by less than single precision tells apart, some of it from
      // other directions, and ties: rows that are there twice, or twice as long.
      std::vector<float> middle(length);
      for (float& value : middle) value = 0.5F + 0.01F * spread(random);
      const auto vector = [&](float apart) {
        std::vector<float> values = middle;
        for (float& value : values) value += apart * spread(random);
        return values;
      };
      std::vector<std::vector<float>> vectors;
      for (std::size_t row = 0; row < rows; ++row) {
        vectors.push_back(vector(row % 3 == 0 ? 1.0F : 1e-3F));
        if (row % 5 == 4) vectors[row] = vectors[random() % row];
        if (row % 10 == 9) {
          for (float& value : vectors[row]) value *= 2;
        }
      }
      const std::vector<float> query = vector(1e-3F);
      for (const VectorKind kind : {VectorKind::float32, VectorKind::float16, VectorKind::int8}) {
        store(vectors, kind);
        storage::Database database = connect(file, 0);
        const std::vector<NearestPair> all = plain_nearest(vectors, kind, query);
        for (const DotProducts& dots : dot_product_kinds()) {
          const VectorMatrix matrix(database, "m", dots);
          for (const std::size_t top_k : {1U, 9U, 119U, 500U}) {
            const auto count = static_cast<std::int64_t>(top_k);
            const auto got = matrix.nearest(query, count);
            ASSERT_EQ(VectorMatrix::nearest_as_read(database, "m", query, count, dots), got);
            ASSERT_EQ(got.size(), std::min(rows, top_k));
            for (std::size_t i = 0; i < got.size(); ++i) {
              ASSERT_NEAR(got[i].similarity, all[i].similarity, 1e-12);
              ASSERT_LE(got[i].similarity, 1.0);
              ASSERT_EQ(got[i].id, all[i].id) << dots.name << " " << kind_name(kind) << ", length "
                                              << length << ", top " << top_k << ", place " << i;
            }
          }
        }
      }
    }
  }
}

// Only the direction of a vector counts, so that no size is too large or too small for a half.
TEST_F(VectorMatrixTest, HalfPrecisionKeepsDirectionsOfAnySize) {
  std::vector<std::vector<float>> vectors;
  for (const float size : {1e-44F, 1e-30F, 1.0F, 1e6F, std::numeric_limits<float>::max()}) {
    vectors.push_back({size, 0.0F, -size});
  }
  store(vectors, VectorKind::float16);
  storage::Database database = connect(file, 0);
  const auto got = VectorMatrix(database, "m").nearest(std::vector{1.0F, 0.0F, -1.0F}, 9);
  ASSERT_EQ(got.size(), vectors.size());
  for (const NearestPair& pair : got) EXPECT_NEAR(pair.similarity, 1.0, 1e-15);
  storage::Statement stored = database.prepare(
      "SELECT sum(length(numbers)), kind FROM vectors,"
      " models GROUP BY kind");
  ASSERT_TRUE(stored.step());
  EXPECT_EQ(stored.column_int64(0), 5 * 3 * 2);
  EXPECT_EQ(stored.column_text(1), "float16");
}

}  // namespace
}  // namespace velmora::host::index
