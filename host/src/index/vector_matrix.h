// The stored vectors of one model in memory, and the exact search over them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "index/dot_product.h"
#include "index/row_block.h"
#include "velmora/host/index/vector_kind.h"
#include "velmora/storage/repository_retrieval.h"
#include "velmora/storage/sqlite.h"

namespace velmora::host::index {

// Immutable once read, so threads share it.
class VectorMatrix {
 public:
  // Reads every vector of `model`; none is no error. `dots` outlives the matrix.
  VectorMatrix(storage::Database& database, std::string_view model,
               const DotProducts& dots = dot_products());

  // The `top_k` vectors nearest to `query` by cosine, nearest first, equal ones by lower id. Throws
  // std::invalid_argument for a query without direction, or when a vector has another length.
  [[nodiscard]] std::vector<storage::NearestPair> nearest(std::span<const float> query,
                                                          std::int64_t top_k) const;

 private:
  void read_row(storage::SymbolId id, std::span<const std::byte> blob);
  // Calls `visit` with the number of each row and its numbers.
  template <class Number, class Visit>
  void each_row(Visit visit) const;

  std::string model_;
  const DotProducts& dots_;
  VectorKind kind_ = VectorKind::float32;
  std::size_t length_ = 0;                 // of the first vector
  std::optional<std::size_t> odd_length_;  // of a vector that is not as long as the first
  std::vector<storage::SymbolId> ids_;     // ascending
  RowBlock rows_;                          // of `length_` numbers of the kind for each id
  std::vector<double> norms_;              // the length of each row
};

}  // namespace velmora::host::index
