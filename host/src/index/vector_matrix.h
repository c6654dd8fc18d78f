// The stored vectors of one model in memory, and the exact search over them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "velmora/storage/repository_retrieval.h"
#include "velmora/storage/sqlite.h"

namespace velmora::host::index {

// Immutable once read, so threads share it.
class VectorMatrix {
 public:
  // Reads every vector of `model`; none is no error.
  VectorMatrix(storage::Database& database, std::string_view model);

  // The `top_k` vectors nearest to `query` by cosine, nearest first, equal ones by lower id. Throws
  // std::invalid_argument for a query without direction, or when a vector has another length.
  [[nodiscard]] std::vector<storage::NearestPair> nearest(std::span<const float> query,
                                                          std::int64_t top_k) const;

 private:
  // The rows of a matrix, one behind the other, and what makes each of them as long as 1.
  template <class Number>
  struct Rows {
    std::vector<Number> numbers;
    std::vector<double> inverse_norms;

    void reserve(std::size_t rows, std::size_t row_bytes);
    // Appends a row; false when it has no direction.
    [[nodiscard]] bool add(std::span<const std::byte> blob);
  };

  void read_row(storage::SymbolId id, std::span<const std::byte> blob);
  template <class QueryNumber, class Number>
  [[nodiscard]] std::vector<storage::NearestPair> nearest_of(const Rows<Number>& rows,
                                                             std::span<const QueryNumber> query,
                                                             std::int64_t top_k) const;

  std::string model_;
  bool bytes_ = false;                     // whether the vectors are kept as bytes
  std::size_t length_ = 0;                 // of the first vector
  std::optional<std::size_t> odd_length_;  // of a vector that is not as long as the first
  std::vector<storage::SymbolId> ids_;     // ascending
  Rows<float> float_rows_;                 // one row of `length_` for each id, in one of the two
  Rows<std::int8_t> byte_rows_;
};

}  // namespace velmora::host::index
