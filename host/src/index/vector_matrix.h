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

// Throws std::invalid_argument unless `values` has a direction: it is not empty, finite, and not
// all zero. `what` begins the message.
void require_direction(std::span<const float> values, std::string_view what);

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
  void read_row(storage::SymbolId id, std::span<const std::byte> blob, std::size_t rows);

  std::string model_;
  std::size_t length_ = 0;                 // of the first vector
  std::optional<std::size_t> odd_length_;  // of a vector that is not as long as the first
  std::vector<storage::SymbolId> ids_;     // ascending
  std::vector<float> values_;              // one row of `length_` for each id
  std::vector<double> inverse_norms_;      // of each row
};

}  // namespace velmora::host::index
