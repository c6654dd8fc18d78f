#include "index/vector_matrix.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <stdexcept>

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

double norm(std::span<const float> values) {
  double sum = 0.0;
  for (const float value : values) sum += static_cast<double>(value) * static_cast<double>(value);
  return std::sqrt(sum);
}

bool nearer(const NearestPair& left, const NearestPair& right) {
  if (left.similarity != right.similarity) return left.similarity > right.similarity;
  return left.id < right.id;
}

}  // namespace

void require_direction(std::span<const float> values, std::string_view what) {
  if (values.empty()) throw std::invalid_argument(std::string(what) + " is empty");
  if (!std::all_of(values.begin(), values.end(), [](float v) { return std::isfinite(v); })) {
    throw std::invalid_argument(std::string(what) + " holds a value that is not finite");
  }
  if (std::all_of(values.begin(), values.end(), [](float v) { return v == 0.0F; })) {
    throw std::invalid_argument(std::string(what) + " is all zero");
  }
}

VectorMatrix::VectorMatrix(storage::Database& database, std::string_view model) : model_(model) {
  storage::Statement count = database.prepare(
      "SELECT count(*) FROM embeddings WHERE model = (SELECT id FROM models WHERE name = ?)");
  count.bind(1, model);
  count.step();
  const auto rows = static_cast<std::size_t>(count.column_int64(0));
  ids_.reserve(rows);
  inverse_norms_.reserve(rows);

  storage::Statement select = database.prepare(
      "SELECT symbol, vector FROM embeddings WHERE model = (SELECT id FROM models WHERE name = ?)"
      " ORDER BY symbol");
  select.bind(1, model);
  while (!odd_length_ && select.step()) {
    read_row(select.column_int64(0), select.column_blob(1), rows);
  }
}

void VectorMatrix::read_row(storage::SymbolId id, std::span<const std::byte> blob,
                            std::size_t rows) {
  const std::size_t length = blob.size() / sizeof(float);
  if (ids_.empty()) {
    length_ = length;
    values_.reserve(rows * length);
  }
  if (length != length_) {
    odd_length_ = length;
    return;
  }
  values_.resize(values_.size() + length);
  float* row = values_.data() + (values_.size() - length);
  if (length > 0) std::memcpy(row, blob.data(), length * sizeof(float));
  const double size = norm({row, length});
  if (blob.size() != length * sizeof(float) || !std::isfinite(size) || size == 0.0) {
    throw IndexError("The stored vector of symbol " + std::to_string(id) + " (model " + model_ +
                     ") is damaged. Make the index anew");
  }
  ids_.push_back(id);
  inverse_norms_.push_back(1.0 / size);
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
  const std::vector<double> wide(query.begin(), query.end());
  const double inverse_query_norm = 1.0 / norm(query);

  // A heap of the best so far with the farthest of them in front.
  const auto wanted =
      static_cast<std::size_t>(std::min(top_k, static_cast<std::int64_t>(ids_.size())));
  std::vector<NearestPair> best;
  best.reserve(wanted);
  for (std::size_t row = 0; row < ids_.size(); ++row) {
    const double cosine = dot(wide.data(), values_.data() + row * length_, length_) *
                          inverse_norms_[row] * inverse_query_norm;
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
