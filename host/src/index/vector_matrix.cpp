#include "index/vector_matrix.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <stdexcept>

#include "velmora/host/index/index.h"

namespace velmora::host::index {
namespace {

using storage::NearestPair;

// How far ahead of a scan the memory is asked for, and for how much of that row at most: more at a
// time than a processor can wait for only holds it up, and the rest of a long row it foresees.
constexpr std::size_t ROWS_AHEAD = 3;
constexpr std::size_t BYTES_AHEAD = 768;
constexpr std::size_t CACHE_LINE = 64;

// How many rows are in memory when none are kept: few enough for a processor's cache.
constexpr std::size_t ROWS_AT_A_TIME = 512;

double number(float value) { return value; }
double number(Half value) { return to_float(value); }
// Sums of whole numbers are exact in any order, and so several are added at a time.
std::int64_t number(std::int16_t value) { return value; }

template <class Number>
double norm(const Number* numbers, std::size_t length) {
  decltype(number(*numbers)) sum = 0;
  for (std::size_t i = 0; i < length; ++i) sum += number(numbers[i]) * number(numbers[i]);
  return std::sqrt(static_cast<double>(sum));
}

// The squares of so many bytes fit a small sum, of which a processor adds more at a time.
double norm(const std::int8_t* numbers, std::size_t length) {
  constexpr std::size_t BYTES = std::size_t{1} << 16;
  std::int64_t sum = 0;
  for (std::size_t begin = 0; begin < length; begin += BYTES) {
    const std::size_t end = std::min(length, begin + BYTES);
    std::int32_t part = 0;
    for (std::size_t i = begin; i < end; ++i) part += numbers[i] * numbers[i];
    sum += part;
  }
  return std::sqrt(static_cast<double>(sum));
}

double norm(VectorKind kind, const std::byte* row, std::size_t length) {
  switch (kind) {
    case VectorKind::float32:
      return norm(reinterpret_cast<const float*>(row), length);
    case VectorKind::float16:
      return norm(reinterpret_cast<const Half*>(row), length);
    case VectorKind::int8:
      break;
  }
  return norm(reinterpret_cast<const std::int8_t*>(row), length);
}

}  // namespace

VectorMatrix::VectorMatrix(std::string_view model, const DotProducts& dots)
    : model_(model), dots_(dots) {}

VectorMatrix::VectorMatrix(storage::Database& database, std::string_view model,
                           const DotProducts& dots)
    : VectorMatrix(model, dots) {
  storage::Statement select = select_rows(database);
  ids_.reserve(stored_);
  norms_.reserve(stored_);
  rows_ = RowBlock(stored_ * row_bytes());
  while (read_row(select)) {
  }
}

std::vector<NearestPair> VectorMatrix::nearest_as_read(storage::Database& database,
                                                       std::string_view model,
                                                       std::span<const float> query,
                                                       std::int64_t top_k,
                                                       const DotProducts& dots) {
  require_direction(query, "the query's vector");
  VectorMatrix some(model, dots);
  storage::Statement select = some.select_rows(database);
  if (some.stored_ == 0) return {};
  some.rows_ = RowBlock(std::min(some.stored_, ROWS_AT_A_TIME) * some.row_bytes());
  BestRows best = some.best_of(top_k);
  for (bool more = true; more; some.first_ = some.ids_.size()) {
    while (more && some.ids_.size() < some.first_ + ROWS_AT_A_TIME) more = some.read_row(select);
    some.scan(query, best);
  }
  return some.pairs(std::move(best));
}

storage::Statement VectorMatrix::select_rows(storage::Database& database) {
  storage::Statement about = database.prepare(
      "SELECT id, kind, (SELECT count(*) FROM embeddings AS e WHERE e.model = m.id),"
      " (SELECT length(numbers) FROM embeddings AS e JOIN vectors AS v ON v.id = e.vector"
      " WHERE e.model = m.id ORDER BY e.symbol LIMIT 1)"
      " FROM models AS m WHERE name = ?");
  about.bind(1, std::string_view(model_));
  storage::Statement select = database.prepare(
      "SELECT e.symbol, v.numbers FROM embeddings AS e CROSS JOIN vectors AS v"
      " ON v.id = e.vector WHERE e.model = ? ORDER BY e.symbol");
  if (about.step()) {
    kind_ = kind_of(about.column_text(1));
    stored_ = static_cast<std::size_t>(about.column_int64(2));
    length_ = static_cast<std::size_t>(about.column_int64(3)) / number_size(kind_);
    select.bind(1, about.column_int64(0));
  }
  return select;
}

bool VectorMatrix::read_row(storage::Statement& select) {
  if (!select.step()) return false;
  const storage::SymbolId id = select.column_int64(0);
  const std::span<const std::byte> blob = select.column_blob(1);
  const std::size_t length = blob.size() / number_size(kind_);
  if (length != length_) {
    odd_length_ = length;
    return false;
  }
  std::byte* const row = rows_.data() + (ids_.size() - first_) * row_bytes();
  if (row_bytes() > 0) std::memcpy(row, blob.data(), row_bytes());
  const double size = norm(kind_, row, length_);
  if (blob.size() != row_bytes() || !std::isfinite(size) || size == 0.0) {
    throw IndexError("The stored vector of symbol " + std::to_string(id) + " (model " + model_ +
                     ") is damaged. Make the index anew");
  }
  ids_.push_back(id);
  norms_.push_back(size);
  return true;
}

template <class Number, class Visit>
void VectorMatrix::each_row(Visit visit) const {
  const auto* const rows = reinterpret_cast<const Number*>(rows_.data());
  const std::size_t bytes = row_bytes();
  const std::size_t count = ids_.size() - first_;
  for (std::size_t row = 0; row < count; ++row) {
    if (row + ROWS_AHEAD < count) {
      const std::byte* const ahead = rows_.data() + (row + ROWS_AHEAD) * bytes;
      for (std::size_t byte = 0; byte < std::min(bytes, BYTES_AHEAD); byte += CACHE_LINE) {
        __builtin_prefetch(ahead + byte);
      }
    }
    visit(first_ + row, rows + row * length_);
  }
}

std::vector<NearestPair> VectorMatrix::nearest(std::span<const float> query,
                                               std::int64_t top_k) const {
  require_direction(query, "the query's vector");
  if (ids_.empty()) return {};
  BestRows best = best_of(top_k);
  scan(query, best);
  return pairs(std::move(best));
}

BestRows VectorMatrix::best_of(std::int64_t top_k) const {
  return BestRows(static_cast<std::size_t>(std::min(top_k, static_cast<std::int64_t>(stored_))));
}

void VectorMatrix::scan(std::span<const float> query, BestRows& best) const {
  if (query.size() != length_ || odd_length_) {
    const std::size_t other = query.size() != length_ ? length_ : *odd_length_;
    throw std::invalid_argument("the query's vector has " + std::to_string(query.size()) +
                                " values, and a stored vector of the model " + model_ + " has " +
                                std::to_string(other));
  }
  const auto offer = [&](std::size_t row, double dot, double query_norm) {
    best.offer(std::clamp(dot / (norms_[row] * query_norm), -1.0, 1.0), row);
  };
  if (kind_ == VectorKind::int8) {
    std::vector<std::int16_t> numbers(length_);
    write_direction<std::int16_t>(query, numbers);
    const double query_norm = norm(numbers.data(), length_);
    each_row<std::int8_t>([&](std::size_t row, const std::int8_t* values) {
      offer(row, dots_.int8(numbers.data(), values, length_), query_norm);
    });
  } else {
    const std::vector<double> numbers(query.begin(), query.end());
    const double query_norm = norm(query.data(), length_);
    if (kind_ == VectorKind::float32) {
      each_row<float>([&](std::size_t row, const float* values) {
        offer(row, dots_.float32(numbers.data(), values, length_), query_norm);
      });
    } else {
      // A half takes two steps to become a double, which is slower than memory: most rows are too
      // far off for the rounding of a sum in single precision to matter.
      std::vector<float> direction(length_);
      std::ranges::transform(numbers, direction.begin(),
                             [&](double value) { return static_cast<float>(value / query_norm); });
      const double error = rough_error(length_);
      each_row<Half>([&](std::size_t row, const Half* values) {
        const double rough = dots_.rough_float16(direction.data(), values, length_);
        if (rough < (best.bar() - error) * norms_[row]) return;
        offer(row, dots_.float16(numbers.data(), values, length_), query_norm);
      });
    }
  }
}

std::vector<NearestPair> VectorMatrix::pairs(BestRows best) const {
  std::vector<NearestPair> pairs;
  for (const BestRows::Row& row : std::move(best).take()) {
    pairs.push_back({.id = ids_[row.number], .similarity = row.similarity});
  }
  return pairs;
}

}  // namespace velmora::host::index
