#include "index/vector_matrix.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <stdexcept>

#include "index/stored_vector.h"
#include "velmora/host/index/index.h"

namespace velmora::host::index {
namespace {

using storage::NearestPair;

static_assert(std::endian::native == std::endian::little,
              "vectors are stored as they are in memory");

// In double precision, so that the order of near neighbours is theirs and not that of rounding;
// with several sums, so that the compiler may use the processor's wide registers.
double dot(const double* left, const float* right, std::size_t length) {
  constexpr std::size_t LANES = 8;
  std::array<double, LANES> sums{};
  std::size_t i = 0;
  for (; i + LANES <= length; i += LANES) {
    for (std::size_t lane = 0; lane < LANES; ++lane) {
      sums[lane] += left[i + lane] * static_cast<double>(right[i + lane]);
    }
  }
  double sum = 0.0;
  for (; i < length; ++i) sum += left[i] * static_cast<double>(right[i]);
  for (const double lane : sums) sum += lane;
  return sum;
}

// In whole numbers, which are exact and fast.
double dot(const std::int16_t* left, const std::int8_t* right, std::size_t length) {
  constexpr std::size_t BLOCK = 512;  // the sum of so many products fits into 32 bits
  double sum = 0.0;
  for (std::size_t start = 0; start < length; start += BLOCK) {
    const std::size_t end = std::min(start + BLOCK, length);
    std::int32_t block = 0;
    for (std::size_t i = start; i < end; ++i) {
      block += std::int32_t{left[i]} * std::int32_t{static_cast<std::int16_t>(right[i])};
    }
    sum += block;
  }
  return sum;
}

template <class Number>
double norm(std::span<const Number> values) {
  double sum = 0.0;
  for (const Number value : values) {
    sum += static_cast<double>(value) * static_cast<double>(value);
  }
  return std::sqrt(sum);
}

bool nearer(const NearestPair& left, const NearestPair& right) {
  if (left.similarity != right.similarity) return left.similarity > right.similarity;
  return left.id < right.id;
}

}  // namespace

template <class Number>
void VectorMatrix::Rows<Number>::reserve(std::size_t rows, std::size_t row_bytes) {
  inverse_norms.reserve(rows);
  numbers.reserve(rows * (row_bytes / sizeof(Number)));
}

template <class Number>
bool VectorMatrix::Rows<Number>::add(std::span<const std::byte> blob) {
  const std::size_t length = blob.size() / sizeof(Number);
  numbers.resize(numbers.size() + length);
  Number* const row = numbers.data() + (numbers.size() - length);
  if (length > 0) std::memcpy(row, blob.data(), length * sizeof(Number));
  const double size = norm(std::span<const Number>(row, length));
  inverse_norms.push_back(1.0 / size);
  return std::isfinite(size) && size > 0.0;
}

VectorMatrix::VectorMatrix(storage::Database& database, std::string_view model) : model_(model) {
  storage::Statement about = database.prepare(
      "SELECT id, built_in, (SELECT count(*) FROM embeddings AS e WHERE e.model = m.id),"
      " (SELECT length(vector) FROM embeddings AS e WHERE e.model = m.id LIMIT 1)"
      " FROM models AS m WHERE name = ?");
  about.bind(1, model);
  if (!about.step()) return;
  bytes_ = about.column_int64(1) != 0;
  const auto rows = static_cast<std::size_t>(about.column_int64(2));
  const auto row_bytes = static_cast<std::size_t>(about.column_int64(3));
  ids_.reserve(rows);
  bytes_ ? byte_rows_.reserve(rows, row_bytes) : float_rows_.reserve(rows, row_bytes);

  storage::Statement select =
      database.prepare("SELECT symbol, vector FROM embeddings WHERE model = ? ORDER BY symbol");
  select.bind(1, about.column_int64(0));
  while (!odd_length_ && select.step()) read_row(select.column_int64(0), select.column_blob(1));
}

void VectorMatrix::read_row(storage::SymbolId id, std::span<const std::byte> blob) {
  const std::size_t number = bytes_ ? sizeof(std::int8_t) : sizeof(float);
  const std::size_t length = blob.size() / number;
  if (ids_.empty()) length_ = length;
  if (length != length_) {
    odd_length_ = length;
    return;
  }
  const bool is_whole = blob.size() == length * number;
  if (!is_whole || !(bytes_ ? byte_rows_.add(blob) : float_rows_.add(blob))) {
    throw IndexError("The stored vector of symbol " + std::to_string(id) + " (model " + model_ +
                     ") is damaged. Make the index anew");
  }
  ids_.push_back(id);
}

std::vector<NearestPair> VectorMatrix::nearest(std::span<const float> query,
                                               std::int64_t top_k) const {
  require_direction(query, "the query's vector");
  if (ids_.empty()) return {};
  if (query.size() != length_ || odd_length_) {
    const std::size_t other = query.size() != length_ ? length_ : *odd_length_;
    throw std::invalid_argument("the query's vector has " + std::to_string(query.size()) +
                                " values, and a stored vector of the model " + model_ + " has " +
                                std::to_string(other));
  }
  if (bytes_) {
    std::vector<std::int16_t> numbers(length_);
    write_direction<std::int16_t>(query, numbers);
    return nearest_of<std::int16_t>(byte_rows_, numbers, top_k);
  }
  return nearest_of<double>(float_rows_, std::vector<double>(query.begin(), query.end()), top_k);
}

template <class QueryNumber, class Number>
std::vector<NearestPair> VectorMatrix::nearest_of(const Rows<Number>& rows,
                                                  std::span<const QueryNumber> query,
                                                  std::int64_t top_k) const {
  const double inverse_query_norm = 1.0 / norm(query);
  // A heap of the best so far with the farthest of them in front.
  const auto wanted =
      static_cast<std::size_t>(std::min(top_k, static_cast<std::int64_t>(ids_.size())));
  std::vector<NearestPair> best;
  best.reserve(wanted);
  for (std::size_t row = 0; row < ids_.size(); ++row) {
    const double cosine = dot(query.data(), rows.numbers.data() + row * length_, length_) *
                          rows.inverse_norms[row] * inverse_query_norm;
    const NearestPair pair{.id = ids_[row], .similarity = std::clamp(cosine, -1.0, 1.0)};
    if (best.size() < wanted) {
      best.push_back(pair);
      std::push_heap(best.begin(), best.end(), nearer);
    } else if (nearer(pair, best.front())) {
      std::pop_heap(best.begin(), best.end(), nearer);
      best.back() = pair;
      std::push_heap(best.begin(), best.end(), nearer);
    }
  }
  std::sort_heap(best.begin(), best.end(), nearer);
  return best;
}

}  // namespace velmora::host::index
